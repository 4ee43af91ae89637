#pragma once

#include <atldef.h>

/// What a control is asked to draw, and where.
struct ATL_DRAWINFO {
  UINT cbSize;
  DWORD dwDrawAspect;
  LONG lindex;
  DVTARGETDEVICE* ptd;
  HDC hicTargetDev;
  HDC hdcDraw;
  LPCRECTL prcBounds;    // where to draw, in units of hdcDraw
  LPCRECTL prcWBounds;   // window origin and extent when hdcDraw is a metafile's, else null
  BOOL bOptimize;        // objects may be left selected into hdcDraw
  BOOL bZoomed;          // ZoomNum / ZoomDen is not 1
  BOOL bRectInHimetric;  // prcBounds is in hundredths of a millimetre
  SIZEL ZoomNum;
  SIZEL ZoomDen;
};

namespace ATL::detail {

/// The description of a plain request to draw the whole control, without zoom.
inline ATL_DRAWINFO MakeDrawInfo(HDC hdcDraw, LPCRECTL prcBounds) noexcept {
  ATL_DRAWINFO di = {};
  di.cbSize = sizeof(di);
  di.dwDrawAspect = DVASPECT_CONTENT;
  di.lindex = -1;
  di.hdcDraw = hdcDraw;
  di.prcBounds = prcBounds;
  di.ZoomNum = {1, 1};
  di.ZoomDen = {1, 1};
  return di;
}

/// Brings a device context back to what it was at the start of the scope.
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

}  // namespace ATL::detail
