#pragma once

// The keyboard focus of a control, and what makes it active from inside.

#include "control_base.h"

namespace ATL {

inline BOOL CComControlBase::SetControlFocus(BOOL bGrab) {
  if (m_hWndCD == nullptr) {
    return FALSE;
  }
  const HWND hWndFocus = ::GetFocus();
  const bool bHasFocus = hWndFocus == m_hWndCD || ::IsChild(m_hWndCD, hWndFocus);
  if (!bGrab) {
    return !bHasFocus;
  }
  if (!bHasFocus) {
    ::SetFocus(m_hWndCD);
  }
  return TRUE;
}

inline void CComControlBase::TellFocus(BOOL bGotFocus) {
  CComPtr<IOleControlSite> pSite;
  if (SUCCEEDED(InternalGetSite(__uuidof(IOleControlSite), reinterpret_cast<void**>(&pSite)))) {
    pSite->OnFocus(bGotFocus);
  }
}

inline CComPtr<IUnknown> CComControlBase::HoldSelf() {
  CComPtr<IUnknown> pSelf;
  ControlQueryInterface(IID_IUnknown, reinterpret_cast<void**>(&pSelf));
  return pSelf;
}

/// Focus that comes by the keyboard or by a program activates like a click.
inline LRESULT CComControlBase::OnSetFocus(UINT, WPARAM, LPARAM, BOOL& bHandled) {
  bHandled = FALSE;
  if (m_bInPlaceActive) {
    const CComPtr<IUnknown> pSelf = HoldSelf();
    if (!m_bUIActive) {
      InPlaceActivate(OLEIVERB_UIACTIVATE);
    }
    if (m_bInPlaceActive) {
      TellFocus(TRUE);
    }
  }
  return 0;
}

inline LRESULT CComControlBase::OnKillFocus(UINT, WPARAM, LPARAM, BOOL& bHandled) {
  bHandled = FALSE;
  if (m_bInPlaceActive) {
    const CComPtr<IUnknown> pSelf = HoldSelf();
    TellFocus(FALSE);
  }
  return 0;
}

/// In design mode a click is the container's own.
inline LRESULT CComControlBase::OnMouseActivate(UINT, WPARAM, LPARAM, BOOL& bHandled) {
  bHandled = FALSE;
  if (m_bInPlaceActive && !m_bUIActive) {
    const CComPtr<IUnknown> pSelf = HoldSelf();
    BOOL bUserMode = TRUE;
    GetAmbientUserMode(bUserMode);
    if (bUserMode && m_bInPlaceActive && !m_bUIActive) {
      InPlaceActivate(OLEIVERB_UIACTIVATE);
    }
  }
  return 0;
}

}  // namespace ATL
