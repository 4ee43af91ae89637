#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

#include "tests/support/import_patch.h"
#include "tests/support/user.h"
#include "tests/ui/question_box.h"
#include "ui/gui_lang.h"

namespace {

constexpr wchar_t kCheckLabel[] =
    L"A check box whose label is long enough to need more than one line in the width that it has";

std::wstring LinesOfText(int count) {
  std::wstring text = L"line";
  for (int i = 1; i < count; ++i) {
    text += L"\nline";
  }
  return text;
}

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

/// A child of the box as the box made it.
struct CMadeChild {
  std::wstring className;
  DWORD style;
  RECT bounds;  // client coordinates
  int id;
  HINSTANCE instance;
};

std::vector<CMadeChild> g_made;
decltype(&CreateWindowExW) g_createWindow;

HWND WINAPI RecordChild(DWORD extendedStyle, LPCWSTR className, LPCWSTR name, DWORD style, int x,
                        int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                        LPVOID parameter) {
  g_made.push_back({className, style, RECT{x, y, x + width, y + height},
                    static_cast<int>(reinterpret_cast<INT_PTR>(menu)), instance});
  return g_createWindow(extendedStyle, className, name, style, x, y, width, height, parent, menu,
                        instance, parameter);
}

/// The children of a box for this question, in the order in which they were made.
std::vector<CMadeChild> ChildrenMadeFor(const CQuestion& question) {
  const CImportPatch patch("user32.dll", "CreateWindowExW", &RecordChild);
  g_createWindow = patch.Original<HWND WINAPI(DWORD, LPCWSTR, LPCWSTR, DWORD, int, int, int, int,
                                              HWND, HMENU, HINSTANCE, LPVOID)>();
  g_made.clear();
  ShowTo(question, [](HWND) {});
  return g_made;
}

void ExpectRect(const RECT& actual, int left, int top, int right, int bottom) {
  EXPECT_EQ(actual.left, left);
  EXPECT_EQ(actual.top, top);
  EXPECT_EQ(actual.right, right);
  EXPECT_EQ(actual.bottom, bottom);
}

std::vector<DWORD> ButtonStylesFor(LPCWSTR label1, LPCWSTR label2, LPCWSTR label3, LPCWSTR label4) {
  std::vector<DWORD> styles;
  for (const CMadeChild& child : ChildrenMadeFor({.labels = {label1, label2, label3, label4}})) {
    if (child.id != 0) {
      EXPECT_EQ(child.className, L"button");
      EXPECT_EQ(child.instance, GetModuleHandleW(nullptr));
      ExpectRect(child.bounds, 0, 0, 50, 14);
      styles.push_back(child.style);
    }
  }
  return styles;
}

/// Width and height of the box for this question.
SIZE BoxSizeFor(const CQuestion& question) {
  RECT bounds = {};
  ShowTo(question, [&](HWND box) { GetWindowRect(box, &bounds); });
  return {bounds.right - bounds.left, bounds.bottom - bounds.top};
}

constexpr DWORD kDefault = 0x50032001;
constexpr DWORD kPlain = 0x50012000;

TEST(QuestionBoxLayout, ShortTextIsCentredBesideTheIcon) {
  const int height = TextHeight(L"Short", 386);
  ASSERT_LT(height, 32);
  const auto children = ChildrenMadeFor({.text = L"Short"});
  ASSERT_GE(children.size(), 2u);
  EXPECT_EQ(children[0].className, L"static");
  EXPECT_EQ(children[0].style, 0x50000003u);
  EXPECT_EQ(children[0].id, 0);
  ExpectRect(children[0].bounds, 10, 10, 42, 42);
  EXPECT_EQ(children[1].className, L"static");
  EXPECT_EQ(children[1].style, 0x50000000u);
  EXPECT_EQ(children[1].id, 0);
  ExpectRect(children[1].bounds, 52, (32 - height) / 2 + 10, 438, 42);
}

TEST(QuestionBoxLayout, LongTextBeginsAtTheTopAndGrowsTheBox) {
  const std::wstring text = LinesOfText(20);
  const int height = TextHeight(text, 386);
  ASSERT_GT(height, 32);
  const CQuestion question{.text = text.c_str()};
  ExpectRect(ChildrenMadeFor(question)[1].bounds, 52, 10, 438, height + 10);
  const SIZE size = BoxSizeFor(question);
  EXPECT_EQ(size.cx, 450);
  EXPECT_EQ(size.cy, height + GetSystemMetrics(SM_CYCAPTION) + 60);
}

TEST(QuestionBoxLayout, ContentNeverGetsLowerThanTheIcon) {
  for (const LPCWSTR text : {L"", L"Short"}) {
    const SIZE size = BoxSizeFor({.text = text});
    EXPECT_EQ(size.cx, 450);
    EXPECT_EQ(size.cy, 32 + GetSystemMetrics(SM_CYCAPTION) + 60);
  }
}

TEST(QuestionBoxLayout, TextWrapsAtItsControlsWidth) {
  std::wstring text;
  for (int i = 0; i < 100; ++i) {
    text += L"word ";
  }
  const int height = TextHeight(text, 386);
  ASSERT_GT(height, TextHeight(L"word", 386) * 3);
  EXPECT_EQ(BoxSizeFor({.text = text.c_str()}).cy, height + GetSystemMetrics(SM_CYCAPTION) + 60);
}

TEST(QuestionBoxLayout, CheckBoxStandsBelowTheText) {
  const int lineHeight = TextHeight(L"line", 386);
  const int c = TextHeight(kCheckLabel, 374) + 24;
  ASSERT_GE(c - 24, 2 * lineHeight) << "the label shall wrap";
  for (const int lines : {1, 20}) {
    const std::wstring text = LinesOfText(lines);
    const int h = TextHeight(text, 386);
    const int m = std::max(h, 32);
    const CQuestion question{.text = text.c_str(), .checkLabel = kCheckLabel};
    const auto children = ChildrenMadeFor(question);
    ASSERT_GE(children.size(), 3u);
    EXPECT_EQ(children[2].className, L"button");
    EXPECT_EQ(children[2].style, 0x50032003u);
    EXPECT_EQ(children[2].id, 0);
    ExpectRect(children[2].bounds, 52, m + 22, 438, m + c + 10);
    EXPECT_EQ(BoxSizeFor(question).cy, std::max(h + c, 32) + GetSystemMetrics(SM_CYCAPTION) + 60);
  }
}

TEST(QuestionBoxLayout, ButtonStylesFollowTheirNeighbours) {
  EXPECT_EQ(ButtonStylesFor(L"A", L"B", L"C", L"D"),
            (std::vector{kDefault, kPlain, kPlain, kPlain}));
  EXPECT_EQ(ButtonStylesFor(L"", L"B", L"C", L""), (std::vector{kDefault, kPlain}));
  // Buttons 3 and 4 both look at button 2 only.
  EXPECT_EQ(ButtonStylesFor(L"A", L"", L"C", L""), (std::vector{kDefault, kDefault}));
  EXPECT_EQ(ButtonStylesFor(L"A", L"B", L"", L"D"), (std::vector{kDefault, kPlain, kPlain}));
  EXPECT_EQ(ButtonStylesFor(L"A", L"", L"C", L"D"), (std::vector{kDefault, kDefault, kDefault}));
  EXPECT_EQ(ButtonStylesFor(L"", L"", L"", L"D"), (std::vector{kDefault}));
}

TEST(QuestionBoxLayout, ControlsHaveTheDialogFontAndTheButtonsTheirRow) {
  ShowTo({.labels = {L"Open", L"Save", L"Cancel", L""}, .checkLabel = L"Check"}, [](HWND box) {
    const auto font = reinterpret_cast<LRESULT>(GetStockObject(DEFAULT_GUI_FONT));
    RECT client = {};
    GetClientRect(box, &client);
    int x = (client.right - (3 * 60 + 2 * 12)) / 2;
    for (const int id : {6, 7, 2}) {
      const HWND button = GetDlgItem(box, id);
      EXPECT_EQ(SendMessageW(button, WM_GETFONT, 0, 0), font);
      EXPECT_EQ(GetWindowLongPtrW(button, GWL_STYLE) & BS_CENTER, BS_CENTER);
      RECT bounds = {};
      GetWindowRect(button, &bounds);
      MapWindowPoints(nullptr, box, reinterpret_cast<POINT*>(&bounds), 2);
      ExpectRect(bounds, x, client.bottom - 36, x + 60, client.bottom - 12);
      x += 72;
    }
    int fontless = 0;
    for (HWND child = GetWindow(box, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
      fontless += SendMessageW(child, WM_GETFONT, 0, 0) == font ? 0 : 1;
    }
    EXPECT_EQ(fontless, 1) << "the icon alone has no text";
  });
}

TEST(QuestionBoxLayout, OnlyAMissingFirstButtonKeepsItsPlaceInTheRow) {
  struct {
    std::array<LPCWSTR, 4> labels;
    int places;
    std::map<int, int> placeOf;  // by identifier
  } const cases[] = {
      {{L"", L"B", L"", L""}, 2, {{7, 1}}},
      {{L"", L"", L"C", L"D"}, 3, {{2, 1}, {3, 2}}},
      {{L"A", L"", L"C", L""}, 2, {{6, 0}, {2, 1}}},
      {{L"A", L"", L"C", L"D"}, 3, {{6, 0}, {2, 1}, {3, 2}}},
      {{L"A", L"", L"", L"D"}, 2, {{6, 0}, {3, 1}}},
      {{L"A", L"B", L"", L"D"}, 3, {{6, 0}, {7, 1}, {3, 2}}},
  };
  for (const auto& [labels, places, placeOf] : cases) {
    ShowTo({.labels = {labels[0], labels[1], labels[2], labels[3]}}, [&](HWND box) {
      RECT client = {};
      GetClientRect(box, &client);
      const int left = (client.right - (places * 60 + (places - 1) * 12)) / 2;
      for (const auto& [id, place] : placeOf) {
        RECT bounds = {};
        GetWindowRect(GetDlgItem(box, id), &bounds);
        MapWindowPoints(nullptr, box, reinterpret_cast<POINT*>(&bounds), 2);
        EXPECT_EQ(bounds.left, left + place * 72) << places << " places, button " << id;
      }
    });
  }
}

TEST(QuestionBoxLayout, IconIsTheSystemIconAskedFor) {
  for (const UINT icon : {32513U, 32514U, 32515U}) {
    ShowTo({.iconId = icon}, [=](HWND box) {
      const HWND control = GetWindow(box, GW_CHILD);
      EXPECT_EQ(SendMessageW(control, STM_GETICON, 0, 0),
                reinterpret_cast<LRESULT>(LoadIconW(nullptr, MAKEINTRESOURCEW(icon))));
    });
  }
}

TEST(QuestionBoxLayout, BoxIsCentredOnItsOwner) {
  const COwnerWindow owner(true);
  ShowTo({.owner = owner}, [&](HWND box) {
    RECT outer = {};
    RECT inner = {};
    GetWindowRect(owner, &outer);
    GetWindowRect(box, &inner);
    EXPECT_NEAR(inner.left + inner.right, outer.left + outer.right, 2);
    EXPECT_NEAR(inner.top + inner.bottom, outer.top + outer.bottom, 2);
  });
}

TEST(QuestionBoxLayout, WithoutOwnerTheBoxIsCentredOnTheWorkArea) {
  RECT work = {};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  ShowTo({}, [&](HWND box) {
    RECT inner = {};
    GetWindowRect(box, &inner);
    EXPECT_NEAR(inner.left + inner.right, work.left + work.right, 2);
    EXPECT_NEAR(inner.top + inner.bottom, work.top + work.bottom, 2);
  });
}

TEST(QuestionBoxLayout, BoxIsAlwaysShownTopmost) {
  const COwnerWindow visible(true);
  for (const HWND owner : {static_cast<HWND>(visible), HWND{nullptr}}) {
    ShowTo({.owner = owner}, [](HWND box) {
      EXPECT_NE(GetWindowLongPtrW(box, GWL_EXSTYLE) & WS_EX_TOPMOST, 0);
      EXPECT_TRUE(IsWindowVisible(box));
    });
  }
}

/// The template that the box hands to the system, and the rest of that call.
struct CTemplateCall {
  DLGTEMPLATE header;
  WORD menu;
  WORD windowClass;
  WORD title;
  HINSTANCE instance;
  HWND owner;
};
CTemplateCall g_call;

INT_PTR WINAPI RecordTemplate(HINSTANCE instance, LPCDLGTEMPLATEW source, HWND owner, DLGPROC,
                              LPARAM) {
  const auto* const words = reinterpret_cast<const WORD*>(source + 1);
  g_call = {*source, words[0], words[1], words[2], instance, owner};
  return 0x123456789;
}

CTemplateCall TemplateFor(HWND owner) {
  const CImportPatch patch("user32.dll", "DialogBoxIndirectParamW", &RecordTemplate);
  EXPECT_EQ(Show({.owner = owner}), 0x23456789) << "the result has 32 bits";
  return g_call;
}

TEST(QuestionBoxTemplate, HasTheFixedFieldsAndNothingElse) {
  const COwnerWindow owner(true);
  const CTemplateCall call = TemplateFor(owner);
  EXPECT_EQ(call.header.style, 0x90C80080u);
  EXPECT_EQ(call.header.cdit, 0);
  EXPECT_EQ(call.header.x, 50);
  EXPECT_EQ(call.header.y, 50);
  EXPECT_EQ(call.header.cx, 4000);
  EXPECT_EQ(call.header.cy, 400);
  EXPECT_EQ(call.menu, 0);
  EXPECT_EQ(call.windowClass, 0);
  EXPECT_EQ(call.title, 0);
  EXPECT_EQ(call.owner, static_cast<HWND>(owner));
}

TEST(QuestionBoxTemplate, FailureOfTheSystemIsTheResult) {
  for (const INT_PTR failure : {-1, 0}) {
    static INT_PTR answer;
    answer = failure;
    const CImportPatch patch(
        "user32.dll", "DialogBoxIndirectParamW",
        +[](HINSTANCE, LPCDLGTEMPLATEW, HWND, DLGPROC, LPARAM) -> INT_PTR { return answer; });
    EXPECT_EQ(Show({}), failure);
  }
}

TEST(QuestionBoxTemplate, IsShownInTheNameOfTheHostProgram) {
  static const HMODULE kHost = GetModuleHandleW(L"kernel32.dll");
  const CImportPatch patch(
      "kernel32.dll", "GetModuleHandleW", +[](LPCWSTR name) -> HMODULE {
        EXPECT_EQ(name, nullptr);
        return kHost;
      });
  EXPECT_EQ(TemplateFor(nullptr).instance, kHost);
}

TEST(QuestionBoxTemplate, IsTopmostUnlessTheOwnerIsVisible) {
  EXPECT_EQ(TemplateFor(COwnerWindow(true)).header.dwExtendedStyle, 0u);
  EXPECT_EQ(TemplateFor(COwnerWindow(false)).header.dwExtendedStyle, 8u);
  EXPECT_EQ(TemplateFor(nullptr).header.dwExtendedStyle, 8u);
}

/// The box asks for the direction and for nothing else.
class CMirroredLang : public IGUILang {
 public:
  bool IsRightToLeft() const override { return true; }
  void Activate() override { ADD_FAILURE(); }
  bool IsAvailable() const override {
    ADD_FAILURE();
    return true;
  }
  int GetVariant() const override {
    ADD_FAILURE();
    return 0;
  }
  const char* GetLocaleNameNarrow() const override {
    ADD_FAILURE();
    return "";
  }
  const wchar_t* GetLocaleNameWide() const override {
    ADD_FAILURE();
    return L"";
  }
};

class MirroredQuestionBox : public testing::Test {
 protected:
  MirroredQuestionBox() { SetGUILang(&m_mirrored); }
  ~MirroredQuestionBox() override { SetGUILang(nullptr); }

 private:
  CMirroredLang m_mirrored;
};

TEST_F(MirroredQuestionBox, TemplateHasTheMirroringBitAdded) {
  EXPECT_EQ(TemplateFor(COwnerWindow(true)).header.dwExtendedStyle, 0x400000u);
  EXPECT_EQ(TemplateFor(nullptr).header.dwExtendedStyle, 0x400008u);
}

TEST_F(MirroredQuestionBox, BoxIsMirroredAndWorks) {
  const int result = ShowTo({}, [](HWND box) {
    EXPECT_NE(GetWindowLongPtrW(box, GWL_EXSTYLE) & WS_EX_LAYOUTRTL, 0);
    RECT first = {};
    RECT second = {};
    GetWindowRect(GetDlgItem(box, 6), &first);
    GetWindowRect(GetDlgItem(box, 7), &second);
    EXPECT_GT(first.left, second.left) << "the first button stands at the right";
    Click(box, 7);
  });
  EXPECT_EQ(result, 7);
}

}  // namespace
