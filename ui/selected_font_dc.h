#pragma once

#include <windows.h>

/// A window's device context with a font selected into it; both are given back at scope end.
/// Never owns the font.
class CSelectedFontDC {
 public:
  CSelectedFontDC(HWND window, HGDIOBJ font)
      : m_window(window), m_dc(GetDC(window)), m_previousFont(SelectObject(m_dc, font)) {}
  ~CSelectedFontDC() {
    SelectObject(m_dc, m_previousFont);
    ReleaseDC(m_window, m_dc);
  }
  CSelectedFontDC(const CSelectedFontDC&) = delete;
  CSelectedFontDC& operator=(const CSelectedFontDC&) = delete;

  /// Size in pixels of `text` wrapped at word breaks to `width`; "&" is an ordinary character.
  /// Empty when the system cannot measure it.
  SIZE MeasureText(LPCWSTR text, int width, int height) const {
    RECT bounds = {0, 0, width, height};
    if (DrawTextW(m_dc, text, -1, &bounds, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX) == 0) {
      return {};
    }
    return {bounds.right - bounds.left, bounds.bottom - bounds.top};
  }

 private:
  const HWND m_window;
  const HDC m_dc;
  const HGDIOBJ m_previousFont;
};
