#pragma once

#include <windows.h>

/// A window's device context with a font selected into it. At scope end restores the previous font
/// and releases the device context. The caller owns the font.
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

  /// Returns the size in pixels of `text` when it is broken into lines of `width`, with "&" as an
  /// ordinary character. Returns an empty size on failure.
  SIZE MeasureText(LPCWSTR text, int width, int height) const {
    RECT bounds = {0, 0, width, height};
    if (DrawTextW(m_dc, text, -1, &bounds, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX) == 0) {
      return {};
    }
    return {bounds.right, bounds.bottom};
  }

 private:
  const HWND m_window;
  const HDC m_dc;
  const HGDIOBJ m_previousFont;
};
