#include "ui/button_row.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include "tests/atl/base/failing_malloc.h"
#include "tests/support/import_patch.h"
#include "tests/support/user.h"

namespace {

constexpr int kClientWidth = 600;
constexpr int kClientHeight = 200;
constexpr int kGap = 12;  // half of the standard height
constexpr wchar_t kLongLabel[] = L"A label that is far wider than sixty pixels";

/// A window of known client size with buttons in it.
class CButtonFrame {
 public:
  CButtonFrame()
      : m_window(CreateWindowExW(0, L"static", L"", WS_POPUP, 10, 10, kClientWidth, kClientHeight,
                                 nullptr, nullptr, nullptr, nullptr)) {}
  ~CButtonFrame() { DestroyWindow(m_window); }
  CButtonFrame(const CButtonFrame&) = delete;
  CButtonFrame& operator=(const CButtonFrame&) = delete;

  HWND Window() const { return m_window; }

  HWND Add(int id, int width = 50, int height = 14) const {
    return CreateWindowExW(0, L"button", L"", WS_CHILD, 1, 2, width, height, m_window,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  }

  /// In client coordinates.
  RECT Bounds(int id) const {
    RECT bounds = {};
    GetWindowRect(GetDlgItem(m_window, id), &bounds);
    MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&bounds), 2);
    return bounds;
  }

 private:
  const HWND m_window;
};

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

void ExpectBounds(const RECT& actual, int left, int top, int width, int height) {
  EXPECT_EQ(actual.left, left);
  EXPECT_EQ(actual.top, top);
  EXPECT_EQ(actual.right - actual.left, width);
  EXPECT_EQ(actual.bottom - actual.top, height);
}

int LayOut(const CButtonFrame& frame, bool centre, int id1, LPCWSTR label1, int id2 = 0,
           LPCWSTR label2 = L"", int id3 = 0, LPCWSTR label3 = L"", int id4 = 0,
           LPCWSTR label4 = L"", bool keepSize = false) {
  return LayoutButtonRow(centre, frame.Window(), id1, label1, id2, label2, id3, label3, id4, label4,
                         keepSize);
}

TEST(ButtonRow, FourStandardButtonsAreCentredAtTheBottom) {
  const CButtonFrame frame;
  for (const int id : {6, 7, 2, 3}) {
    frame.Add(id);
  }
  const int taken = LayOut(frame, true, 6, L"A", 7, L"B", 2, L"C", 3, L"D");
  EXPECT_EQ(taken, 5 * kGap + 4 * 60);
  const int left = (kClientWidth - (4 * 60 + 3 * kGap)) / 2;
  int x = left;
  for (const int id : {6, 7, 2, 3}) {
    ExpectBounds(frame.Bounds(id), x, kClientHeight - 3 * kGap, 60, 24);
    x += 60 + kGap;
  }
}

TEST(ButtonRow, UncentredRowEndsOneGapBeforeTheRightEdge) {
  const CButtonFrame frame;
  frame.Add(1);
  frame.Add(2);
  EXPECT_EQ(LayOut(frame, false, 1, L"A", 2, L"B"), 3 * kGap + 2 * 60);
  ExpectBounds(frame.Bounds(2), kClientWidth - kGap - 60, kClientHeight - 3 * kGap, 60, 24);
  ExpectBounds(frame.Bounds(1), kClientWidth - 2 * kGap - 2 * 60, kClientHeight - 3 * kGap, 60, 24);
}

TEST(ButtonRow, LongLabelWidensItsButtonAndShortOnesKeepSixty) {
  const CButtonFrame frame;
  frame.Add(1);
  frame.Add(2);
  const int wide = LabelWidth(kLongLabel) + 16;
  ASSERT_GT(wide, 60);
  EXPECT_EQ(LayOut(frame, true, 1, kLongLabel, 2, L"B"), 3 * kGap + wide + 60);
  const int left = (kClientWidth - (wide + kGap + 60)) / 2;
  ExpectBounds(frame.Bounds(1), left, kClientHeight - 3 * kGap, wide, 24);
  ExpectBounds(frame.Bounds(2), left + wide + kGap, kClientHeight - 3 * kGap, 60, 24);
}

TEST(ButtonRow, WidthTurnsAtFortyFourPixelsOfLabel) {
  const CButtonFrame frame;
  frame.Add(1);
  CStringW label;
  for (int length = 1; length <= 40; ++length) {
    label.AppendChar(L'i');
    LayOut(frame, true, 1, label);
    const RECT bounds = frame.Bounds(1);
    const int labelWidth = LabelWidth(label);
    EXPECT_EQ(bounds.right - bounds.left, labelWidth > 44 ? labelWidth + 16 : 60) << length;
  }
  EXPECT_GT(LabelWidth(label), 44);
}

TEST(ButtonRow, AmpersandIsMeasuredAsACharacter) {
  const CButtonFrame frame;
  frame.Add(1);
  LayOut(frame, true, 1, L"&&&&&&&&&&&&&&&&");
  const RECT bounds = frame.Bounds(1);
  EXPECT_EQ(bounds.right - bounds.left, LabelWidth(L"&&&&&&&&&&&&&&&&") + 16);
}

TEST(ButtonRow, KeepSizeStartsFromThePresentSize) {
  const CButtonFrame frame;
  frame.Add(1, 100, 30);
  frame.Add(2, 10, 40);
  const int wide = LabelWidth(kLongLabel) + 16;
  const int taken = LayOut(frame, true, 1, L"A", 2, kLongLabel, 0, L"", 0, L"", true);
  // The gap in the row is half of the previous height, at its ends and below half of the first.
  EXPECT_EQ(taken, 3 * 15 + 100 + wide);
  const int left = (kClientWidth - (100 + 15 + wide)) / 2;
  ExpectBounds(frame.Bounds(1), left, kClientHeight - 45, 100, 30);
  ExpectBounds(frame.Bounds(2), left + 115, kClientHeight - 45, wide, 40);
}

TEST(ButtonRow, EachGapIsHalfOfTheHeightBeforeIt) {
  const CButtonFrame frame;
  frame.Add(1, 100, 20);
  frame.Add(2, 100, 60);
  frame.Add(3, 100, 10);
  LayOut(frame, false, 1, L"", 2, L"", 3, L"", 0, L"", true);
  EXPECT_EQ(frame.Bounds(2).left - frame.Bounds(1).right, 10);
  EXPECT_EQ(frame.Bounds(3).left - frame.Bounds(2).right, 30);
  EXPECT_EQ(frame.Bounds(3).right, kClientWidth - 10);
}

TEST(ButtonRow, LabelsBecomeTheTextsAndTextsAreCentred) {
  const CButtonFrame frame;
  const HWND button = frame.Add(1);
  LayOut(frame, true, 1, L"Ok\x00e9");
  EXPECT_EQ(TextOf(button), L"Ok\x00e9");
  EXPECT_EQ(GetWindowLongPtrW(button, GWL_STYLE) & BS_CENTER, BS_CENTER);
}

TEST(ButtonRow, IdentifierZeroSkipsASlot) {
  // Each combination of the slots behind the first one; 0 is a child's identifier all the same.
  for (const auto& [second, third, fourth] : std::initializer_list<std::array<int, 3>>{
           {0, 0, 0}, {2, 0, 0}, {0, 3, 0}, {0, 0, 4}, {2, 3, 0}, {2, 0, 4}, {0, 3, 4}}) {
    SCOPED_TRACE(testing::Message() << second << third << fourth);
    const CButtonFrame frame;
    for (const int id : {0, 1, 2, 3, 4}) {
      frame.Add(id);
    }
    std::vector<int> placed = {1};
    std::vector<int> untouched = {0};
    for (const auto& [id, slot] : {std::pair(second, 2), {third, 3}, {fourth, 4}}) {
      (id != 0 ? placed : untouched).push_back(slot);
    }
    const int count = static_cast<int>(placed.size());
    EXPECT_EQ(LayOut(frame, true, 1, L"A", second, L"B", third, L"C", fourth, L"D"),
              (count + 1) * kGap + count * 60);
    int x = (kClientWidth - (count * 60 + (count - 1) * kGap)) / 2;
    for (const int id : placed) {
      ExpectBounds(frame.Bounds(id), x, kClientHeight - 3 * kGap, 60, 24);
      x += 60 + kGap;
    }
    for (const int id : untouched) {
      EXPECT_EQ(ChildText(frame.Window(), id), L"") << id;
      ExpectBounds(frame.Bounds(id), 1, 2, 50, 14);
    }
  }
}

TEST(ButtonRow, FirstSlotCountsWithoutAButtonAndEvenWithIdentifierZero) {
  for (const int missing : {6, 0}) {
    for (const bool keepSize : {false, true}) {
      const CButtonFrame frame;
      frame.Add(7, 60, 24);
      EXPECT_EQ(LayOut(frame, true, missing, L"", 7, L"B", 0, L"", 0, L"", keepSize),
                3 * kGap + 2 * 60);
      const int left = (kClientWidth - (60 + kGap + 60)) / 2;
      ExpectBounds(frame.Bounds(7), left + 60 + kGap, kClientHeight - 3 * kGap, 60, 24);
    }
  }
}

TEST(ButtonRow, OutOfMemoryIsThrownAsSuch) {
  const CButtonFrame frame;
  frame.Add(1);
  const CStringW label(L"A");
  const CStringW none;
  HRESULT thrown = S_OK;
  for (const size_t smallestFailing : {SIZE_MAX, size_t{0}}) {
    // The first time through, an exception gets what its thread keeps for exceptions.
    try {
      const CFailingMalloc failing(smallestFailing);
      LayoutButtonRow(true, frame.Window(), 1, label, 0, none, 0, none, 0, none, false);
      AtlThrow(S_FALSE);
    } catch (const CAtlException& e) {
      thrown = e.m_hr;
    }
  }
  EXPECT_EQ(thrown, E_OUTOFMEMORY);
}

TEST(ButtonRow, MissingFontStillGivesARow) {
  const CButtonFrame frame;
  frame.Add(1);
  const CImportPatch metrics(
      "user32.dll", "SystemParametersInfoW",
      +[](UINT, UINT, PVOID, UINT) -> BOOL { return FALSE; });
  EXPECT_EQ(LayOut(frame, true, 1, L"A"), 2 * kGap + 60);
  const CImportPatch create(
      "gdi32.dll", "CreateFontIndirectW", +[](const LOGFONTW*) -> HFONT { return nullptr; });
  EXPECT_EQ(LayOut(frame, true, 1, L"A"), 2 * kGap + 60);
  ExpectBounds(frame.Bounds(1), (kClientWidth - 60) / 2, kClientHeight - 3 * kGap, 60, 24);
}

int g_questions = 0;
int g_fontsAlive = 0;

TEST(ButtonRow, MetricsAreAskedForInTheirOldSizeAndFontsAreGivenBack) {
  const CButtonFrame frame;
  frame.Add(1);
  frame.Add(2);
  static decltype(&SystemParametersInfoW) askSystem;
  static decltype(&CreateFontIndirectW) createFont;
  static decltype(&DeleteObject) deleteObject;
  const CImportPatch metrics(
      "user32.dll", "SystemParametersInfoW",
      +[](UINT action, UINT parameter, PVOID data, UINT change) -> BOOL {
        EXPECT_EQ(action, static_cast<UINT>(SPI_GETNONCLIENTMETRICS));
        EXPECT_EQ(parameter, 500u);
        EXPECT_EQ(static_cast<NONCLIENTMETRICSW*>(data)->cbSize, 500u);
        ++g_questions;
        return askSystem(action, parameter, data, change);
      });
  askSystem = metrics.Original<BOOL WINAPI(UINT, UINT, PVOID, UINT)>();
  const CImportPatch create(
      "gdi32.dll", "CreateFontIndirectW", +[](const LOGFONTW* font) -> HFONT {
        ++g_fontsAlive;
        return createFont(font);
      });
  createFont = create.Original<HFONT WINAPI(const LOGFONTW*)>();
  const CImportPatch remove(
      "gdi32.dll", "DeleteObject", +[](HGDIOBJ object) -> BOOL {
        --g_fontsAlive;
        return deleteObject(object);
      });
  deleteObject = remove.Original<BOOL WINAPI(HGDIOBJ)>();

  LayOut(frame, true, 1, L"A", 2, L"B");
  EXPECT_EQ(g_questions, 2);
  EXPECT_EQ(g_fontsAlive, 0);
}

}  // namespace
