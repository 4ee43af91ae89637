// The built controls in a container that is the system's own: the host window of its ATL.DLL.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <bit>
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

TEST(HostedControls, HaveAWindowOfTheContainersSizeWhichTheyPaint) {
  OleInitialize(nullptr);
  const CPluginLibrary library;
  EXPECT_EQ(library.RegisterServer(), S_OK);
  EXPECT_TRUE(SystemAtl<InitFn>("AtlAxWinInit")());
  for (const LPCWSTR progId :
       {L"FolivoDownloadPlugin.VersionHelper", L"FolivoDownloadPlugin.ZipDownloadHelpe"}) {
    const HWND container =
        CreateWindowExW(0, L"static", L"Container", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 400,
                        300, nullptr, nullptr, nullptr, nullptr);
    const HWND host = CreateWindowExW(0, L"AtlAxWin", L"", WS_CHILD | WS_VISIBLE, 10, 20, 100, 50,
                                      container, nullptr, nullptr, nullptr);
    CComPtr<IUnknown> control;
    EXPECT_EQ(SystemAtl<CreateFn>("AtlAxCreateControlEx")(progId, host, nullptr, nullptr, &control,
                                                          IID_NULL, nullptr),
              S_OK);
    HWND window = nullptr;
    ASSERT_EQ(CComQIPtr<IOleWindow>(control)->GetWindow(&window), S_OK);
    EXPECT_EQ(GetParent(window), host);
    EXPECT_EQ(GetWindowLongPtrW(window, GWL_STYLE) & 0xFFFF0000,
              LONG_PTR{WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS});
    for (const auto& [width, height] : {std::pair(100, 50), {220, 130}}) {
      SetWindowPos(host, nullptr, 0, 0, width, height, SWP_NOZORDER);
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
    control.Release();
    DestroyWindow(container);
    EXPECT_EQ(library.CanUnloadNow(), S_OK) << "the container's end releases the control";
  }
  EXPECT_EQ(library.UnregisterServer(), S_OK);
  OleUninitialize();
}

}  // namespace
