#include "ui/selected_font_dc.h"

#include <gtest/gtest.h>

#include "tests/support/import_spy.h"

namespace {

TEST(SelectedFontDC, ContextIsReleasedWithTheFontThatItHad) {
  const CImportSpy<&ReleaseDC> release("user32.dll", "ReleaseDC", [&](HWND window, HDC dc) {
    EXPECT_EQ(GetCurrentObject(dc, OBJ_FONT), GetStockObject(SYSTEM_FONT));
    return release.CallOriginal(window, dc);
  });
  {
    const CSelectedFontDC dc(nullptr, GetStockObject(DEFAULT_GUI_FONT));
  }
  EXPECT_EQ(release.Calls().size(), 1u);
}

TEST(SelectedFontDC, TextThatCannotBeMeasuredIsEmpty) {
  const CSelectedFontDC dc(nullptr, GetStockObject(DEFAULT_GUI_FONT));
  const CImportSpy<&DrawTextW> draw("user32.dll", "DrawTextW", [](auto...) { return 0; });
  const SIZE size = dc.MeasureText(L"text", 386, 10000);
  EXPECT_EQ(size.cx, 0);
  EXPECT_EQ(size.cy, 0);
}

}  // namespace
