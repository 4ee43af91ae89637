#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include "test_control.h"

/// A picture in memory, white at first.
class CMemoryPicture {
 public:
  CMemoryPicture() {
    SelectObject(m_hdc, m_bitmap);
    const RECT all = {0, 0, 100, 100};
    FillRect(m_hdc, &all, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  }
  CMemoryPicture(const CMemoryPicture&) = delete;
  CMemoryPicture& operator=(const CMemoryPicture&) = delete;
  ~CMemoryPicture() {
    DeleteDC(m_hdc);
    DeleteObject(m_bitmap);
  }

  HDC Dc() const { return m_hdc; }
  /// The pixels of kPlateColour, when they make one full rectangle; a null one otherwise.
  RECT Painted() const {
    RECT rc = {100, 100, 0, 0};
    int count = 0;
    for (int y = 0; y < 100; ++y) {
      for (int x = 0; x < 100; ++x) {
        if (GetPixel(m_hdc, x, y) == kPlateColour) {
          ++count;
          rc = {min(rc.left, x), min(rc.top, y), max(rc.right, x + 1), max(rc.bottom, y + 1)};
        }
      }
    }
    return count == (rc.right - rc.left) * (rc.bottom - rc.top) ? rc : RECT{};
  }

 private:
  static LONG min(LONG a, LONG b) { return a < b ? a : b; }
  static LONG max(LONG a, LONG b) { return a > b ? a : b; }

  const HDC m_hdc = CreateCompatibleDC(nullptr);
  const HBITMAP m_bitmap = CreateBitmap(100, 100, 1, 32, nullptr);
};

inline void ExpectRect(const RECT& expected, const RECT& actual) {
  EXPECT_EQ(expected.left, actual.left);
  EXPECT_EQ(expected.top, actual.top);
  EXPECT_EQ(expected.right, actual.right);
  EXPECT_EQ(expected.bottom, actual.bottom);
}
