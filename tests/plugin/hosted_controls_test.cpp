// The built controls in a container that is the system's own: the host window of its ATL.DLL.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <string>
#include <utility>

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

TEST_P(HostedControl, HasAWindowOfItsContainersSize) {
  const HWND window = ControlWindow();
  ASSERT_NE(window, nullptr);
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
}

TEST_P(HostedControl, SavesItsSize) {
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

TEST_P(HostedControl, AnswersItsScript) {
  const CComQIPtr<IDispatch> dispatch(m_control);
  std::wstring name = IsVersion() ? L"VERSION" : L"downloadfile";
  LPOLESTR names[] = {name.data()};
  DISPID id = 0;
  ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_NEUTRAL, &id), S_OK);
  EXPECT_EQ(id, 1);
  CComVariant argument(std::wstring(1001, L'a').c_str());
  CComVariant result;
  const auto invoke = [&](WORD flags, DISPPARAMS params) {
    return dispatch->Invoke(id, IID_NULL, LOCALE_NEUTRAL, flags, &params, &result, nullptr,
                            nullptr);
  };
  if (IsVersion()) {
    EXPECT_EQ(invoke(DISPATCH_PROPERTYGET, {}), S_OK);
    ASSERT_EQ(result.vt, VT_BSTR);
    EXPECT_STREQ(result.bstrVal, FOLIVO_VERSION_WIDE);
    DISPID put = DISPID_PROPERTYPUT;
    EXPECT_TRUE(FAILED(invoke(DISPATCH_PROPERTYPUT, {&argument, &put, 1, 1}))) << "read-only";
  } else {
    EXPECT_EQ(invoke(DISPATCH_METHOD, {&argument, nullptr, 1, 0}), E_INVALIDARG);
  }
}

TEST_P(HostedControl, IsReleasedWithItsContainer) {
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
