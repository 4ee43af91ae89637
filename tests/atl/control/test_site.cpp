#include "test_site.h"

#include <gtest/gtest.h>

CReferenceCount::~CReferenceCount() { EXPECT_EQ(0U, m_count) << "references left behind"; }

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestFrame::QueryInterface(REFIID iid, void** ppv) {
  *ppv = nullptr;
  if (iid != IID_IUnknown && iid != IID_IOleWindow && iid != IID_IOleInPlaceUIWindow &&
      iid != IID_IOleInPlaceFrame) {
    return E_NOINTERFACE;
  }
  AddRef();
  *ppv = static_cast<IOleInPlaceFrame*>(this);
  return S_OK;
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestFrame::SetBorderSpace(LPCBORDERWIDTHS widths) {
  EXPECT_EQ(nullptr, widths) << "controls have no tools";
  m_log.Add(m_name + ".SetBorderSpace");
  return S_OK;
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestFrame::SetActiveObject(IOleInPlaceActiveObject* object,
                                                              LPCOLESTR) {
  m_active = object;
  m_log.Add(m_name + (object != nullptr ? ".SetActiveObject" : ".NoActiveObject"));
  return S_OK;
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSite::QueryInterface(REFIID iid, void** ppv) {
  *ppv = nullptr;
  IUnknown* found = nullptr;
  if (iid == IID_IUnknown || iid == IID_IOleClientSite) {
    found = static_cast<IOleClientSite*>(this);
  } else if (iid == IID_IOleControlSite) {
    found = static_cast<IOleControlSite*>(this);
  } else if (iid == IID_IDispatch) {
    found = static_cast<IDispatch*>(this);
  } else if ((iid == IID_IOleInPlaceSite && m_kind >= Kind::kPlain) ||
             (iid == IID_IOleInPlaceSiteEx && m_kind >= Kind::kEx)) {
    found = static_cast<IOleInPlaceSiteEx*>(this);
  }
  if (found == nullptr) {
    return E_NOINTERFACE;
  }
  found->AddRef();
  *ppv = found;
  return S_OK;
}

HRESULT CTestSite::Answer(const std::string& call) {
  m_log.Add(call);
  const auto result = m_results.find(call);
  return result != m_results.end() ? result->second : S_OK;
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSite::GetWindow(HWND* window) {
  *window = m_window;
  return Answer("GetWindow");
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSite::GetWindowContext(IOleInPlaceFrame** frame,
                                                              IOleInPlaceUIWindow** document,
                                                              LPRECT position, LPRECT clip,
                                                              LPOLEINPLACEFRAMEINFO info) {
  EXPECT_EQ(sizeof(*info), info->cb);
  *frame = nullptr;
  *document = nullptr;
  const HRESULT hr = Answer("GetWindowContext");
  if (SUCCEEDED(hr)) {
    CComPtr<IOleInPlaceFrame>(&m_frame).CopyTo(frame);
    CComPtr<IOleInPlaceUIWindow>(&m_document).CopyTo(document);
    *position = m_position;
    *clip = m_clip;
  }
  return hr;
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSite::OnUIDeactivate(BOOL undoable) {
  EXPECT_FALSE(undoable);
  return Answer("OnUIDeactivate");
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSite::OnInPlaceActivateEx(BOOL* noRedraw, DWORD flags) {
  EXPECT_NE(nullptr, noRedraw);
  m_activateFlags = flags;
  return Answer("OnInPlaceActivateEx");
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSite::OnInPlaceDeactivateEx(BOOL noRedraw) {
  EXPECT_FALSE(noRedraw);
  return Answer("OnInPlaceDeactivateEx");
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSite::TranslateAccelerator(MSG*, DWORD modifiers) {
  m_keyModifiers = modifiers;
  return Answer("TranslateAccelerator");
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSite::Invoke(DISPID id, REFIID, LCID, WORD flags,
                                                    DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                                                    UINT*) {
  EXPECT_EQ(DISPATCH_PROPERTYGET, flags);
  m_log.RunHook("Ambient");
  if (id != DISPID_AMBIENT_USERMODE) {
    return DISP_E_MEMBERNOTFOUND;
  }
  result->vt = VT_BOOL;
  result->boolVal = m_userMode ? VARIANT_TRUE : VARIANT_FALSE;
  return S_OK;
}

COM_DECLSPEC_NOTHROW STDMETHODIMP CTestSink::QueryInterface(REFIID iid, void** ppv) {
  *ppv = nullptr;
  if (iid != IID_IUnknown && iid != IID_IAdviseSink) {
    return E_NOINTERFACE;
  }
  AddRef();
  *ppv = static_cast<IAdviseSink*>(this);
  return S_OK;
}

COM_DECLSPEC_NOTHROW STDMETHODIMP_(void) CTestSink::OnDataChange(FORMATETC* format,
                                                                 STGMEDIUM* medium) {
  EXPECT_EQ(CF_METAFILEPICT, format->cfFormat);
  m_log.Add(medium->tymed == TYMED_MFPICT ? "OnDataChange" : "OnDataChange without data");
}

COM_DECLSPEC_NOTHROW STDMETHODIMP_(void) CTestSink::OnViewChange(DWORD aspect, LONG index) {
  EXPECT_EQ(static_cast<DWORD>(DVASPECT_CONTENT), aspect);
  EXPECT_EQ(-1, index);
  m_log.Add("OnViewChange");
}
