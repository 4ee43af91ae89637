#pragma once

// How a control becomes active in place, and inactive again. Each call to the container may call
// back, up to activating, deactivating or closing the control: state is looked at again after it.
// The caller holds the control, and the site is held for the time of a call to it.

#include <initializer_list>

#include "control_base.h"

namespace ATL {

/// Where in the container the control is, as its site tells.
class CComControlBase::CWindowContext {
 public:
  explicit CWindowContext(IOleInPlaceSiteEx* pSite) {
    OLEINPLACEFRAMEINFO frameInfo = {};
    frameInfo.cb = sizeof(frameInfo);
    m_hr = pSite->GetWindowContext(&m_pFrame, &m_pDoc, &m_rcPos, &m_rcClip, &frameInfo);
  }
  CWindowContext(const CWindowContext&) = delete;
  CWindowContext& operator=(const CWindowContext&) = delete;
  ~CWindowContext() = default;

  /// Tells the frame and the document window, if they are there, who gets the keys. A control
  /// brings no tools of its own, which a space at their borders would be for.
  void SetActiveObject(IOleInPlaceActiveObject* pActiveObject) const {
    for (IOleInPlaceUIWindow* const pWindow :
         {static_cast<IOleInPlaceUIWindow*>(m_pFrame.p), m_pDoc.p}) {
      if (pWindow != nullptr) {
        pWindow->SetActiveObject(pActiveObject, nullptr);
        if (pActiveObject != nullptr) {
          pWindow->SetBorderSpace(nullptr);
        }
      }
    }
  }

  HRESULT m_hr;
  CComPtr<IOleInPlaceFrame> m_pFrame;
  CComPtr<IOleInPlaceUIWindow> m_pDoc;
  RECT m_rcPos = {};
  RECT m_rcClip = {};
};

inline void CComControlBase::SetControlSite(IOleClientSite* pClientSite) {
  m_spClientSite = pClientSite;
  m_spAmbientDispatch = static_cast<IUnknown*>(pClientSite);
  if (!m_bInPlaceActive) {
    // It is the old site's.
    m_spInPlaceSite.Release();
    m_bInPlaceSiteEx = FALSE;
  }
}

inline void CComControlBase::LeaveContainer() {
  m_bUIActive = FALSE;
  m_bInPlaceActive = FALSE;
  m_spInPlaceSite.Release();
  m_spAmbientDispatch.Release();
  m_spClientSite.Release();
}

/// Finds the most capable interface of the site.
inline HRESULT CComControlBase::NegotiateSite() {
  if (m_spInPlaceSite != nullptr) {
    return S_OK;
  }
  void** const ppSite = reinterpret_cast<void**>(&m_spInPlaceSite);
  m_bInPlaceSiteEx = SUCCEEDED(InternalGetSite(__uuidof(IOleInPlaceSiteEx), ppSite));
  return m_bInPlaceSiteEx ? S_OK : InternalGetSite(__uuidof(IOleInPlaceSite), ppSite);
}

/// Tells the container that the control becomes active; the control's window comes after that.
inline HRESULT CComControlBase::EnterInPlaceState(IOleInPlaceSiteEx* pSite) {
  HRESULT hr = pSite->CanInPlaceActivate();
  if (hr != S_OK || m_spInPlaceSite == nullptr) {
    return FAILED(hr) ? hr : E_FAIL;
  }
  if (m_bInPlaceActive) {
    return S_OK;
  }
  m_bInPlaceActive = TRUE;
  if (m_bInPlaceSiteEx) {
    BOOL fNoRedraw = FALSE;
    hr = pSite->OnInPlaceActivateEx(&fNoRedraw, 0);
  } else {
    hr = pSite->OnInPlaceActivate();
  }
  if (FAILED(hr)) {
    m_bInPlaceActive = FALSE;
  }
  return hr;
}

inline HRESULT CComControlBase::ShowControlWindow(IOleInPlaceSiteEx* pSite, RECT& rcPos) {
  HWND hWndParent = nullptr;
  if (m_hWndCD == nullptr) {
    const HRESULT hr = pSite->GetWindow(&hWndParent);
    if (FAILED(hr)) {
      return hr;
    }
  }
  if (m_hWndCD != nullptr) {
    ::ShowWindow(m_hWndCD, SW_SHOWNA);
    return S_OK;
  }
  const HWND hWnd = CreateControlWindow(hWndParent, rcPos);
  if (hWnd != nullptr && !m_bInPlaceActive) {
    ::DestroyWindow(hWnd);
  }
  return hWnd != nullptr ? S_OK : E_FAIL;
}

inline HRESULT CComControlBase::InPlaceActivate(LONG iVerb, const RECT* /*prcPosRect*/) {
  HRESULT hr = NegotiateSite();
  if (FAILED(hr)) {
    return hr;
  }
  const CComPtr<IOleInPlaceSiteEx> pSite = m_spInPlaceSite;
  if (!m_bInPlaceActive) {
    hr = EnterInPlaceState(pSite);
    if (FAILED(hr)) {
      return hr;
    }
  }
  CWindowContext context(pSite);
  hr = context.m_hr;
  if (SUCCEEDED(hr) && m_bInPlaceActive) {
    hr = ShowControlWindow(pSite, context.m_rcPos);
  }
  if (FAILED(hr)) {
    DeactivateInPlace();
    return hr;
  }
  CComPtr<IOleInPlaceObject> pInPlaceObject;
  if (m_bInPlaceActive &&
      SUCCEEDED(ControlQueryInterface(__uuidof(IOleInPlaceObject),
                                      reinterpret_cast<void**>(&pInPlaceObject)))) {
    pInPlaceObject->SetObjectRects(&context.m_rcPos, &context.m_rcClip);
  }
  if (m_bInPlaceActive && !m_bUIActive && DoesVerbUIActivate(iVerb)) {
    hr = UIActivate(pSite, context);
  }
  const CComPtr<IOleClientSite> pClientSite = m_spClientSite;
  if (SUCCEEDED(hr) && m_bInPlaceActive && pClientSite != nullptr) {
    pClientSite->ShowObject();
  }
  return SUCCEEDED(hr) && !m_bInPlaceActive ? E_FAIL : hr;
}

inline HRESULT CComControlBase::UIActivate(IOleInPlaceSiteEx* pSite,
                                           const CWindowContext& context) {
  // Refusing is for sites that know the question; the others have answered it by activating.
  if (m_bInPlaceSiteEx && pSite->RequestUIActivate() == S_FALSE) {
    pSite->OnUIDeactivate(FALSE);
    return E_FAIL;
  }
  if (m_bUIActive) {
    return S_OK;
  }
  // Set first: the focus that comes below activates, too.
  m_bUIActive = TRUE;
  HRESULT hr = pSite->OnUIActivate();
  if (FAILED(hr)) {
    m_bUIActive = FALSE;
    return hr;
  }
  if (!m_bUIActive) {
    return S_OK;
  }
  SetControlFocus(TRUE);
  CComPtr<IOleInPlaceActiveObject> pActiveObject;
  hr = ControlQueryInterface(__uuidof(IOleInPlaceActiveObject),
                             reinterpret_cast<void**>(&pActiveObject));
  if (SUCCEEDED(hr) && m_bUIActive) {
    context.SetActiveObject(pActiveObject);
  }
  return hr;
}

inline HRESULT CComControlBase::DeactivateUI() {
  if (!m_bUIActive) {
    return S_OK;
  }
  m_bUIActive = FALSE;
  const CComPtr<IOleInPlaceSiteEx> pSite = m_spInPlaceSite;
  if (pSite != nullptr) {
    CWindowContext(pSite).SetActiveObject(nullptr);
    pSite->OnUIDeactivate(FALSE);
  }
  return S_OK;
}

inline HRESULT CComControlBase::DeactivateInPlace() {
  if (!m_bInPlaceActive) {
    return S_OK;
  }
  DeactivateUI();
  m_bInPlaceActive = FALSE;
  if (m_hWndCD != nullptr) {
    ::DestroyWindow(m_hWndCD);
  }
  m_bUsingWindowRgn = FALSE;
  const CComPtr<IOleInPlaceSiteEx> pSite = m_spInPlaceSite;
  if (pSite == nullptr) {
    return S_OK;
  }
  if (m_bInPlaceSiteEx) {
    pSite->OnInPlaceDeactivateEx(FALSE);
  } else {
    pSite->OnInPlaceDeactivate();
  }
  return S_OK;
}

inline HRESULT CComControlBase::SetControlRects(LPCRECT prcPos, LPCRECT prcClip) {
  if (prcPos == nullptr || prcClip == nullptr) {
    return E_POINTER;
  }
  m_rcPos = *prcPos;
  if (m_hWndCD == nullptr) {
    return S_OK;
  }
  RECT rcVisible;
  ::IntersectRect(&rcVisible, prcPos, prcClip);
  if (!::EqualRect(&rcVisible, prcPos)) {
    // A region is in the window's own coordinates, and belongs to the window.
    ::OffsetRect(&rcVisible, -prcPos->left, -prcPos->top);
    const HRGN hRgn = ::CreateRectRgnIndirect(&rcVisible);
    if (hRgn != nullptr && ::SetWindowRgn(m_hWndCD, hRgn, TRUE)) {
      m_bUsingWindowRgn = TRUE;
    } else {
      ::DeleteObject(hRgn);
    }
  } else if (m_bUsingWindowRgn) {
    ::SetWindowRgn(m_hWndCD, nullptr, TRUE);
    m_bUsingWindowRgn = FALSE;
  }
  ::SetWindowPos(m_hWndCD, nullptr, prcPos->left, prcPos->top, prcPos->right - prcPos->left,
                 prcPos->bottom - prcPos->top, SWP_NOZORDER | SWP_NOACTIVATE);
  return S_OK;
}

inline HRESULT CComControlBase::GetControlWindow(HWND* phwnd) const noexcept {
  if (phwnd == nullptr) {
    return E_POINTER;
  }
  *phwnd = m_hWndCD;
  return m_hWndCD == nullptr ? E_FAIL : S_OK;
}

}  // namespace ATL
