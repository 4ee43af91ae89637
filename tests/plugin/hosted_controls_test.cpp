// The built controls in a container that is the system's own: the host window of its ATL.DLL.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <string>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"

namespace {

template <typename Function>
Function* SystemAtl(const char* name) {
  // It stays loaded: its window class points into it.
  static const HMODULE module = LoadLibraryW(L"atl.dll");
  auto* const function =
      reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
  EXPECT_NE(function, nullptr) << name;
  return function;
}

using InitFn = BOOL WINAPI();
using CreateFn = HRESULT WINAPI(LPCOLESTR, HWND, IStream*, IUnknown**, IUnknown**, REFIID,
                                IUnknown*);

constexpr LONG_PTR kStyle = WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS;

class HostedControl : public testing::TestWithParam<const wchar_t*> {
 protected:
  HostedControl() {
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
  ~HostedControl() override {
    m_control.Release();
    DestroyWindow(m_window);
    EXPECT_EQ(m_library.UnregisterServer(), S_OK);
    OleUninitialize();
  }

  HWND ControlWindow() const {
    const CComQIPtr<IOleWindow> control(m_control);
    HWND window = nullptr;
    return control != nullptr && control->GetWindow(&window) == S_OK ? window : nullptr;
  }

  const CPluginLibrary m_library;
  HWND m_window = nullptr;
  HWND m_host = nullptr;
  CComPtr<IUnknown> m_control;
};

TEST_P(HostedControl, HasAWindowOfItsOwn) {
  const HWND window = ControlWindow();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(GetParent(window), m_host);
  EXPECT_EQ(GetWindowLongPtrW(window, GWL_STYLE) & 0xFFFF0000, kStyle);
  RECT client = {};
  GetClientRect(window, &client);
  EXPECT_EQ(client.right, 100);
  EXPECT_EQ(client.bottom, 50);
}

TEST_P(HostedControl, FollowsItsContainersSize) {
  SetWindowPos(m_host, nullptr, 0, 0, 220, 130, SWP_NOZORDER);
  RECT client = {};
  GetClientRect(ControlWindow(), &client);
  EXPECT_EQ(client.right, 220);
  EXPECT_EQ(client.bottom, 130);
}

TEST_P(HostedControl, DrawsTheBackgroundOfAWindow) {
  const CComQIPtr<IViewObjectEx> view(m_control);
  ASSERT_NE(view.p, nullptr);
  const HDC screen = GetDC(nullptr);
  const HDC dc = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, 40, 30);
  const HGDIOBJ previous = SelectObject(dc, bitmap);
  const RECT all = {0, 0, 40, 30};
  FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  const RECTL bounds = {5, 5, 35, 25};
  EXPECT_EQ(
      view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, dc, &bounds, nullptr, nullptr, 0),
      S_OK);
  EXPECT_EQ(GetPixel(dc, 20, 15), GetSysColor(COLOR_WINDOW));
  EXPECT_EQ(GetPixel(dc, 2, 2), RGB(0, 0, 0)) << "outside of its place";
  SelectObject(dc, previous);
  DeleteObject(bitmap);
  DeleteDC(dc);
  ReleaseDC(nullptr, screen);
}

TEST_P(HostedControl, LosesItsWindowWhenDeactivatedAndGetsANewOne) {
  const CComQIPtr<IOleObject> object(m_control);
  const CComQIPtr<IOleInPlaceObject> place(m_control);
  ASSERT_EQ(place->InPlaceDeactivate(), S_OK);
  EXPECT_EQ(ControlWindow(), nullptr);
  CComPtr<IOleClientSite> site;
  ASSERT_EQ(object->GetClientSite(&site), S_OK);
  const RECT bounds = {0, 0, 100, 50};
  EXPECT_EQ(object->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, site, 0, m_host, &bounds), S_OK);
  EXPECT_NE(ControlWindow(), nullptr);
}

TEST_P(HostedControl, AnswersItsScript) {
  const CComQIPtr<IDispatch> dispatch(m_control);
  ASSERT_NE(dispatch.p, nullptr);
  const CComQIPtr<IFolivoPluginVersion> version(m_control);
  CComVariant tooLong(std::wstring(1001, L'a').c_str());
  DISPPARAMS params = {&tooLong, nullptr, version != nullptr ? 0u : 1u, 0};
  CComVariant result;
  const HRESULT answer = dispatch->Invoke(
      1, IID_NULL, LOCALE_NEUTRAL, version != nullptr ? DISPATCH_PROPERTYGET : DISPATCH_METHOD,
      &params, &result, nullptr, nullptr);
  if (version != nullptr) {
    EXPECT_EQ(answer, S_OK);
    ASSERT_EQ(result.vt, VT_BSTR);
    EXPECT_STREQ(result.bstrVal, FOLIVO_VERSION_WIDE);
  } else {
    EXPECT_EQ(answer, E_INVALIDARG);
  }
}

TEST_P(HostedControl, GoesWithItsContainer) {
  m_control.Release();
  DestroyWindow(m_host);
  EXPECT_EQ(m_library.CanUnloadNow(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Plugin, HostedControl,
                         testing::Values(L"FolivoDownloadPlugin.VersionHelper",
                                         L"FolivoDownloadPlugin.ZipDownloadHelpe"),
                         [](const auto& info) {
                           return info.index == 0 ? std::string("Version") : "Collections";
                         });

}  // namespace
