#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

#include "tests/support/import_spy.h"
#include "tests/support/user.h"
#include "tests/ui/question_box.h"
#include "ui/gui_lang.h"

namespace {

constexpr wchar_t kCheckLabel[] =
    L"A check box whose label is long enough to need more than one line in the width that it has";

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
CBounds Array(const RECT& r) { return {r.left, r.top, r.right, r.bottom}; }

CBounds ScreenBounds(HWND window) {
  RECT bounds = {};
  GetWindowRect(window, &bounds);
  return Array(bounds);
}
CBounds ChildBounds(HWND box, int id) {
  RECT bounds = {};
  GetWindowRect(GetDlgItem(box, id), &bounds);
  MapWindowPoints(nullptr, box, reinterpret_cast<POINT*>(&bounds), 2);
  return Array(bounds);
}
CBounds ClientBounds(HWND box) {
  RECT bounds = {};
  GetClientRect(box, &bounds);
  return Array(bounds);
}

/// A child of the box as the box created it.
struct CCreatedChild {
  std::wstring className;
  DWORD style;
  CBounds bounds;  // client coordinates
  int id;
};

/// The children of a box for this question, in the order in which they were created, and its size.
std::vector<CCreatedChild> ChildrenOf(const CQuestion& question, SIZE* size = nullptr) {
  std::vector<CCreatedChild> children;
  const CImportSpy<&CreateWindowExW> create(
      "user32.dll", "CreateWindowExW",
      [&](DWORD extendedStyle, LPCWSTR className, LPCWSTR name, DWORD style, int x, int y,
          int width, int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID parameter) {
        EXPECT_EQ(instance, GetModuleHandleW(nullptr));
        children.push_back({className, style, CBounds{x, y, x + width, y + height},
                            static_cast<int>(reinterpret_cast<INT_PTR>(menu))});
        return create.CallOriginal(extendedStyle, className, name, style, x, y, width, height,
                                   parent, menu, instance, parameter);
      });
  ShowTo(question, [&](HWND box) {
    if (size != nullptr) {
      const CBounds bounds = ScreenBounds(box);
      *size = {bounds[2] - bounds[0], bounds[3] - bounds[1]};
    }
  });
  return children;
}

void ExpectChild(const CCreatedChild& child, LPCWSTR className, DWORD style,
                 const CBounds& bounds) {
  EXPECT_EQ(child.className, className);
  EXPECT_EQ(child.style, style);
  EXPECT_EQ(child.bounds, bounds);
  EXPECT_EQ(child.id, 0);
}

TEST(QuestionBoxLayout, BoxIsAsHighAsIconTextAndCheckBoxNeed) {
  std::wstring lines = L"line";
  std::wstring words;
  for (int i = 1; i < 20; ++i) {
    lines += L"\nline";
    words += L"words and words and words ";
  }
  const int checkHeight = TextHeight(kCheckLabel, 374) + 24;
  ASSERT_GE(checkHeight - 24, 2 * TextHeight(L"line", 386)) << "the label is to wrap";
  ASSERT_GT(TextHeight(words, 386), 3 * 32);
  for (const std::wstring& text : {std::wstring(), std::wstring(L"Short"), lines, words}) {
    for (const LPCWSTR checkLabel : {L"", kCheckLabel}) {
      const int height = TextHeight(text, 386);
      const bool isLow = height < 32;
      const int above = std::max(height, 32);
      SIZE size = {};
      const auto children = ChildrenOf({.text = text.c_str(), .checkLabel = checkLabel}, &size);
      ASSERT_GE(children.size(), 3u);
      ExpectChild(children[0], L"static", 0x50000003, {10, 10, 42, 42});
      ExpectChild(children[1], L"static", 0x50000000,
                  {52, isLow ? (32 - height) / 2 + 10 : 10, 438, above + 10});
      if (*checkLabel != L'\0') {
        ExpectChild(children[2], L"button", 0x50032003,
                    {52, above + 22, 438, above + checkHeight + 10});
      }
      const int content = height + (*checkLabel != L'\0' ? checkHeight : 0);
      EXPECT_EQ(size.cx, 450);
      EXPECT_EQ(size.cy, std::max(content, 32) + GetSystemMetrics(SM_CYCAPTION) + 60);
    }
  }
}

TEST(QuestionBoxLayout, ButtonStylesFollowTheirNeighbours) {
  constexpr DWORD kDefault = 0x50032001;
  constexpr DWORD kPlain = 0x50012000;
  struct {
    std::array<LPCWSTR, 4> labels;
    std::vector<DWORD> styles;
  } const cases[] = {
      {{L"A", L"B", L"C", L"D"}, {kDefault, kPlain, kPlain, kPlain}},
      {{L"", L"B", L"C", L""}, {kDefault, kPlain}},
      {{L"A", L"", L"C", L""}, {kDefault, kDefault}},
      {{L"A", L"B", L"", L"D"}, {kDefault, kPlain, kPlain}},
      {{L"A", L"", L"C", L"D"}, {kDefault, kDefault, kDefault}},
      {{L"", L"", L"", L"D"}, {kDefault}},
  };
  for (const auto& [labels, expected] : cases) {
    std::vector<DWORD> styles;
    for (const auto& child : ChildrenOf({.labels = {labels[0], labels[1], labels[2], labels[3]}})) {
      if (child.id != 0) {
        EXPECT_EQ(child.className, L"button");
        EXPECT_EQ(child.bounds, (CBounds{0, 0, 50, 14}));
        styles.push_back(child.style);
      }
    }
    EXPECT_EQ(styles, expected);
  }
}

TEST(QuestionBoxLayout, OnlyAMissingFirstButtonKeepsItsPlaceInTheRow) {
  struct {
    std::array<LPCWSTR, 4> labels;
    int places;
    std::map<int, int> placeOf;  // by identifier
  } const cases[] = {
      {{L"A", L"B", L"C", L"D"}, 4, {{6, 0}, {7, 1}, {2, 2}, {3, 3}}},
      {{L"", L"B", L"", L""}, 2, {{7, 1}}},
      {{L"", L"", L"C", L"D"}, 3, {{2, 1}, {3, 2}}},
      {{L"A", L"", L"C", L""}, 2, {{6, 0}, {2, 1}}},
      {{L"A", L"", L"C", L"D"}, 3, {{6, 0}, {2, 1}, {3, 2}}},
      {{L"A", L"", L"", L"D"}, 2, {{6, 0}, {3, 1}}},
      {{L"A", L"B", L"", L"D"}, 3, {{6, 0}, {7, 1}, {3, 2}}},
  };
  for (const auto& [labels, places, placeOf] : cases) {
    ShowTo({.labels = {labels[0], labels[1], labels[2], labels[3]}}, [&](HWND box) {
      const LONG bottom = ClientBounds(box)[3];
      const LONG left = (ClientBounds(box)[2] - (places * 72 - 12)) / 2;
      for (const auto& [id, place] : placeOf) {
        const LONG x = left + place * 72;
        EXPECT_EQ(ChildBounds(box, id), (CBounds{x, bottom - 36, x + 60, bottom - 12})) << id;
      }
    });
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

TEST(QuestionBoxLayout, BoxIsTopmostAndCentredOnItsOwnerOrTheWorkArea) {
  const COwnerWindow visible(true);
  RECT work = {};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  for (const HWND owner : {static_cast<HWND>(visible), HWND{nullptr}}) {
    const CBounds outer = owner != nullptr ? ScreenBounds(owner) : Array(work);
    ShowTo({.owner = owner}, [&](HWND box) {
      const CBounds inner = ScreenBounds(box);
      EXPECT_NEAR(inner[0] + inner[2], outer[0] + outer[2], 2);
      EXPECT_NEAR(inner[1] + inner[3], outer[1] + outer[3], 2);
      EXPECT_NE(GetWindowLongPtrW(box, GWL_EXSTYLE) & WS_EX_TOPMOST, 0);
      EXPECT_TRUE(IsWindowVisible(box));
    });
  }
}

using CDialogSpy = CImportSpy<&DialogBoxIndirectParamW>;

/// The template that the box passes to the system.
DLGTEMPLATE TemplateFor(HWND owner, HINSTANCE host = GetModuleHandleW(nullptr)) {
  DLGTEMPLATE header = {};
  const CDialogSpy dialog(
      "user32.dll", "DialogBoxIndirectParamW",
      [&](HINSTANCE instance, LPCDLGTEMPLATEW source, HWND given, DLGPROC, LPARAM) -> INT_PTR {
        EXPECT_EQ(instance, host);
        EXPECT_EQ(given, owner);
        header = *source;
        const auto* const words = reinterpret_cast<const WORD*>(source + 1);
        EXPECT_EQ(words[0] | words[1] | words[2], 0) << "no menu, class or title";
        return 0x123456789;
      });
  EXPECT_EQ(Show({.owner = owner}), 0x23456789) << "the result has 32 bits";
  return header;
}

TEST(QuestionBoxTemplate, HasTheFixedFieldsAndNothingElse) {
  const COwnerWindow owner(true);
  const DLGTEMPLATE header = TemplateFor(owner);
  EXPECT_EQ(header.style, 0x90C80080u);
  EXPECT_EQ(header.cdit, 0);
  EXPECT_EQ(header.x, 50);
  EXPECT_EQ(header.y, 50);
  EXPECT_EQ(header.cx, 4000);
  EXPECT_EQ(header.cy, 400);
}

TEST(QuestionBoxTemplate, FailureOfTheSystemIsTheResult) {
  for (const INT_PTR failure : {-1, 0}) {
    const CDialogSpy dialog("user32.dll", "DialogBoxIndirectParamW",
                            [=](auto...) { return failure; });
    EXPECT_EQ(Show({}), failure);
  }
}

TEST(QuestionBoxTemplate, IsShownInTheNameOfTheHostProgram) {
  const HMODULE host = GetModuleHandleW(L"kernel32.dll");
  const CImportSpy<&GetModuleHandleW> find("kernel32.dll", "GetModuleHandleW", [&](LPCWSTR name) {
    EXPECT_EQ(name, nullptr);
    return host;
  });
  TemplateFor(nullptr, host);
}

/// The box asks for the direction and for nothing else.
class CMirroredLang : public IGUILang {
 public:
  bool IsRightToLeft() const override { return true; }
  void Activate() override { Fail(); }
  bool IsAvailable() const override { return Fail(); }
  int GetVariant() const override { return Fail(); }
  const char* GetLocaleNameNarrow() const override { return Fail() ? "" : nullptr; }
  const wchar_t* GetLocaleNameWide() const override { return Fail() ? L"" : nullptr; }

 private:
  static bool Fail() {
    ADD_FAILURE();
    return true;
  }
};

TEST(QuestionBoxTemplate, IsTopmostWithoutAVisibleOwnerAndMirroredByTheLanguage) {
  CMirroredLang mirrored;
  for (const DWORD mirroring : {0U, 0x400000U}) {
    SetGUILang(mirroring != 0 ? &mirrored : nullptr);
    EXPECT_EQ(TemplateFor(COwnerWindow(true)).dwExtendedStyle, mirroring);
    EXPECT_EQ(TemplateFor(COwnerWindow(false)).dwExtendedStyle, mirroring | 8);
    EXPECT_EQ(TemplateFor(nullptr).dwExtendedStyle, mirroring | 8);
  }
  const int result = ShowTo({}, [](HWND box) {
    EXPECT_NE(GetWindowLongPtrW(box, GWL_EXSTYLE) & WS_EX_LAYOUTRTL, 0);
    EXPECT_GT(ScreenBounds(GetDlgItem(box, 6))[0], ScreenBounds(GetDlgItem(box, 7))[0]);
    Click(box, 7);
  });
  EXPECT_EQ(result, 7);
  SetGUILang(nullptr);
}

}  // namespace
