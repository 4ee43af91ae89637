#pragma once

#include <atldef.h>

namespace ATL {

namespace detail {

/// Hundredths of a millimetre in an inch.
constexpr int kHimetricPerInch = 2540;

/// The screen's resolution in pixels per inch.
inline SIZE ScreenResolution() noexcept {
  const HDC hdc = ::GetDC(nullptr);
  const SIZE resolution = {::GetDeviceCaps(hdc, LOGPIXELSX), ::GetDeviceCaps(hdc, LOGPIXELSY)};
  ::ReleaseDC(nullptr, hdc);
  return resolution;
}

}  // namespace detail

/// Converts a size in hundredths of a millimetre to pixels of the screen. The two may be the same.
inline void AtlHiMetricToPixel(const SIZEL* lpSizeInHiMetric, LPSIZEL lpSizeInPix) noexcept {
  const SIZE resolution = detail::ScreenResolution();
  lpSizeInPix->cx = ::MulDiv(lpSizeInHiMetric->cx, resolution.cx, detail::kHimetricPerInch);
  lpSizeInPix->cy = ::MulDiv(lpSizeInHiMetric->cy, resolution.cy, detail::kHimetricPerInch);
}

}  // namespace ATL
