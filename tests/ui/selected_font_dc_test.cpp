#include "ui/selected_font_dc.h"

#include <gtest/gtest.h>

#include "tests/support/import_spy.h"

namespace {

constexpr wchar_t kText[] = L"one two three four five six seven eight nine ten";

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

TEST(SelectedFontDC, TextWrapsAtTheGivenWidthWithAmpersandsAsCharacters) {
  const CSelectedFontDC dc(nullptr, GetStockObject(DEFAULT_GUI_FONT));
  const SIZE line = dc.MeasureText(kText, 1000, 1000);
  const SIZE wrapped = dc.MeasureText(kText, line.cx / 2, 1000);
  EXPECT_GE(wrapped.cy, 2 * line.cy);
  EXPECT_LE(wrapped.cx, line.cx / 2);
  EXPECT_GT(dc.MeasureText(L"a&b", 1000, 1000).cx, dc.MeasureText(L"ab", 1000, 1000).cx);
}

TEST(SelectedFontDC, TextThatCannotBeMeasuredIsEmpty) {
  const CSelectedFontDC dc(nullptr, GetStockObject(DEFAULT_GUI_FONT));
  const CImportSpy<&DrawTextW> draw("user32.dll", "DrawTextW", [](auto...) { return 0; });
  const SIZE size = dc.MeasureText(kText, 386, 10000);
  EXPECT_EQ(size.cx, 0);
  EXPECT_EQ(size.cy, 0);
}

}  // namespace
