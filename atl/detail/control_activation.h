#pragma once

// Activation and deactivation in place. The container may activate, deactivate or close the control
// in each call to it, so that the state is read again after the call. The caller holds a reference
// to the control; the functions hold the site during a call to it.

#include <initializer_list>

#include "control_base.h"

namespace ATL {

/// The control's position in the container and the windows around it, as the site returns them.
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

  /// Sets the active object of the frame and of the document window, if they exist, as long as the
  /// control is UI-active, or is not when the object is null. A control needs no border space.
  void SetActiveObject(const CComControlBase& control,
                       IOleInPlaceActiveObject* pActiveObject) const {
    for (IOleInPlaceUIWindow* const pWindow :
         {static_cast<IOleInPlaceUIWindow*>(m_pFrame.p), m_pDoc.p}) {
      if (pWindow != nullptr && (control.m_bUIActive != FALSE) == (pActiveObject != nullptr)) {
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

/// Queries the site for IOleInPlaceSiteEx, or else for IOleInPlaceSite.
inline HRESULT CComControlBase::NegotiateSite() {
  if (m_spInPlaceSite != nullptr) {
    return S_OK;
  }
  void** const ppSite = reinterpret_cast<void**>(&m_spInPlaceSite);
  m_bInPlaceSiteEx = SUCCEEDED(InternalGetSite(__uuidof(IOleInPlaceSiteEx), ppSite));
  return m_bInPlaceSiteEx ? S_OK : InternalGetSite(__uuidof(IOleInPlaceSite), ppSite);
}

/// Reports the activation to the container. The control's window is created after that.
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
  if (m_bInPlaceActive && !m_bUIActive && m_spInPlaceSite == pSite &&
      (iVerb == OLEIVERB_UIACTIVATE || iVerb == OLEIVERB_PRIMARY)) {
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
  // Only an extended site can refuse.
  if (m_bInPlaceSiteEx && pSite->RequestUIActivate() == S_FALSE) {
    pSite->OnUIDeactivate(FALSE);
    return E_FAIL;
  }
  if (m_bUIActive || !m_bInPlaceActive) {
    return S_OK;
  }
  // Set first, because WM_SETFOCUS activates too.
  m_bUIActive = TRUE;
  HRESULT hr = pSite->OnUIActivate();
  if (FAILED(hr)) {
    m_bUIActive = FALSE;
    return hr;
  }
  if (!m_bUIActive) {
    return S_OK;
  }
  const HWND hWndFocus = ::GetFocus();
  if (m_hWndCD != nullptr && hWndFocus != m_hWndCD && !::IsChild(m_hWndCD, hWndFocus)) {
    ::SetFocus(m_hWndCD);
  }
  CComPtr<IOleInPlaceActiveObject> pActiveObject;
  hr = ControlQueryInterface(__uuidof(IOleInPlaceActiveObject),
                             reinterpret_cast<void**>(&pActiveObject));
  if (SUCCEEDED(hr)) {
    context.SetActiveObject(*this, pActiveObject);
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
    CWindowContext(pSite).SetActiveObject(*this, nullptr);
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
    // A region is in window coordinates. SetWindowRgn takes ownership of it when it succeeds.
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

}  // namespace ATL
