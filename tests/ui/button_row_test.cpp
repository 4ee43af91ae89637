#include "ui/button_row.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/import_spy.h"
#include "tests/support/user.h"

namespace {

constexpr int kClientWidth = 600;
constexpr int kClientHeight = 200;
constexpr wchar_t kLongLabel[] = L"A label that is far wider than sixty && pixels";

/// Width in pixels of a label in the system's message font.
int LabelWidth(LPCWSTR label) {
  NONCLIENTMETRICSW metrics = {};
  metrics.cbSize = sizeof(metrics);
  SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0);
  const HFONT font = CreateFontIndirectW(&metrics.lfMessageFont);
  const HDC dc = GetDC(nullptr);
  const HGDIOBJ previous = SelectObject(dc, font);
  RECT bounds = {0, 0, 1000, 1000};
  DrawTextW(dc, label, -1, &bounds, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
  SelectObject(dc, previous);
  ReleaseDC(nullptr, dc);
  DeleteObject(font);
  return bounds.right;
}

/// A window of known client size whose buttons are laid out.
class ButtonRow : public testing::Test {
 protected:
  struct CSlot {
    int id = 0;
    LPCWSTR label = L"";
  };

  ~ButtonRow() override { DestroyWindow(m_window); }

  HWND Add(int id, int width = 50, int height = 14) const {
    return CreateWindowExW(0, L"button", L"", WS_CHILD, 1, 2, width, height, m_window,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  }
  int LayOut(std::vector<CSlot> slots, bool centre = true, bool keepSize = false) const {
    slots.resize(4);
    return LayoutButtonRow(centre, m_window, slots[0].id, slots[0].label, slots[1].id,
                           slots[1].label, slots[2].id, slots[2].label, slots[3].id, slots[3].label,
                           keepSize);
  }
  void Expect(int id, int left, int top, int width, int height) const {
    RECT bounds = {};
    GetWindowRect(GetDlgItem(m_window, id), &bounds);
    MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&bounds), 2);
    const RECT expected = {left, top, left + width, top + height};
    EXPECT_TRUE(EqualRect(&bounds, &expected))
        << id << " is at " << bounds.left << ", " << bounds.top << ", " << bounds.right << ", "
        << bounds.bottom;
  }
  /// Standard buttons at the bottom, the first at `left`, 12 pixels apart.
  void ExpectRow(const std::vector<int>& ids, int left) const {
    for (const int id : ids) {
      Expect(id, left, kClientHeight - 36, 60, 24);
      left += 72;
    }
  }

  const HWND m_window = CreateWindowExW(0, L"static", L"", WS_POPUP, 10, 10, kClientWidth,
                                        kClientHeight, nullptr, nullptr, nullptr, nullptr);
};

TEST_F(ButtonRow, StandsAtTheBottomCentredOrAtTheRight) {
  for (const int id : {6, 7, 2, 3}) {
    Add(id);
  }
  const std::vector<CSlot> slots = {{6, L"Ok\x00e9"}, {7, L"B"}, {2, L"C"}, {3, L"D"}};
  EXPECT_EQ(LayOut(slots), 5 * 12 + 4 * 60) << "the width that it takes";
  ExpectRow({6, 7, 2, 3}, (kClientWidth - (4 * 60 + 3 * 12)) / 2);
  EXPECT_EQ(ChildText(m_window, 6), L"Ok\x00e9");
  EXPECT_EQ(GetWindowLongPtrW(GetDlgItem(m_window, 6), GWL_STYLE) & BS_CENTER, BS_CENTER);
  EXPECT_EQ(LayOut(slots, false), 5 * 12 + 4 * 60);
  ExpectRow({6, 7, 2, 3}, kClientWidth - 4 * 72);
}

TEST_F(ButtonRow, LabelOfMoreThanFortyFourPixelsWidensItsButton) {
  Add(1);
  Add(2);
  const int wide = LabelWidth(kLongLabel) + 16;
  EXPECT_EQ(LayOut({{1, kLongLabel}, {2, L"B"}}), 3 * 12 + wide + 60);
  const int left = (kClientWidth - (wide + 12 + 60)) / 2;
  Expect(1, left, kClientHeight - 36, wide, 24);
  Expect(2, left + wide + 12, kClientHeight - 36, 60, 24);
  CStringW label;
  for (int length = 1; length <= 40; ++length) {
    label.AppendChar(L'i');
    const int labelWidth = LabelWidth(label);
    EXPECT_EQ(LayOut({{1, label}}), 2 * 12 + (labelWidth > 44 ? labelWidth + 16 : 60)) << length;
  }
}

TEST_F(ButtonRow, KeepSizeStartsFromThePresentSize) {
  Add(1, 100, 30);
  Add(2, 10, 40);
  Add(3, 70, 10);
  const int wide = LabelWidth(kLongLabel) + 16;
  // Each gap is half of the height before it; those around the row half of the first.
  EXPECT_EQ(LayOut({{1, L"A"}, {2, kLongLabel}, {3}}, true, true), 4 * 15 + 100 + wide + 70);
  const int left = (kClientWidth - (100 + 15 + wide + 20 + 70)) / 2;
  Expect(1, left, kClientHeight - 45, 100, 30);
  Expect(2, left + 115, kClientHeight - 45, wide, 40);
  Expect(3, left + 115 + wide + 20, kClientHeight - 45, 70, 10);
}

TEST_F(ButtonRow, IdentifierZeroSkipsASlot) {
  for (int id = 0; id <= 4; ++id) {  // 0 is a child's identifier all the same
    Add(id);
  }
  const std::vector<int> rows[] = {{1, 0, 0, 0}, {1, 2, 0, 0}, {1, 0, 3, 0},
                                   {1, 0, 0, 4}, {1, 0, 3, 4}, {1, 2, 3, 4}};
  for (const auto& ids : rows) {
    std::vector<CSlot> slots;
    std::vector<int> placed;
    for (const int id : ids) {
      slots.push_back({id, L"A"});
      if (id != 0) {
        placed.push_back(id);
      }
    }
    const int count = static_cast<int>(placed.size());
    EXPECT_EQ(LayOut(slots), (count + 1) * 12 + count * 60);
    ExpectRow(placed, (kClientWidth - (count * 72 - 12)) / 2);
  }
  EXPECT_EQ(ChildText(m_window, 0), L"");
  Expect(0, 1, 2, 50, 14);
}

TEST_F(ButtonRow, FirstSlotCountsWithoutAButtonAndEvenWithIdentifierZero) {
  Add(7, 60, 24);
  for (const int missing : {6, 0}) {
    for (const bool keepSize : {false, true}) {
      EXPECT_EQ(LayOut({{missing}, {7, L"B"}}, true, keepSize), 3 * 12 + 2 * 60);
      ExpectRow({7}, (kClientWidth - 132) / 2 + 72);
    }
  }
}

TEST_F(ButtonRow, MetricsAreRequestedInTheirOldSizeAndFontsAreDeleted) {
  Add(1);
  Add(2);
  BOOL answer = TRUE;
  const CImportSpy<&SystemParametersInfoW> metrics(
      "user32.dll", "SystemParametersInfoW",
      [&](UINT action, UINT parameter, PVOID data, UINT change) {
        EXPECT_EQ(action, UINT{SPI_GETNONCLIENTMETRICS});
        EXPECT_EQ(parameter, 500u);
        EXPECT_EQ(static_cast<NONCLIENTMETRICSW*>(data)->cbSize, 500u);
        return answer && metrics.CallOriginal(action, parameter, data, change);
      });
  const CImportSpy<&CreateFontIndirectW> create("gdi32.dll", "CreateFontIndirectW");
  const CImportSpy<&DeleteObject> remove("gdi32.dll", "DeleteObject");
  LayOut({{1, L"A"}, {2, L"B"}});
  EXPECT_EQ(metrics.Calls().size(), 2u);
  EXPECT_EQ(create.Calls().size(), 2u);
  EXPECT_EQ(remove.Calls().size(), 2u);
  answer = FALSE;
  EXPECT_EQ(LayOut({{1, L"A"}}), 2 * 12 + 60);
  const CImportSpy<&CreateFontIndirectW> none("gdi32.dll", "CreateFontIndirectW",
                                              [](auto...) { return nullptr; });
  EXPECT_EQ(LayOut({{1, L"A"}}), 2 * 12 + 60);
  ExpectRow({1}, (kClientWidth - 60) / 2);
}

}  // namespace
