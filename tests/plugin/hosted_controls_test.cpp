// The built controls in a container that is the system's own: the host window of its ATL.DLL.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <bit>
#include <string>
#include <utility>

#include "tests/plugin/plugin_library.h"

namespace {

template <typename Function>
Function* SystemAtl(const char* name) {
  // It stays loaded: its window class points into it.
  static const HMODULE module = LoadLibraryW(L"atl.dll");
  auto* const function = std::bit_cast<Function*>(GetProcAddress(module, name));
  EXPECT_NE(function, nullptr) << name;
  return function;
}

using InitFn = BOOL WINAPI();
using CreateFn = HRESULT WINAPI(LPCOLESTR, HWND, IStream*, IUnknown**, IUnknown**, REFIID,
                                IUnknown*);

class HostedControls : public testing::TestWithParam<const wchar_t*> {
 protected:
  HostedControls() {
    OleInitialize(nullptr);
    EXPECT_EQ(m_library.RegisterServer(), S_OK);
    static const BOOL registered = SystemAtl<InitFn>("AtlAxWinInit")();
    EXPECT_TRUE(registered);
    m_window = CreateWindowExW(0, L"static", L"Container", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                               400, 300, nullptr, nullptr, nullptr, nullptr);
    m_host = CreateWindowExW(0, L"AtlAxWin", L"", WS_CHILD | WS_VISIBLE, 10, 20, 100, 50, m_window,
                             nullptr, nullptr, nullptr);
    EXPECT_EQ(SystemAtl<CreateFn>("AtlAxCreateControlEx")(GetParam(), m_host, nullptr, nullptr,
                                                          &m_control, IID_NULL, nullptr),
              S_OK);
  }
  ~HostedControls() override {
    m_control.Release();
    DestroyWindow(m_window);
    EXPECT_EQ(m_library.CanUnloadNow(), S_OK) << "the container's end releases the control";
    EXPECT_EQ(m_library.UnregisterServer(), S_OK);
    OleUninitialize();
  }

  const CPluginLibrary m_library;
  HWND m_window = nullptr;
  HWND m_host = nullptr;
  CComPtr<IUnknown> m_control;
};

TEST_P(HostedControls, HaveAWindowOfTheContainersSizeWhichTheyPaint) {
  HWND window = nullptr;
  ASSERT_EQ(CComQIPtr<IOleWindow>(m_control)->GetWindow(&window), S_OK);
  EXPECT_EQ(GetParent(window), m_host);
  EXPECT_EQ(GetWindowLongPtrW(window, GWL_STYLE) & 0xFFFF0000,
            LONG_PTR{WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS});
  for (const auto& [width, height] : {std::pair(100, 50), {220, 130}}) {
    SetWindowPos(m_host, nullptr, 0, 0, width, height, SWP_NOZORDER);
    RECT client = {};
    GetClientRect(window, &client);
    EXPECT_EQ(client.right, width);
    EXPECT_EQ(client.bottom, height);
  }
  UpdateWindow(window);  // what its creation left to be done, erasing included
  const HDC dc = GetDC(window);
  const RECT all = {0, 0, 100, 50};
  FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  // Not erased: what comes is the control's own picture.
  InvalidateRect(window, nullptr, FALSE);
  UpdateWindow(window);
  EXPECT_EQ(GetPixel(dc, 50, 25), GetSysColor(COLOR_WINDOW));
  ReleaseDC(window, dc);
}

TEST_P(HostedControls, SaveTheirSize) {
  const CComQIPtr<IOleObject> object(m_control);
  const CComQIPtr<IPersistStreamInit> stream(m_control);
  CComPtr<IStream> bytes;
  ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &bytes), S_OK);
  SIZEL size = {1111, 2222};
  EXPECT_EQ(object->SetExtent(DVASPECT_CONTENT, &size), S_OK);
  EXPECT_EQ(stream->Save(bytes, TRUE), S_OK);
  size = {5, 6};
  EXPECT_EQ(object->SetExtent(DVASPECT_CONTENT, &size), S_OK);
  EXPECT_EQ(bytes->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_EQ(stream->Load(bytes), S_OK);
  EXPECT_EQ(object->GetExtent(DVASPECT_CONTENT, &size), S_OK);
  EXPECT_EQ(size.cx, 1111);
  EXPECT_EQ(size.cy, 2222);
}

INSTANTIATE_TEST_SUITE_P(Plugin, HostedControls,
                         testing::Values(L"FolivoDownloadPlugin.VersionHelper",
                                         L"FolivoDownloadPlugin.ZipDownloadHelpe"),
                         [](const auto& info) {
                           return info.index == 0 ? std::string("Version") : "Collections";
                         });

}  // namespace
