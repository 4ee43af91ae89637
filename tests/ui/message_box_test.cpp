#include "ui/message_box.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/atl/base/failing_malloc.h"
#include "tests/support/import_spy.h"
#include "tests/support/user.h"
#include "tests/ui/question_box.h"

namespace {

/// The children in the order of creation: class, identifier and text.
std::vector<std::wstring> ChildrenOf(HWND box) {
  std::vector<std::wstring> children;
  for (HWND child = GetWindow(box, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    wchar_t name[32] = {};
    GetClassNameW(child, name, ARRAYSIZE(name));
    children.push_back(name + (L" " + std::to_wstring(GetDlgCtrlID(child)) + L" ") + TextOf(child));
  }
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
      {[](HWND box) { Press(box, VK_ESCAPE); }, 2, L""},
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

TEST(QuestionBox, ShowsTitleTextAndLabelsAsTheyAre) {
  // In the other edition this title gets a suffix.
  ShowTo(
      {.title = L"MERLO Folivo", .text = L"%s%n & 50%", .labels = {L"Open", L"S&ave", L"", L"%d"}},
      [](HWND box) {
        EXPECT_EQ(ChildrenOf(box),
                  (std::vector<std::wstring>{L"Static 0 ", L"Static 0 %s%n & 50%", L"Button 6 Open",
                                             L"Button 7 S&ave", L"Button 3 %d"}));
      });
  ShowTo({.title = nullptr, .text = nullptr, .labels = {L"", L"", L"", L"Only"}}, [](HWND box) {
    EXPECT_EQ(ChildrenOf(box),
              (std::vector<std::wstring>{L"Static 0 ", L"Static 0 ", L"Button 3 Only"}));
  });
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

TEST(QuestionBox, CheckStateIsReturnedEvenIfUntouched) {
  LONG state = 5;
  const CQuestion question{.checkLabel = L"Check", .checkState = &state};
  ShowTo(question, [](HWND) {});
  EXPECT_EQ(state, 5);
  ShowTo(question, [](HWND box) {
    EXPECT_EQ(SendMessageW(CheckBoxOf(box), BM_GETCHECK, 0, 0), BST_CHECKED);
    SendMessageW(CheckBoxOf(box), BM_CLICK, 0, 0);
  });
  EXPECT_EQ(state, 0);
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
    EXPECT_FALSE(IsWindowEnabled(owner));
    EXPECT_EQ(GetWindow(box, GW_OWNER), static_cast<HWND>(owner));
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
  EXPECT_TRUE(IsWindowEnabled(owner));
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

TEST(QuestionBox, OutOfMemoryWhileBuildingIsThrownOutOfTheBox) {
  const CQuestion question;
  HRESULT thrown = S_OK;
  try {
    AtlThrow(S_FALSE);  // What a thread keeps for exceptions is allocated with its first one.
  } catch (const CAtlException&) {
  }
  try {
    // Memory runs out when the box begins to measure its buttons.
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
