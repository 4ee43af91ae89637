#pragma once

#include "control_base.h"
#include "exception_boundary.h"

namespace ATL {

inline HRESULT CComControlBase::OnDrawAdvanced(ATL_DRAWINFO& di) {
  const detail::CSavedDc saved(di.hdcDraw);
  RECTL rcBounds = *di.prcBounds;
  // What is recorded into a metafile will be scaled by it: its units stay.
  if (::GetDeviceCaps(di.hdcDraw, TECHNOLOGY) != DT_METAFILE) {
    ::LPtoDP(di.hdcDraw, reinterpret_cast<POINT*>(&rcBounds), 2);
    ::SetMapMode(di.hdcDraw, MM_TEXT);
    ::SetWindowOrgEx(di.hdcDraw, 0, 0, nullptr);
    ::SetViewportOrgEx(di.hdcDraw, 0, 0, nullptr);
    di.bOptimize = TRUE;  // undone at the end of the scope
  }
  di.prcBounds = &rcBounds;
  GetZoomInfo(di);
  return detail::CallGuarded([&] { return OnDraw(di); });
}

/// The zoom is how the place in the container compares to the control's own size.
inline void CComControlBase::GetZoomInfo(ATL_DRAWINFO& di) const noexcept {
  di.ZoomNum = {1, 1};
  di.ZoomDen = {1, 1};
  if (m_bInPlaceActive) {
    SIZE sizeOwn;
    AtlHiMetricToPixel(&m_sizeExtent, &sizeOwn);
    const SIZE sizePlace = {m_rcPos.right - m_rcPos.left, m_rcPos.bottom - m_rcPos.top};
    if (sizePlace.cx > 0 && sizePlace.cy > 0 && sizeOwn.cx > 0 && sizeOwn.cy > 0) {
      di.ZoomNum = sizePlace;
      di.ZoomDen = sizeOwn;
    }
  }
  di.bZoomed = di.ZoomNum.cx != di.ZoomDen.cx || di.ZoomNum.cy != di.ZoomDen.cy;
}

/// Draws into the device context in wParam, if there is one, or into the part of the window that
/// needs it.
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
    ATL_DRAWINFO di = detail::MakeDrawInfo(hdc, &rcBounds);
    OnDrawAdvanced(di);
  }
  if (hdcGiven == nullptr) {
    ::EndPaint(m_hWndCD, &ps);
  }
  return 0;
}

}  // namespace ATL
