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

  static bool IsVersion() {
    return std::wstring(GetParam()) == L"FolivoDownloadPlugin.VersionHelper";
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
  OLECHAR version[] = L"VERSION";
  OLECHAR download[] = L"downloadfile";
  LPOLESTR names[] = {IsVersion() ? version : download};
  DISPID id = 0;
  ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_NEUTRAL, &id), S_OK);
  EXPECT_EQ(id, 1);

  CComVariant argument(std::wstring(1001, L'a').c_str());
  DISPPARAMS none = {};
  DISPPARAMS one = {&argument, nullptr, 1, 0};
  CComVariant result;
  if (IsVersion()) {
    EXPECT_EQ(dispatch->Invoke(id, IID_NULL, LOCALE_NEUTRAL, DISPATCH_PROPERTYGET, &none, &result,
                               nullptr, nullptr),
              S_OK);
    ASSERT_EQ(result.vt, VT_BSTR);
    EXPECT_STREQ(result.bstrVal, FOLIVO_VERSION_WIDE);
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS change = {&argument, &put, 1, 1};
    EXPECT_TRUE(FAILED(dispatch->Invoke(id, IID_NULL, LOCALE_NEUTRAL, DISPATCH_PROPERTYPUT, &change,
                                        nullptr, nullptr, nullptr)))
        << "it cannot be set";
  } else {
    EXPECT_EQ(dispatch->Invoke(id, IID_NULL, LOCALE_NEUTRAL, DISPATCH_METHOD, &one, &result,
                               nullptr, nullptr),
              E_INVALIDARG);
  }
}

TEST_P(HostedControl, TellsItsClass) {
  const CComQIPtr<IProvideClassInfo2> provider(m_control);
  ASSERT_NE(provider.p, nullptr);
  CComPtr<ITypeInfo> info;
  ASSERT_EQ(provider->GetClassInfo(&info), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
  const GUID& expected = IsVersion() ? CLSID_CFolivoPluginVersion : CLSID_CQDCDownload;
  EXPECT_EQ(attributes->guid, expected);
  info->ReleaseTypeAttr(attributes);
  const CComQIPtr<IPersist> persist(m_control);
  CLSID clsid = GUID_NULL;
  EXPECT_EQ(persist->GetClassID(&clsid), S_OK);
  EXPECT_EQ(clsid, expected);
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
