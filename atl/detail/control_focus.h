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

/// Focus that comes by the keyboard or by a program activates like a click.
inline LRESULT CComControlBase::OnSetFocus(UINT, WPARAM, LPARAM, BOOL& bHandled) {
  if (m_bInPlaceActive) {
    if (!m_bUIActive) {
      InPlaceActivate(OLEIVERB_UIACTIVATE);
    }
    TellFocus(TRUE);
  }
  bHandled = FALSE;
  return 0;
}

inline LRESULT CComControlBase::OnKillFocus(UINT, WPARAM, LPARAM, BOOL& bHandled) {
  if (m_bInPlaceActive) {
    TellFocus(FALSE);
  }
  bHandled = FALSE;
  return 0;
}

/// In design mode a click is the container's own.
inline LRESULT CComControlBase::OnMouseActivate(UINT, WPARAM, LPARAM, BOOL& bHandled) {
  BOOL bUserMode = TRUE;
  GetAmbientUserMode(bUserMode);
  if (bUserMode && m_bInPlaceActive && !m_bUIActive) {
    InPlaceActivate(OLEIVERB_UIACTIVATE);
  }
  bHandled = FALSE;
  return 0;
}

}  // namespace ATL
