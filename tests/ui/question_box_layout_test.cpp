// How the question box builds, places and destroys its window and its controls.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/import_spy.h"
#include "tests/support/user.h"
#include "tests/ui/question_box_user.h"
#include "ui/gui_lang.h"

namespace {

/// Height in pixels of a text wrapped to a width, in the system's dialog font.
int TextHeight(const std::wstring& text, int width) {
  const HDC dc = GetDC(nullptr);
  const HGDIOBJ previous = SelectObject(dc, GetStockObject(DEFAULT_GUI_FONT));
  RECT bounds = {0, 0, width, 10000};
  DrawTextW(dc, text.c_str(), -1, &bounds, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
  SelectObject(dc, previous);
  ReleaseDC(nullptr, dc);
  return bounds.bottom;
}

using CBounds = std::array<LONG, 4>;  // left, top, right, bottom

CBounds ScreenBounds(HWND window) {
  RECT bounds = {};
  GetWindowRect(window, &bounds);
  return {bounds.left, bounds.top, bounds.right, bounds.bottom};
}
/// The bounds of a child in its parent's client area.
CBounds ChildBounds(HWND child) {
  RECT bounds = {};
  GetWindowRect(child, &bounds);
  MapWindowPoints(nullptr, GetParent(child), reinterpret_cast<POINT*>(&bounds), 2);
  return {bounds.left, bounds.top, bounds.right, bounds.bottom};
}

/// Class, text, style, bounds in the box and identifier of a child as the box created it.
using CChild = std::tuple<std::wstring, std::wstring, DWORD, CBounds, int>;

/// The children of a box for this question, in the order in which they were created. `look` gets
/// the finished box.
template <typename Look>
std::vector<CChild> ChildrenOf(const CQuestion& question, Look look) {
  std::vector<CChild> children;
  const CImportSpy<&CreateWindowExW> create(
      "user32.dll", "CreateWindowExW",
      [&](DWORD extendedStyle, LPCWSTR className, LPCWSTR name, DWORD style, int x, int y,
          int width, int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter) {
        EXPECT_EQ(instance, GetModuleHandleW(nullptr));
        children.emplace_back(className, name, style, CBounds{x, y, x + width, y + height},
                              static_cast<int>(reinterpret_cast<INT_PTR>(menu)));
        return create.CallOriginal(extendedStyle, className, name, style, x, y, width, height,
                                   parent, menu, instance, parameter);
      });
  ShowTo(question, look);
  return children;
}

/// Words that need more lines in a check box's width than in a text's.
std::wstring WordsWhoseWidthMatters() {
  std::wstring words = L"words";
  while (TextHeight(words, 374) == TextHeight(words, 386) || TextHeight(words, 386) < 4 * 32) {
    words += L" and words";
  }
  return words;
}

TEST(QuestionBoxLayout, BoxIsAsHighAsIconTextAndCheckBoxNeed) {
  const std::wstring words = WordsWhoseWidthMatters();
  const int checkHeight = TextHeight(words, 374) + 24;
  for (const std::wstring& text : {std::wstring(), std::wstring(L"%s%n & 50%"), words}) {
    for (const std::wstring& checkLabel : {std::wstring(), words}) {
      const bool hasCheckBox = !checkLabel.empty();
      const int height = TextHeight(text, 386);
      const int above = std::max(height, 32);
      // In the other edition this title gets a suffix.
      const auto children = ChildrenOf(
          {.title = L"MERLO Folivo",
           .text = text.empty() ? nullptr : text.c_str(),
           .checkLabel = checkLabel.c_str()},
          [&](HWND box) {
            const int content = height + (hasCheckBox ? checkHeight : 0);
            const auto [left, top, right, bottom] = ScreenBounds(box);
            EXPECT_EQ(right - left, 450);
            EXPECT_EQ(bottom - top, std::max(content, 32) + GetSystemMetrics(SM_CYCAPTION) + 60);
          });
      ASSERT_GE(children.size(), 3u);
      EXPECT_EQ(children[0], CChild(L"static", L"", 0x50000003, {10, 10, 42, 42}, 0));
      const int top = height < 32 ? (32 - height) / 2 + 10 : 10;
      EXPECT_EQ(children[1], CChild(L"static", text, 0x50000000, {52, top, 438, above + 10}, 0));
      EXPECT_TRUE(!hasCheckBox ||
                  children[2] == CChild(L"button", words, 0x50032003,
                                        {52, above + 22, 438, above + checkHeight + 10}, 0));
    }
  }
}

TEST(QuestionBoxLayout, ButtonStylesAndPlacesFollowTheirNeighbours) {
  constexpr DWORD kDefault = 0x50032001;
  constexpr DWORD kPlain = 0x50012000;
  const struct {
    std::array<LPCWSTR, 4> labels;
    int places;                                  // a missing first button keeps its own
    std::vector<std::pair<int, DWORD>> buttons;  // index and style
  } cases[] = {
      {{L"A", L"S&ave", L"C", L"%d"}, 4, {{0, kDefault}, {1, kPlain}, {2, kPlain}, {3, kPlain}}},
      {{L"", L"B", L"C", L""}, 3, {{1, kDefault}, {2, kPlain}}},
      {{L"", L"", L"C", L"D"}, 3, {{2, kDefault}, {3, kDefault}}},
      {{L"", L"", L"", L"D"}, 2, {{3, kDefault}}},
      {{L"A", L"", L"C", L""}, 2, {{0, kDefault}, {2, kDefault}}},
      {{L"A", L"", L"C", L"D"}, 3, {{0, kDefault}, {2, kDefault}, {3, kDefault}}},
      {{L"A", L"B", L"", L"D"}, 3, {{0, kDefault}, {1, kPlain}, {3, kPlain}}},
  };
  constexpr int kIds[] = {6, 7, 2, 3};
  for (const auto& row : cases) {
    std::vector<CChild> expected;
    for (const auto& [button, style] : row.buttons) {
      expected.emplace_back(L"button", row.labels[button], style, CBounds{0, 0, 50, 14},
                            kIds[button]);
    }
    auto children =
        ChildrenOf({.title = nullptr,
                    .text = nullptr,
                    .labels = {row.labels[0], row.labels[1], row.labels[2], row.labels[3]}},
                   [&](HWND box) {
                     RECT client = {};
                     GetClientRect(box, &client);
                     const int missing = row.places - static_cast<int>(row.buttons.size());
                     LONG x = (client.right - (row.places * 72 - 12)) / 2 + missing * 72;
                     for (const auto& [button, style] : row.buttons) {
                       EXPECT_EQ(ChildBounds(GetDlgItem(box, kIds[button])),
                                 (CBounds{x, client.bottom - 36, x + 60, client.bottom - 12}))
                           << button;
                       x += 72;
                     }
                   });
    children.erase(children.begin(), children.begin() + 2);  // icon and text
    EXPECT_EQ(children, expected);
  }
}

TEST(QuestionBoxLayout, ControlsHaveTheDialogFontAndTheIconAskedFor) {
  for (const UINT icon : {32513U, 32514U, 32515U}) {
    ShowTo({.iconId = icon, .checkLabel = L"Check"}, [=](HWND box) {
      HWND child = GetWindow(box, GW_CHILD);
      EXPECT_EQ(SendMessageW(child, STM_GETICON, 0, 0),
                reinterpret_cast<LRESULT>(LoadIconW(nullptr, MAKEINTRESOURCEW(icon))));
      const auto font = reinterpret_cast<LRESULT>(GetStockObject(DEFAULT_GUI_FONT));
      for (int id = 0; (child = GetWindow(child, GW_HWNDNEXT)) != nullptr; ++id) {
        EXPECT_EQ(SendMessageW(child, WM_GETFONT, 0, 0), font) << id;
      }
    });
  }
}

TEST(QuestionBoxLayout, WindowIsHiddenMovedCentredAndShownTopmostLast) {
  std::string calls;
  HWND box = nullptr;  // the window of the first call
  // Records a call for the box itself, not for its controls.
  const auto note = [&](HWND window, const char* call) {
    box = box != nullptr ? box : window;
    calls += window == box ? call : "";
  };
  const CImportSpy<&ShowWindow> show("user32.dll", "ShowWindow", [&](HWND window, int command) {
    note(window, command == SW_HIDE ? "hide " : "show ");
    return show.CallOriginal(window, command);
  });
  const CImportSpy<&MoveWindow> move(
      "user32.dll", "MoveWindow",
      [&](HWND window, int x, int y, int width, int height, BOOL paint) {
        note(window, x == 0 && y == 0 ? "move to 0,0 " : "move ");
        EXPECT_FALSE(paint);
        return move.CallOriginal(window, x, y, width, height, paint);
      });
  const CImportSpy<&BringWindowToTop> top("user32.dll", "BringWindowToTop", [&](HWND window) {
    note(window, "top ");
    return top.CallOriginal(window);
  });
  const CImportSpy<&UpdateWindow> update("user32.dll", "UpdateWindow", [&](HWND window) {
    note(window, "update ");
    return update.CallOriginal(window);
  });
  const CImportSpy<&SetWindowPos> position(
      "user32.dll", "SetWindowPos",
      [&](HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
        note(window, after == HWND_TOPMOST ? "topmost " : "centre ");
        if (after == HWND_TOPMOST) {
          EXPECT_EQ(ScreenBounds(window), (CBounds{x, y, x + width, y + height})) << "where it is";
          EXPECT_EQ(flags, UINT{SWP_SHOWWINDOW});
        }
        return position.CallOriginal(window, after, x, y, width, height, flags);
      });
  ShowTo({}, [&](HWND shown) { EXPECT_EQ(shown, box); });
  EXPECT_EQ(calls, "hide move to 0,0 centre top update topmost ");
}

TEST(QuestionBoxLayout, CommandDestroysTheChildrenAndForgetsThem) {
  using CIdAndText = std::pair<int, std::wstring>;
  const std::vector<CIdAndText> children = {{6, L"A"},     {7, L"B"},         {2, L"C"}, {3, L"D"},
                                            {0, L"Check"}, {0, L"Shall we?"}, {0, L""}};
  for (const bool again : {false, true}) {
    std::vector<CIdAndText> destroyed;
    HWND box = nullptr;
    const CImportSpy<&DestroyWindow> destroy("user32.dll", "DestroyWindow", [&](HWND window) {
      destroyed.emplace_back(GetDlgCtrlID(window), TextOf(window));
      const bool isIcon = destroyed.back() == children.back();
      const BOOL result = destroy.CallOriginal(window);
      if (again && isIcon && result) {
        SendMessageW(box, WM_COMMAND, 7, 0);
      }
      return result;
    });
    ShowTo({.labels = {L"A", L"B", L"C", L"D"}, .checkLabel = L"Check"}, [&](HWND shown) {
      box = shown;
      Click(box, 7);
      WaitUntilGone(box);
    });
    // A second command that comes while the icon, the last child, is being destroyed finds that
    // one only, and fails at it.
    auto expected = children;
    expected.resize(again ? 8 : 7);
    EXPECT_EQ(destroyed, expected);
  }
}

/// The extended style of the template that the box passes to the system; the rest is fixed.
DWORD ExtendedStyleFor(HWND owner, HINSTANCE host = GetModuleHandleW(nullptr)) {
  DWORD extendedStyle = 0;
  const CImportSpy<&DialogBoxIndirectParamW> dialog(
      "user32.dll", "DialogBoxIndirectParamW",
      [&](HINSTANCE instance, LPCDLGTEMPLATEW source, HWND given, DLGPROC, LPARAM) -> INT_PTR {
        EXPECT_EQ(instance, host);
        EXPECT_EQ(given, owner);
        EXPECT_EQ(source->style, 0x90C80080u);
        EXPECT_EQ(std::tuple(source->x, source->y, source->cx, source->cy),
                  std::tuple(50, 50, 4000, 400));
        const auto* const words = reinterpret_cast<const WORD*>(source + 1);
        EXPECT_EQ(source->cdit | words[0] | words[1] | words[2], 0) << "no menu, class or title";
        extendedStyle = source->dwExtendedStyle;
        return 0x123456789;
      });
  EXPECT_EQ(Show({.owner = owner}), 0x23456789) << "the result has 32 bits";
  return extendedStyle;
}

TEST(QuestionBoxLayout, IsShownInTheNameOfTheHostProgram) {
  const HMODULE host = GetModuleHandleW(L"kernel32.dll");
  const CImportSpy<&GetModuleHandleW> find("kernel32.dll", "GetModuleHandleW", [&](LPCWSTR name) {
    EXPECT_EQ(name, nullptr);
    return host;
  });
  ExtendedStyleFor(nullptr, host);
}

class CMirroredLang : public CGenericGUILang {
 public:
  bool IsRightToLeft() const override { return true; }
};

TEST(QuestionBoxLayout, IsTopmostWithoutAVisibleOwnerAndMirroredByTheLanguage) {
  CMirroredLang mirrored;
  for (const DWORD mirroring : {0U, 0x400000U}) {
    SetGUILang(mirroring != 0 ? &mirrored : nullptr);
    EXPECT_EQ(ExtendedStyleFor(COwnerWindow(true)), mirroring);
    EXPECT_EQ(ExtendedStyleFor(COwnerWindow(false)), mirroring | 8);
    EXPECT_EQ(ExtendedStyleFor(nullptr), mirroring | 8);
  }
  ShowTo({}, [](HWND box) {
    EXPECT_GT(ScreenBounds(GetDlgItem(box, 6))[0], ScreenBounds(GetDlgItem(box, 7))[0]);
  });
  SetGUILang(nullptr);
}

}  // namespace
