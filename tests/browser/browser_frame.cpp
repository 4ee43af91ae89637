#include "tests/browser/browser_frame.h"

#include <utility>

namespace {

constexpr wchar_t kClassName[] = L"IEFrame";
constexpr UINT kRun = WM_APP + 1;  // lParam: the action

}  // namespace

CBrowserFrame::CBrowserFrame() {
  WNDCLASSW windowClass = {};
  windowClass.lpfnWndProc = &Procedure;
  windowClass.lpszClassName = kClassName;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  RegisterClassW(&windowClass);
  m_window = CreateWindowExW(0, kClassName, L"Browser", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50,
                             800, 600, nullptr, nullptr, windowClass.hInstance, nullptr);
}

CBrowserFrame::~CBrowserFrame() {
  if (IsWindow(m_window)) {
    DestroyWindow(m_window);
  }
}

void CBrowserFrame::Run(const std::function<void()>& action) const {
  SendMessageW(m_window, kRun, 0, reinterpret_cast<LPARAM>(&action));
}

void CBrowserFrame::Begin(std::function<void()> action) {
  m_begun = std::move(action);
  PostMessageW(m_window, kRun, 0, reinterpret_cast<LPARAM>(&m_begun));
}

LRESULT CALLBACK CBrowserFrame::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != kRun) {
    return DefWindowProcW(window, message, wParam, lParam);
  }
  (*reinterpret_cast<const std::function<void()>*>(lParam))();
  return 0;
}
