#pragma once

#include "control_activation.h"
#include "control_base.h"

namespace ATL {

inline HRESULT CComControlBase::OnDrawAdvanced(ATL_DRAWINFO& di) {
  const int nSaved = ::SaveDC(di.hdcDraw);
  RECTL rcBounds = *di.prcBounds;
  // The units of a metafile stay: it is scaled when it is played.
  if (::GetDeviceCaps(di.hdcDraw, TECHNOLOGY) != DT_METAFILE) {
    ::LPtoDP(di.hdcDraw, reinterpret_cast<POINT*>(&rcBounds), 2);
    ::SetMapMode(di.hdcDraw, MM_TEXT);
    ::SetWindowOrgEx(di.hdcDraw, 0, 0, nullptr);
    ::SetViewportOrgEx(di.hdcDraw, 0, 0, nullptr);
  }
  di.prcBounds = &rcBounds;
  const HRESULT hr = detail::CallGuarded([&] { return OnDraw(di); });
  ::RestoreDC(di.hdcDraw, nSaved);
  return hr;
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

/// Base class of an ActiveX control T: its state, its window and the window's messages. The
/// interfaces of the control are further base classes of T.
template <class T, class WinBase = CWindowImpl<T>>
class CComControl : public CComControlBase, public WinBase {
 public:
  CComControl() noexcept : CComControlBase(WinBase::m_hWnd) {}
  CComControl(const CComControl&) = delete;
  CComControl& operator=(const CComControl&) = delete;
  /// A container may release a control without closing it.
  ~CComControl() override {
    LeaveContainer();
    if (this->m_hWnd != nullptr) {
      ::DestroyWindow(this->m_hWnd);
    }
  }

  HRESULT ControlQueryInterface(const IID& iid, void** ppv) override {
    return static_cast<T*>(this)->_InternalQueryInterface(iid, ppv);
  }
  HWND CreateControlWindow(HWND hWndParent, RECT& rcPos) override {
    return static_cast<T*>(this)->Create(hWndParent, rcPos);
  }

  // clang-format off
  BEGIN_MSG_MAP(CComControl)
    MESSAGE_HANDLER(WM_PAINT, CComControlBase::OnPaint)
    MESSAGE_HANDLER(WM_SETFOCUS, CComControlBase::OnSetFocus)
    MESSAGE_HANDLER(WM_KILLFOCUS, CComControlBase::OnKillFocus)
    MESSAGE_HANDLER(WM_MOUSEACTIVATE, CComControlBase::OnMouseActivate)
  END_MSG_MAP()
  // clang-format on
};

}  // namespace ATL

/// In a control's class: its OLEMISC_ flags.
#define DECLARE_OLEMISC_STATUS(status) \
  static DWORD _GetMiscStatus() noexcept { return status; }
/// In a control's class: its VIEWSTATUS_ flags.
#define DECLARE_VIEW_STATUS(status) \
  static DWORD _GetViewStatus() noexcept { return status; }
