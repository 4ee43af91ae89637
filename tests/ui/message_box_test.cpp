#include "ui/message_box.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/atl/base/failing_malloc.h"
#include "tests/support/import_patch.h"
#include "tests/support/process_counts.h"
#include "tests/support/user.h"
#include "tests/ui/question_box.h"

namespace {

struct CChild {
  std::wstring className;
  std::wstring text;
  int id;
};

BOOL CALLBACK CollectChild(HWND child, LPARAM list) {
  wchar_t name[32] = {};
  GetClassNameW(child, name, ARRAYSIZE(name));
  reinterpret_cast<std::vector<CChild>*>(list)->push_back(
      {name, TextOf(child), GetDlgCtrlID(child)});
  return TRUE;
}

std::vector<CChild> ChildrenOf(HWND box) {
  std::vector<CChild> children;
  EnumChildWindows(box, &CollectChild, reinterpret_cast<LPARAM>(&children));
  return children;
}

/// The check box: the button with identifier 0.
HWND CheckBoxOf(HWND box) {
  HWND child = nullptr;
  while ((child = FindWindowExW(box, child, L"Button", nullptr)) != nullptr) {
    if (GetDlgCtrlID(child) == 0) {
      break;
    }
  }
  return child;
}

HWND FocusIn(HWND box) {
  GUITHREADINFO info = {};
  info.cbSize = sizeof(info);
  GetGUIThreadInfo(GetWindowThreadProcessId(box, nullptr), &info);
  return info.hwndFocus;
}

void Press(HWND box, WPARAM key) { PostMessageW(FocusIn(box), WM_KEYDOWN, key, 1); }

TEST(QuestionBox, EachButtonIsTheResult) {
  for (const int id : {6, 7, 2, 3}) {
    const CQuestion question{.labels = {L"A", L"B", L"C", L"D"}};
    EXPECT_EQ(ShowTo(question, [=](HWND box) { Click(box, id); }), id);
  }
}

TEST(QuestionBox, ShowsTitleTextAndLabels) {
  const CQuestion question{.title = L"File Download",
                           .text = L"Would you like to open or save this Folivo file?",
                           .labels = {L"Open", L"Save", L"Cancel", L"Other"}};
  ShowTo(question, [](HWND box) {
    const auto children = ChildrenOf(box);
    ASSERT_EQ(children.size(), 6u);
    EXPECT_EQ(children[0].className, L"Static");
    EXPECT_EQ(children[0].id, 0);
    EXPECT_EQ(children[1].className, L"Static");
    EXPECT_EQ(children[1].text, L"Would you like to open or save this Folivo file?");
    EXPECT_EQ(children[1].id, 0);
    const std::vector<std::pair<int, std::wstring>> buttons = {
        {6, L"Open"}, {7, L"Save"}, {2, L"Cancel"}, {3, L"Other"}};
    for (size_t i = 0; i < buttons.size(); ++i) {
      EXPECT_EQ(children[i + 2].className, L"Button");
      EXPECT_EQ(children[i + 2].id, buttons[i].first);
      EXPECT_EQ(children[i + 2].text, buttons[i].second);
    }
  });
}

TEST(QuestionBox, TitleIsTakenAsItIsInThisEdition) {
  bool shown = false;
  ShowTo({.title = L"MERLO Folivo"}, [&](HWND) { shown = true; });
  EXPECT_TRUE(shown);
}

TEST(QuestionBox, EmptyLabelsMeanNoButtonsAndNoCheckBox) {
  ShowTo({.labels = {L"", L"", L"", L"Only"}}, [](HWND box) {
    EXPECT_EQ(ChildrenOf(box).size(), 3u);
    EXPECT_EQ(CheckBoxOf(box), nullptr);
    for (const int absent : {6, 7, 2}) {
      EXPECT_EQ(GetDlgItem(box, absent), nullptr) << absent;
    }
    EXPECT_EQ(ChildText(box, 3), L"Only");
  });
}

TEST(QuestionBox, NullTitleAndTextCountAsEmpty) {
  const int result = ShowTo({.title = nullptr, .text = nullptr}, [](HWND box) {
    EXPECT_EQ(ChildrenOf(box)[1].text, L"");
    Click(box, 7);
  });
  EXPECT_EQ(result, 7);
}

TEST(QuestionBox, PercentAndAmpersandAreOrdinaryCharacters) {
  ShowTo({.title = L"100%s & more", .text = L"%s%n & 50%"}, [](HWND box) {
    EXPECT_EQ(ChildrenOf(box)[1].text, L"%s%n & 50%");
    EXPECT_EQ(TextOf(box), L"100%s & more");
  });
}

TEST(QuestionBox, EscapeAndTheCloseBoxAnswerTwo) {
  for (const bool withThirdButton : {true, false}) {
    const CQuestion question{.labels = {L"A", L"B", withThirdButton ? L"C" : L"", L""}};
    EXPECT_EQ(ShowTo(question,
                     [](HWND box) {
                       Press(box, VK_ESCAPE);
                       WaitUntilGone(box);
                     }),
              2);
    EXPECT_EQ(ShowTo(question,
                     [](HWND box) {
                       Close(box);
                       WaitUntilGone(box);
                     }),
              2);
  }
}

TEST(QuestionBox, EnterPressesTheFirstButton) {
  EXPECT_EQ(ShowTo({},
                   [](HWND box) {
                     Press(box, VK_RETURN);
                     WaitUntilGone(box);
                   }),
            6);
}

TEST(QuestionBox, FirstExistingButtonHasTheFocus) {
  const int ids[] = {6, 7, 2, 3};
  for (size_t first = 0; first < 4; ++first) {
    // The check box comes first in the order of the keyboard.
    CQuestion question{.labels = {L"A", L"B", L"C", L"D"}, .checkLabel = L"Check"};
    for (size_t i = 0; i < first; ++i) {
      question.labels[i].Empty();
    }
    ShowTo(question, [&](HWND box) { EXPECT_EQ(GetDlgCtrlID(FocusIn(box)), ids[first]); });
  }
}

TEST(QuestionBox, AnyOtherCommandClosesTheBoxWithItsWholeParameter) {
  const auto send = [](WPARAM command) {
    // The check box has the number 0 too, but this message is not from it.
    return ShowTo({.checkLabel = L"Check"}, [=](HWND box) {
      PostMessageW(box, WM_COMMAND, command, 0);
      WaitUntilGone(box);
    });
  };
  EXPECT_EQ(send(99), 99);
  EXPECT_EQ(send(MAKEWPARAM(99, 5)), 0x50063);
  EXPECT_EQ(send(0), 0);
}

TEST(QuestionBox, CheckBoxTogglesWithoutClosing) {
  LONG state = 0;
  const CQuestion question{.checkLabel = L"Do not ask again", .checkState = &state};
  const int result = ShowTo(question, [](HWND box) {
    const HWND check = CheckBoxOf(box);
    ASSERT_NE(check, nullptr);
    EXPECT_EQ(TextOf(check), L"Do not ask again");
    EXPECT_EQ(SendMessageW(check, BM_GETCHECK, 0, 0), BST_UNCHECKED);
    for (const WPARAM expected : {BST_CHECKED, BST_UNCHECKED, BST_CHECKED}) {
      SendMessageW(check, BM_CLICK, 0, 0);
      EXPECT_EQ(static_cast<WPARAM>(SendMessageW(check, BM_GETCHECK, 0, 0)), expected);
      EXPECT_TRUE(IsWindowVisible(box));
    }
    Click(box, 7);
  });
  EXPECT_EQ(result, 7);
  EXPECT_EQ(state, 1);
}

TEST(QuestionBox, CheckStateComesBackUncheckedToo) {
  LONG state = 5;
  const CQuestion question{.checkLabel = L"Check", .checkState = &state};
  ShowTo(question, [](HWND box) {
    EXPECT_EQ(SendMessageW(CheckBoxOf(box), BM_GETCHECK, 0, 0), BST_CHECKED);
    SendMessageW(CheckBoxOf(box), BM_CLICK, 0, 0);
  });
  EXPECT_EQ(state, 0);
}

TEST(QuestionBox, UntouchedCheckStateComesBackAsItWas) {
  LONG state = 5;
  const CQuestion question{.checkLabel = L"Check", .checkState = &state};
  ShowTo(question, [](HWND) {});
  EXPECT_EQ(state, 5);
}

TEST(QuestionBox, WithoutAPointerTheLastBoxesStateIsKept) {
  for (const LONG last : {1L, 0L}) {
    LONG state = last;
    ShowTo({.checkLabel = L"Check", .checkState = &state}, [](HWND) {});
    ShowTo({.checkLabel = L"Check"}, [=](HWND box) {
      EXPECT_EQ(SendMessageW(CheckBoxOf(box), BM_GETCHECK, 0, 0),
                last != 0 ? BST_CHECKED : BST_UNCHECKED);
    });
  }
}

TEST(QuestionBox, WithoutACheckBoxThePointerIsOnlyRead) {
  LONG state = 1;
  ShowTo({.checkState = &state}, [](HWND) {});
  EXPECT_EQ(state, 1);
  ShowTo({.checkLabel = L"Check"}, [](HWND box) {
    EXPECT_EQ(SendMessageW(CheckBoxOf(box), BM_GETCHECK, 0, 0), BST_CHECKED);
    SendMessageW(CheckBoxOf(box), BM_CLICK, 0, 0);
  });
  EXPECT_EQ(state, 1);
}

constexpr UINT kAskAgain = WM_APP;
constexpr UINT kDestroyOwner = WM_APP + 1;
constexpr UINT kRefusalMs = 5000;

LRESULT CALLBACK OwnerProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case kAskAgain:
      return Show({.title = L"Second", .labels = {L"X", L"", L"", L""}});
    case kDestroyOwner:
      return DestroyWindow(window);
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}

TEST(QuestionBox, FurtherBoxesAreRefusedAndLeaveTheFirstAlone) {
  const COwnerWindow owner(true, &OwnerProcedure);
  LONG state = 0;
  const CQuestion question{.owner = owner, .checkLabel = L"Check", .checkState = &state};
  const int result = ShowTo(question, [&](HWND box) {
    // A refused one must not let the next one in.
    for (const LPCWSTR which : {L"Second", L"Third"}) {
      DWORD_PTR answer = 0;
      SendMessageTimeoutW(owner, kAskAgain, 0, 0, SMTO_NORMAL, kRefusalMs, &answer);
      EXPECT_EQ(static_cast<int>(answer), kMessageBoxRefused) << which;
      const HWND shown = FindDialog(L"Second");
      EXPECT_EQ(shown, nullptr) << which;
      PostMessageW(shown, WM_COMMAND, IDCANCEL, 0);
    }
    EXPECT_EQ(ChildText(box, 6), L"Open");
    SendMessageW(CheckBoxOf(box), BM_CLICK, 0, 0);
    Click(box, 6);
  });
  EXPECT_EQ(result, 6);
  EXPECT_EQ(state, 1);
}

TEST(QuestionBox, BoxWhoseOwnerGoesLeavesNothingBehind) {
  {
    const COwnerWindow owner(true, &OwnerProcedure);
    const int result = ShowTo({.owner = owner, .checkLabel = L"Check"}, [&](HWND box) {
      const DWORD thread = GetWindowThreadProcessId(box, nullptr);
      SendMessageW(owner, kDestroyOwner, 0, 0);
      WaitUntilGone(box);
      // The system's dialog loop looks at its window with the next message only.
      PostThreadMessageW(thread, WM_NULL, 0, 0);
    });
    EXPECT_EQ(result, 0);
  }
  // The next box lacks the first button, and by itself the focus would go to the check box.
  EXPECT_EQ(ShowTo({.labels = {L"", L"Save", L"Cancel", L""}, .checkLabel = L"Check"},
                   [](HWND box) {
                     EXPECT_EQ(ChildrenOf(box).size(), 5u);
                     EXPECT_EQ(GetDlgCtrlID(FocusIn(box)), 7);
                     Click(box, 7);
                   }),
            7);
}

TEST(QuestionBox, OwnerIsDisabledWhileTheBoxIsOpen) {
  const COwnerWindow owner(true);
  ShowTo({.owner = owner}, [&](HWND box) {
    EXPECT_FALSE(IsWindowEnabled(owner));
    EXPECT_EQ(GetWindow(box, GW_OWNER), static_cast<HWND>(owner));
  });
  EXPECT_TRUE(IsWindowEnabled(owner));
}

TEST(QuestionBox, ManyBoxesLeaveNoWindowsAndGraphicsObjects) {
  const auto showMany = [] {
    for (int i = 0; i < 20; ++i) {
      EXPECT_EQ(ShowTo({.checkLabel = L"Check"}, [](HWND box) { Click(box, 6); }), 6);
    }
  };
  showMany();  // What the system keeps for later is there then.
  const int windows = CountWindows();
  const int objects = CountGdiObjects();
  showMany();
  EXPECT_EQ(CountWindows(), windows);
  EXPECT_EQ(CountGdiObjects(), objects);
}

/// Has memory run out when the box begins to measure its buttons, until the object goes.
class CMemoryRunsOutInTheRow {
 public:
  CMemoryRunsOutInTheRow()
      : m_patch(
            "user32.dll", "SystemParametersInfoW", +[](UINT, UINT, PVOID, UINT) -> BOOL {
              if (s_failing == nullptr) {
                s_failing = std::make_unique<CFailingMalloc>(0);
              }
              return FALSE;
            }) {}
  ~CMemoryRunsOutInTheRow() { s_failing.reset(); }

 private:
  static inline std::unique_ptr<CFailingMalloc> s_failing;
  CImportPatch m_patch;
};

TEST(QuestionBox, OutOfMemoryWhileBuildingIsThrownOutOfTheBox) {
  const CQuestion question;
  HRESULT thrown = S_OK;
  try {
    AtlThrow(S_FALSE);  // What a thread keeps for exceptions is allocated with its first one.
  } catch (const CAtlException&) {
  }
  try {
    const CMemoryRunsOutInTheRow failing;
    Show(question);
  } catch (const CAtlException& e) {
    thrown = e.m_hr;
  }
  EXPECT_EQ(thrown, E_OUTOFMEMORY);
  EXPECT_TRUE(VisibleDialogs().empty());
  EXPECT_EQ(ShowTo({}, [](HWND box) { Click(box, 7); }), 7);
}

}  // namespace
