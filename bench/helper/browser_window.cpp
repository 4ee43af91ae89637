#include "bench/helper/browser_window.h"

#include "bench/support/program.h"

namespace {

constexpr wchar_t kFrameClass[] = L"IEFrame";  // by which helper objects find it

}  // namespace

CBrowserWindow::CBrowserWindow() {
  CoInitialize(nullptr);
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = DefWindowProcW;
  windowClass.lpszClassName = kFrameClass;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  RegisterClassW(&windowClass);
  m_window = CreateWindowExW(0, kFrameClass, L"Browser", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50,
                             800, 600, nullptr, nullptr, windowClass.hInstance, nullptr);
  DemandSuccess(m_window != nullptr, "CreateWindow");
  Demand(
      SUCCEEDED(CoCreateInstance(CLSID_WebBrowser, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&m_browser))),
      "there is no browser control");
}

CBrowserWindow::~CBrowserWindow() {
  m_browser.Release();
  DestroyWindow(m_window);
  CoUninitialize();
}

void CBrowserWindow::Attach(IObjectWithSite& helper) const {
  Demand(helper.SetSite(m_browser) == S_OK, "the helper object refused the browser");
}
