#pragma once

// The messages of a control's window: painting, focus, mouse.

#include "control_base.h"

namespace ATL {

namespace detail {

/// Saves the state of a device context and restores it at scope end.
class CSavedDc {
 public:
  explicit CSavedDc(HDC hdc) noexcept : m_hdc(hdc), m_nSaved(::SaveDC(hdc)) {}
  CSavedDc(const CSavedDc&) = delete;
  CSavedDc& operator=(const CSavedDc&) = delete;
  ~CSavedDc() { ::RestoreDC(m_hdc, m_nSaved); }

 private:
  const HDC m_hdc;
  const int m_nSaved;
};

}  // namespace detail

inline HRESULT CComControlBase::OnDrawAdvanced(ATL_DRAWINFO& di) {
  const detail::CSavedDc saved(di.hdcDraw);
  RECTL rcBounds = *di.prcBounds;
  // The units of a metafile stay: it is scaled when it is played.
  if (::GetDeviceCaps(di.hdcDraw, TECHNOLOGY) != DT_METAFILE) {
    ::LPtoDP(di.hdcDraw, reinterpret_cast<POINT*>(&rcBounds), 2);
    ::SetMapMode(di.hdcDraw, MM_TEXT);
    ::SetWindowOrgEx(di.hdcDraw, 0, 0, nullptr);
    ::SetViewportOrgEx(di.hdcDraw, 0, 0, nullptr);
  }
  di.prcBounds = &rcBounds;
  return detail::CallGuarded([&] { return OnDraw(di); });
}

/// Draws into the device context in wParam, or, without one, into the window's invalid part.
inline LRESULT CComControlBase::OnPaint(UINT, WPARAM wParam, LPARAM, BOOL&) {
  PAINTSTRUCT ps;
  const HDC hdcGiven = reinterpret_cast<HDC>(wParam);
  const HDC hdc = hdcGiven != nullptr ? hdcGiven : ::BeginPaint(m_hWndCD, &ps);
  if (hdc == nullptr) {
    return 0;
  }
  RECT rcClient;
  if (::GetClientRect(m_hWndCD, &rcClient)) {
    const RECTL rcBounds = {rcClient.left, rcClient.top, rcClient.right, rcClient.bottom};
    ATL_DRAWINFO di = {hdc, &rcBounds};
    OnDrawAdvanced(di);
  }
  if (hdcGiven == nullptr) {
    ::EndPaint(m_hWndCD, &ps);
  }
  return 0;
}

inline void CComControlBase::ReportFocus(BOOL bGotFocus) {
  CComPtr<IOleControlSite> pSite;
  if (SUCCEEDED(QueryControlSite(&pSite))) {
    pSite->OnFocus(bGotFocus);
  }
}

/// Activates the user interface, as a mouse click does.
inline LRESULT CComControlBase::OnSetFocus(UINT, WPARAM, LPARAM, BOOL& bHandled) {
  bHandled = FALSE;
  if (m_bInPlaceActive) {
    const CComPtr<IUnknown> pSelf = HoldSelf();
    if (!m_bUIActive) {
      InPlaceActivate(OLEIVERB_UIACTIVATE);
    }
    if (m_bInPlaceActive) {
      ReportFocus(TRUE);
    }
  }
  return 0;
}

inline LRESULT CComControlBase::OnKillFocus(UINT, WPARAM, LPARAM, BOOL& bHandled) {
  bHandled = FALSE;
  if (m_bInPlaceActive) {
    const CComPtr<IUnknown> pSelf = HoldSelf();
    ReportFocus(FALSE);
  }
  return 0;
}

/// Activates the user interface, except in design mode, where the container handles clicks.
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
