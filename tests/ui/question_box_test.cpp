#include "ui/question_box.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "tests/support/failing_malloc.h"
#include "tests/support/import_spy.h"
#include "tests/support/user.h"
#include "tests/ui/question_box_user.h"

namespace {

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

LRESULT CheckState(HWND box) { return SendMessageW(CheckBoxOf(box), BM_GETCHECK, 0, 0); }
void Toggle(HWND box) { SendMessageW(CheckBoxOf(box), BM_CLICK, 0, 0); }

HWND FocusIn(HWND box) {
  GUITHREADINFO info = {};
  info.cbSize = sizeof(info);
  GetGUIThreadInfo(GetWindowThreadProcessId(box, nullptr), &info);
  return info.hwndFocus;
}

void Press(HWND box, WPARAM key) { PostMessageW(FocusIn(box), WM_KEYDOWN, key, 1); }

TEST(QuestionBox, EachButtonAndKeyGivesItsResult) {
  const struct {
    void (*act)(HWND box);
    int result;
    LPCWSTR thirdLabel = L"C";
  } ways[] = {
      {[](HWND box) { Click(box, 6); }, 6},
      {[](HWND box) { Click(box, 7); }, 7},
      {[](HWND box) { Click(box, 2); }, 2},
      {[](HWND box) { Click(box, 3); }, 3},
      {[](HWND box) { Press(box, VK_RETURN); }, 6},
      {[](HWND box) { Press(box, VK_ESCAPE); }, 2},
      {[](HWND box) { Close(box); }, 2},
      {[](HWND box) { Close(box); }, 2, L""},
  };
  for (const auto& way : ways) {
    EXPECT_EQ(ShowTo({.labels = {L"A", L"B", way.thirdLabel, L"D"}},
                     [&](HWND box) {
                       way.act(box);
                       WaitUntilGone(box);
                     }),
              way.result);
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
  const int result = ShowTo({.checkLabel = L"Check", .checkState = &state}, [](HWND box) {
    EXPECT_EQ(TextOf(CheckBoxOf(box)), L"Check");
    EXPECT_EQ(CheckState(box), BST_UNCHECKED);
    for (const LRESULT expected : {BST_CHECKED, BST_UNCHECKED, BST_CHECKED}) {
      Toggle(box);
      EXPECT_EQ(CheckState(box), expected);
      EXPECT_TRUE(IsWindowVisible(box));
    }
    Click(box, 7);
  });
  EXPECT_EQ(result, 7);
  EXPECT_EQ(state, 1);
}

TEST(QuestionBox, AnyStateButZeroIsCheckedAndStaysUnlessToggled) {
  LONG state = 5;
  ShowTo({.checkLabel = L"Check", .checkState = &state}, [](HWND) {});
  EXPECT_EQ(state, 5);
  ShowTo({.checkLabel = L"Check", .checkState = &state}, [](HWND box) {
    EXPECT_EQ(CheckState(box), BST_CHECKED);
    Toggle(box);
  });
  EXPECT_EQ(state, 0);
}

TEST(QuestionBox, WithoutAPointerTheLastBoxesStateIsKept) {
  for (const LONG last : {1L, 0L}) {
    LONG state = last;
    ShowTo({.checkState = &state}, [](HWND) {});  // the state is read even without a check box
    ShowTo({.checkLabel = L"Check"}, [=](HWND box) {
      EXPECT_EQ(CheckState(box), last != 0 ? BST_CHECKED : BST_UNCHECKED);
      Toggle(box);
    });
    EXPECT_EQ(state, last);
  }
}

TEST(QuestionBox, FurtherBoxesAreRefusedAndLeaveTheFirstAlone) {
  const COwnerWindow owner(true);
  LONG state = 0;
  const CQuestion question{.owner = owner, .checkLabel = L"Check", .checkState = &state};
  const int result = ShowTo(question, [&](HWND box) {
    EXPECT_FALSE(IsWindowEnabled(owner));
    EXPECT_EQ(GetWindow(box, GW_OWNER), static_cast<HWND>(owner));
    const CImportSpy<&DialogBoxIndirectParamW> second("user32.dll", "DialogBoxIndirectParamW",
                                                      [](auto...) { return 0; });
    for (int i = 0; i < 2; ++i) {  // A refused one must not let the next one in.
      EXPECT_EQ(Show({.title = L"Second", .labels = {L"X", L"", L"", L""}}), kMessageBoxRefused);
    }
    EXPECT_TRUE(second.Calls().empty());
    EXPECT_EQ(ChildText(box, 6), L"Open");
    Toggle(box);
    Click(box, 6);
    WaitUntilGone(box);
  });
  EXPECT_EQ(result, 6);
  EXPECT_EQ(state, 1);
  EXPECT_TRUE(IsWindowEnabled(owner));
}

TEST(QuestionBox, FirstButtonHasTheFocusAlsoAfterABoxWhoseOwnerWasDestroyed) {
  {
    const COwnerWindow owner(true);
    const int result = ShowTo({.owner = owner, .checkLabel = L"Check"}, [&](HWND box) {
      const DWORD thread = GetWindowThreadProcessId(box, nullptr);
      SendMessageW(owner, WM_CLOSE, 0, 0);
      WaitUntilGone(box);
      // The system's dialog loop notices the destroyed window at the next message only.
      PostThreadMessageW(thread, WM_NULL, 0, 0);
    });
    EXPECT_EQ(result, 0);
  }
  // By itself the focus would go to the check box. The buttons that a box lacks are not the last
  // one's.
  CQuestion question{.labels = {L"", L"", L"", L""}, .checkLabel = L"Check"};
  for (const auto& [first, label] : {std::pair(3, 3), {2, 2}, {7, 1}, {6, 0}}) {
    question.labels[label] = L"A";
    ShowTo(question, [id = first](HWND box) { EXPECT_EQ(GetDlgCtrlID(FocusIn(box)), id); });
  }
}

TEST(QuestionBox, OutOfMemoryWhileBuildingIsThrownOutOfTheBox) {
  const CQuestion question{.labels = {L"A", L"", L"", L""}};
  HRESULT thrown = S_OK;
  try {
    AtlThrow(S_FALSE);  // What a thread keeps for exceptions is allocated with its first one.
  } catch (const CAtlException&) {
  }
  try {
    // Memory runs out when the box begins to measure its only button.
    std::optional<CFailingMalloc> failing;
    const CImportSpy<&SystemParametersInfoW> measure("user32.dll", "SystemParametersInfoW",
                                                     [&](auto...) {
                                                       if (!failing) {
                                                         failing.emplace(0);
                                                       }
                                                       return FALSE;
                                                     });
    Show(question);
  } catch (const CAtlException& e) {
    thrown = e.m_hr;
  }
  EXPECT_EQ(thrown, E_OUTOFMEMORY);
  EXPECT_TRUE(VisibleDialogs().empty());
  EXPECT_EQ(ShowTo({}, [](HWND box) { Click(box, 7); }), 7);
}

}  // namespace
