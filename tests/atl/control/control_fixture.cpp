#include "control_fixture.h"

namespace {

/// The module object of this test program.
class CControlTestModule : public ATL::CAtlDllModuleT<CControlTestModule> {};
CControlTestModule g_module;

}  // namespace

COM_DECLSPEC_NOTHROW STDMETHODIMP COuter::QueryInterface(REFIID iid, void** ppv) {
  *ppv = nullptr;
  if (iid == IID_IUnknown) {
    AddRef();
    *ppv = this;
    return S_OK;
  }
  return m_inner->QueryInterface(iid, ppv);
}

COM_DECLSPEC_NOTHROW STDMETHODIMP_(ULONG) COuter::Release() {
  const ULONG left = m_references.Decrement();
  if (left == 0) {
    m_inner.Release();
  }
  return left;
}

std::string ToString(Birth birth) { return birth == Birth::kAlone ? "Alone" : "Inside"; }

void ControlTest::SetUp() {
  ASSERT_EQ(S_OK, OleInitialize(nullptr));
  g_plates = {};
  m_locks = g_module.GetLockCount();
}

void ControlTest::TearDown() {
  Drop();
  EXPECT_EQ(0U, m_site.References());
  EXPECT_EQ(0U, m_sink.References());
  EXPECT_EQ(m_locks, g_module.GetLockCount());
  if (m_window != nullptr) {
    EXPECT_EQ(nullptr, GetWindow(m_window, GW_CHILD)) << "a window left behind";
    DestroyWindow(m_window);
  }
  OleUninitialize();
}

void ControlTest::Create(Birth birth) {
  const bool inside = birth == Birth::kInside;
  CComPtr<IUnknown>& pNew = inside ? m_outer.m_inner : m_object;
  IUnknown* const pOuter = inside ? &m_outer : nullptr;
  ASSERT_EQ(S_OK, CPlate::_CreatorClass::CreateInstance(pOuter, IID_IUnknown,
                                                        reinterpret_cast<void**>(&pNew)));
  if (inside) {
    m_object = &m_outer;
  }
  ASSERT_EQ(1, g_plates.alive);
  m_plate = static_cast<CPlate*>(As<IOleObject>().p);
}

void ControlTest::OpenContainer() {
  m_window = CreateWindowExW(0, L"STATIC", L"Container", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                             400, 300, nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(nullptr, m_window);
  m_site.m_window = m_window;
  ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(&m_site));
}

void ControlTest::Drop() {
  if (m_object != nullptr) {
    CComPtr<IOleObject> object;
    if (SUCCEEDED(m_object.QueryInterface(&object))) {
      object->Close(OLECLOSE_NOSAVE);
      object->SetClientSite(nullptr);
    }
  }
  m_object.Release();
  EXPECT_EQ(0U, m_outer.References());
  m_outer.m_inner.Release();
  EXPECT_EQ(0, g_plates.alive) << "the control has another owner";
}

void ControlTest::ReleaseAll() {
  m_site.m_frame.m_active.Release();
  m_site.m_document.m_active.Release();
  m_object.Release();
}

HRESULT ControlTest::DoVerb(LONG verb) {
  return As<IOleObject>()->DoVerb(verb, nullptr, &m_site, 0, m_window, &m_site.m_position);
}

HWND ControlTest::ControlWindow() {
  HWND window = nullptr;
  const HRESULT hr = As<IOleInPlaceObject>()->GetWindow(&window);
  EXPECT_EQ(window != nullptr ? S_OK : E_FAIL, hr);
  return window;
}
