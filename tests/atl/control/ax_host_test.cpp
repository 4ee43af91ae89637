// The control in the system's own host window, the one that dialogs with controls use.

#include "control_fixture.h"

namespace {

/// A function of the system's ATL.DLL. That stays: its window class points into it.
template <class F>
F* SystemAtl(const char* name) {
  static const HMODULE module = LoadLibraryW(L"atl.dll");
  F* const function =
      reinterpret_cast<F*>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
  EXPECT_NE(nullptr, function) << name;
  return function;
}

using AtlAxWinInitFunction = BOOL WINAPI();
using AtlAxAttachControlFunction = HRESULT WINAPI(IUnknown*, HWND, IUnknown**);
using AtlAxGetControlFunction = HRESULT WINAPI(HWND, IUnknown**);
using AtlAxCreateControlExFunction = HRESULT WINAPI(LPCOLESTR, HWND, IStream*, IUnknown**,
                                                    IUnknown**, REFIID, IUnknown*);

class AxHost : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    static const BOOL registered = SystemAtl<AtlAxWinInitFunction>("AtlAxWinInit")();
    ASSERT_TRUE(registered);
    m_window = CreateWindowExW(0, L"STATIC", L"Container", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                               400, 300, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, m_window);
    m_host = CreateWindowExW(0, L"AtlAxWin", L"", WS_CHILD | WS_VISIBLE, 10, 20, 100, 50, m_window,
                             nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, m_host);
  }
  void TearDown() override {
    if (m_host != nullptr) {
      DestroyWindow(m_host);
    }
    ControlTest::TearDown();
  }

  void Attach() {
    CComPtr<IUnknown> container;
    ASSERT_EQ(S_OK, SystemAtl<AtlAxAttachControlFunction>("AtlAxAttachControl")(m_object, m_host,
                                                                                &container));
    EXPECT_NE(nullptr, container.p);
  }
  RECT Client(HWND window) {
    RECT rc = {};
    GetClientRect(window, &rc);
    return rc;
  }
  /// The control fills its host.
  void ExpectSize(LONG width, LONG height) {
    const RECT rc = Client(ControlWindow());
    EXPECT_EQ(width, rc.right);
    EXPECT_EQ(height, rc.bottom);
  }

  HWND m_host = nullptr;
};

class EveryAxHost : public AxHost, public testing::WithParamInterface<Birth> {
 protected:
  void SetUp() override {
    AxHost::SetUp();
    Create(GetParam());
    Attach();
  }
};
INSTANTIATE_FOR_EVERY_BIRTH(EveryAxHost);

TEST_P(EveryAxHost, ShowsTheControlInAWindowOfItsOwn) {
  const HWND window = ControlWindow();
  ASSERT_NE(nullptr, window);
  EXPECT_EQ(m_host, GetParent(window));
  EXPECT_EQ(static_cast<LONG_PTR>(WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS),
            GetWindowLongPtrW(window, GWL_STYLE));
  EXPECT_EQ(static_cast<ULONG_PTR>(CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS),
            GetClassLongPtrW(window, GCL_STYLE));
  wchar_t name[64] = L"";
  GetClassNameW(window, name, ARRAYSIZE(name));
  EXPECT_EQ(0, wcsncmp(L"ATL:", name, 4)) << "a class of the module's own";
  ExpectSize(100, 50);
}

TEST_P(EveryAxHost, QueryControlReturnsTheControl) {
  CComPtr<IUnknown> control;
  EXPECT_EQ(S_OK, SystemAtl<AtlAxGetControlFunction>("AtlAxGetControl")(m_host, &control));
  EXPECT_TRUE(m_object.IsEqualObject(control));
}

TEST_P(EveryAxHost, ResizesTheControl) {
  MoveWindow(m_host, 5, 5, 200, 120, TRUE);
  ExpectSize(200, 120);
  SIZEL extent = {};
  EXPECT_EQ(S_OK, As<IOleObject>()->GetExtent(DVASPECT_CONTENT, &extent));
  EXPECT_NE(5080, extent.cx) << "hosts compute it differently, but set it";
}

TEST_P(EveryAxHost, DrawsTheControl) {
  g_plates.drawn = 0;
  RedrawWindow(m_host, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
  EXPECT_EQ(1, g_plates.drawn);
  const HDC hdc = GetDC(ControlWindow());
  EXPECT_EQ(kPlateColour, GetPixel(hdc, 0, 0));
  EXPECT_EQ(kPlateColour, GetPixel(hdc, 99, 49));
  ReleaseDC(ControlWindow(), hdc);
}

TEST_P(EveryAxHost, DestroyedHostReleasesTheControl) {
  const HWND window = ControlWindow();
  m_object.Release();
  ASSERT_TRUE(DestroyWindow(m_host));
  m_host = nullptr;
  EXPECT_FALSE(IsWindow(window));
  EXPECT_EQ(0U, m_outer.References());
  m_outer.m_inner.Release();
  EXPECT_EQ(0, g_plates.alive);
}

/// Gives out the one object that is there.
class CGivingFactory final : public IClassFactory {
 public:
  explicit CGivingFactory(IUnknown& object) : m_object(object) {}
  CGivingFactory(const CGivingFactory&) = delete;
  CGivingFactory& operator=(const CGivingFactory&) = delete;
  ~CGivingFactory() = default;

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *ppv = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHOD_(ULONG, AddRef)() override { return 2; }
  STDMETHOD_(ULONG, Release)() override { return 1; }
  STDMETHOD(CreateInstance)(IUnknown* pOuter, REFIID iid, void** ppv) override {
    *ppv = nullptr;
    return pOuter != nullptr ? CLASS_E_NOAGGREGATION : m_object.QueryInterface(iid, ppv);
  }
  STDMETHOD(LockServer)(BOOL) override { return S_OK; }

 private:
  IUnknown& m_object;
};

TEST_F(AxHost, CreatesTheControlByItsClassAndInitialisesIt) {
  Create(Birth::kInside);
  CGivingFactory factory(m_outer);
  DWORD cookie = 0;
  ASSERT_EQ(S_OK, CoRegisterClassObject(CLSID_Plate, &factory, CLSCTX_INPROC_SERVER,
                                        REGCLS_MULTIPLEUSE, &cookie));
  m_outer.m_asked.clear();
  OLECHAR clsid[40];
  StringFromGUID2(CLSID_Plate, clsid, ARRAYSIZE(clsid));
  CComPtr<IUnknown> container;
  CComPtr<IUnknown> control;
  ASSERT_EQ(S_OK, SystemAtl<AtlAxCreateControlExFunction>("AtlAxCreateControlEx")(
                      clsid, m_host, nullptr, &container, &control, IID_NULL, nullptr));
  EXPECT_THAT(m_outer.m_asked, testing::IsSupersetOf({IID_IOleObject, IID_IPersistStreamInit}));
  EXPECT_TRUE(m_object.IsEqualObject(control));
  ExpectSize(100, 50);
  m_outer.m_asked.clear();
  MoveWindow(m_host, 5, 5, 200, 120, TRUE);
  EXPECT_THAT(m_outer.m_asked, testing::Contains(IID_IOleInPlaceObject));
  ExpectSize(200, 120);
  control.Release();
  container.Release();
  DestroyWindow(m_host);
  m_host = nullptr;
  EXPECT_EQ(S_OK, CoRevokeClassObject(cookie));
}

}  // namespace
