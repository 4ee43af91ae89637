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
  CComPtr<IOleClientSite> Site() const {
    CComPtr<IOleClientSite> site;
    EXPECT_EQ(CComQIPtr<IOleObject>(m_control)->GetClientSite(&site), S_OK);
    return site;
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

TEST_P(HostedControl, PaintsItsWindow) {
  const HWND window = ControlWindow();
  ASSERT_NE(window, nullptr);
  UpdateWindow(window);  // what its creation left to be done, erasing included
  const HDC dc = GetDC(window);
  const RECT all = {0, 0, 100, 50};
  FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  EXPECT_EQ(GetPixel(dc, 50, 25), RGB(0, 0, 0));
  // Not erased: what comes is the control's own picture.
  InvalidateRect(window, nullptr, FALSE);
  UpdateWindow(window);
  EXPECT_EQ(GetPixel(dc, 50, 25), GetSysColor(COLOR_WINDOW));
  EXPECT_FALSE(GetUpdateRect(window, nullptr, FALSE));
  ReleaseDC(window, dc);
}

TEST_P(HostedControl, TakesTheUserInterfaceAndGivesItBack) {
  const CComQIPtr<IOleObject> object(m_control);
  const CComPtr<IOleClientSite> site = Site();
  const RECT bounds = {0, 0, 100, 50};
  SetFocus(m_window);
  ASSERT_EQ(object->DoVerb(OLEIVERB_UIACTIVATE, nullptr, site, 0, m_host, &bounds), S_OK);
  EXPECT_EQ(GetFocus(), ControlWindow());
  const CComQIPtr<IOleInPlaceObject> place(m_control);
  EXPECT_EQ(place->UIDeactivate(), S_OK);
  EXPECT_NE(ControlWindow(), nullptr) << "it stays where it is";
}

TEST_P(HostedControl, ClosesAndMayBeActivatedAgain) {
  const CComQIPtr<IOleObject> object(m_control);
  const HWND window = ControlWindow();
  ASSERT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
  EXPECT_FALSE(IsWindow(window));
  EXPECT_EQ(ControlWindow(), nullptr);
  const CComPtr<IOleClientSite> site = Site();
  ASSERT_NE(site.p, nullptr);
  const RECT bounds = {0, 0, 100, 50};
  EXPECT_EQ(object->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, site, 0, m_host, &bounds), S_OK);
  EXPECT_NE(ControlWindow(), nullptr);
}

TEST_P(HostedControl, TakesItsSiteInOneCall) {
  const CComQIPtr<IOleObject> object(m_control);
  const CComPtr<IOleClientSite> site = Site();
  ASSERT_NE(site.p, nullptr);
  ASSERT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
  ASSERT_EQ(object->SetClientSite(nullptr), S_OK);
  ASSERT_EQ(Site().p, nullptr);
  QACONTAINER container = {};
  container.cbSize = sizeof(container);
  container.pClientSite = site;
  QACONTROL control = {};
  control.cbSize = sizeof(control);
  const CComQIPtr<IQuickActivate> quick(m_control);
  ASSERT_EQ(quick->QuickActivate(&container, &control), S_OK);
  EXPECT_EQ(Site().p, site.p);
  DWORD status = 0;
  EXPECT_EQ(object->GetMiscStatus(DVASPECT_CONTENT, &status), S_OK);
  EXPECT_EQ(control.dwMiscStatus, status);
  const RECT bounds = {0, 0, 100, 50};
  EXPECT_EQ(object->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, site, 0, m_host, &bounds), S_OK);
  EXPECT_NE(ControlWindow(), nullptr);
}

TEST_P(HostedControl, KeepsItsSizeInStreamsAndStorages) {
  const CComQIPtr<IOleObject> object(m_control);
  const CComQIPtr<IPersistStreamInit> stream(m_control);
  const CComQIPtr<IPersistStorage> storage(m_control);
  const auto setExtent = [&](LONG cx, LONG cy) {
    SIZEL size = {cx, cy};
    EXPECT_EQ(object->SetExtent(DVASPECT_CONTENT, &size), S_OK);
  };
  const auto expectExtent = [&](LONG cx, LONG cy) {
    SIZEL size = {};
    EXPECT_EQ(object->GetExtent(DVASPECT_CONTENT, &size), S_OK);
    EXPECT_EQ(size.cx, cx);
    EXPECT_EQ(size.cy, cy);
  };
  CComPtr<IStream> bytes;
  ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &bytes), S_OK);
  setExtent(1111, 2222);
  EXPECT_EQ(stream->IsDirty(), S_OK);
  EXPECT_EQ(stream->Save(bytes, TRUE), S_OK);
  EXPECT_EQ(stream->IsDirty(), S_FALSE);
  setExtent(5, 6);
  EXPECT_EQ(bytes->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_EQ(stream->Load(bytes), S_OK);
  expectExtent(1111, 2222);

  CComPtr<ILockBytes> memory;
  ASSERT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, &memory), S_OK);
  CComPtr<IStorage> file;
  ASSERT_EQ(StgCreateDocfileOnILockBytes(
                memory, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &file),
            S_OK);
  setExtent(3333, 4444);
  EXPECT_EQ(storage->Save(file, TRUE), S_OK);
  setExtent(5, 6);
  EXPECT_EQ(storage->Load(file), S_OK);
  expectExtent(3333, 4444);
}

TEST_P(HostedControl, LosesItsWindowWhenDeactivatedAndGetsANewOne) {
  const CComQIPtr<IOleObject> object(m_control);
  const CComQIPtr<IOleInPlaceObject> place(m_control);
  ASSERT_EQ(place->InPlaceDeactivate(), S_OK);
  EXPECT_EQ(ControlWindow(), nullptr);
  const CComPtr<IOleClientSite> site = Site();
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
