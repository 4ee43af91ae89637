// How the question box builds and takes down its window, where the finished box does not show it:
// by the calls it makes.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/import_patch.h"
#include "tests/support/user.h"
#include "tests/ui/question_box.h"

namespace {

constexpr wchar_t kText[] = L"Shall we?";
constexpr wchar_t kCheckLabel[] = L"Do not ask again";

std::vector<std::string> g_calls;
HWND g_box;  // the window of the first call that is recorded
HDC g_firstDC;
decltype(&ShowWindow) g_showWindow;
decltype(&MoveWindow) g_moveWindow;
decltype(&BringWindowToTop) g_bringToTop;
decltype(&GetDC) g_getDC;
decltype(&ReleaseDC) g_releaseDC;
decltype(&UpdateWindow) g_updateWindow;
decltype(&SetWindowPos) g_setWindowPos;

/// Takes down a call for the box itself, not for its controls.
void Note(HWND window, const std::string& call) {
  if (g_box == nullptr) {
    g_box = window;
  }
  if (window == g_box) {
    g_calls.push_back(call);
  }
}

BOOL WINAPI RecordShow(HWND window, int command) {
  Note(window, "show " + std::to_string(command));
  return g_showWindow(window, command);
}
BOOL WINAPI RecordMove(HWND window, int x, int y, int width, int height, BOOL repaint) {
  Note(window,
       "move to " + std::to_string(x) + ", " + std::to_string(y) + (repaint ? " and repaint" : ""));
  EXPECT_FALSE(repaint) << "of a control";
  return g_moveWindow(window, x, y, width, height, repaint);
}
BOOL WINAPI RecordTop(HWND window) {
  Note(window, "top");
  return g_bringToTop(window);
}
HDC WINAPI RecordDC(HWND window) {
  const HDC dc = g_getDC(window);
  if (g_firstDC == nullptr) {
    g_firstDC = dc;
  }
  return dc;
}
int WINAPI RecordRelease(HWND window, HDC dc) {
  // The row of buttons has contexts of its own.
  if (dc == g_firstDC) {
    EXPECT_EQ(GetCurrentObject(dc, OBJ_FONT), GetStockObject(SYSTEM_FONT)) << "as it began";
    Note(window, "release");
  }
  return g_releaseDC(window, dc);
}
BOOL WINAPI RecordUpdate(HWND window) {
  Note(window, "update");
  return g_updateWindow(window);
}
BOOL WINAPI RecordPosition(HWND window, HWND after, int x, int y, int width, int height,
                           UINT flags) {
  if (after == HWND_TOPMOST) {
    RECT bounds = {};
    GetWindowRect(window, &bounds);
    EXPECT_EQ(x, bounds.left);
    EXPECT_EQ(y, bounds.top);
    EXPECT_EQ(width, bounds.right - bounds.left);
    EXPECT_EQ(height, bounds.bottom - bounds.top);
    EXPECT_EQ(flags, static_cast<UINT>(SWP_SHOWWINDOW));
    Note(window, "topmost");
  } else {
    Note(window, "centre");
  }
  return g_setWindowPos(window, after, x, y, width, height, flags);
}

TEST(QuestionBoxCalls, WindowIsHiddenMovedCentredAndShownTopmostLast) {
  const CImportPatch show("user32.dll", "ShowWindow", &RecordShow);
  const CImportPatch move("user32.dll", "MoveWindow", &RecordMove);
  const CImportPatch top("user32.dll", "BringWindowToTop", &RecordTop);
  const CImportPatch get("user32.dll", "GetDC", &RecordDC);
  const CImportPatch release("user32.dll", "ReleaseDC", &RecordRelease);
  const CImportPatch update("user32.dll", "UpdateWindow", &RecordUpdate);
  const CImportPatch position("user32.dll", "SetWindowPos", &RecordPosition);
  g_showWindow = show.Original<decltype(ShowWindow)>();
  g_moveWindow = move.Original<decltype(MoveWindow)>();
  g_bringToTop = top.Original<decltype(BringWindowToTop)>();
  g_getDC = get.Original<decltype(GetDC)>();
  g_releaseDC = release.Original<decltype(ReleaseDC)>();
  g_updateWindow = update.Original<decltype(UpdateWindow)>();
  g_setWindowPos = position.Original<decltype(SetWindowPos)>();
  g_calls.clear();
  g_box = nullptr;
  g_firstDC = nullptr;
  ShowTo({}, [](HWND box) { EXPECT_EQ(box, g_box); });
  const std::vector<std::string> expected = {"show 0",  "move to 0, 0", "centre", "top",
                                             "release", "update",       "topmost"};
  EXPECT_EQ(g_calls, expected);
}

using CMeasuring = std::tuple<std::wstring, LONG, LONG, UINT>;  // text, width, height, flags
std::vector<CMeasuring> g_measurings;
decltype(&DrawTextW) g_drawText;

int WINAPI RecordDrawing(HDC dc, LPCWSTR text, int length, LPRECT bounds, UINT flags) {
  g_measurings.emplace_back(text, bounds->right - bounds->left, bounds->bottom - bounds->top,
                            flags);
  return g_drawText(dc, text, length, bounds, flags);
}

TEST(QuestionBoxCalls, TextAndCheckBoxAreMeasuredInTheirOwnWidths) {
  const CImportPatch patch("user32.dll", "DrawTextW", &RecordDrawing);
  g_drawText = patch.Original<decltype(DrawTextW)>();
  g_measurings.clear();
  ShowTo({.text = kText, .checkLabel = kCheckLabel}, [](HWND) {});
  ASSERT_GE(g_measurings.size(), 2u);
  EXPECT_EQ(g_measurings[0], (CMeasuring{kText, 386, 10000, 0xC10}));
  EXPECT_EQ(g_measurings[1], (CMeasuring{kCheckLabel, 374, 10000, 0xC10}));
}

using CChildWindow = std::pair<int, std::wstring>;  // identifier and text
std::vector<CChildWindow> g_destroyed;
decltype(&DestroyWindow) g_destroyWindow;

BOOL WINAPI RecordDestruction(HWND window) {
  g_destroyed.emplace_back(GetDlgCtrlID(window), TextOf(window));
  return g_destroyWindow(window);
}

TEST(QuestionBoxCalls, CommandDestroysButtonsCheckBoxTextAndIcon) {
  const CImportPatch patch("user32.dll", "DestroyWindow", &RecordDestruction);
  g_destroyWindow = patch.Original<decltype(DestroyWindow)>();
  g_destroyed.clear();
  ShowTo({.text = kText, .labels = {L"A", L"B", L"C", L"D"}, .checkLabel = kCheckLabel},
         [](HWND box) {
           Click(box, 7);
           WaitUntilGone(box);
         });
  const std::vector<CChildWindow> expected = {{6, L"A"},        {7, L"B"},  {2, L"C"}, {3, L"D"},
                                              {0, kCheckLabel}, {0, kText}, {0, L""}};
  EXPECT_EQ(g_destroyed, expected);
}

TEST(QuestionBoxCalls, DestroyedChildrenAreForgotten) {
  // A second command comes while the icon, the last child, is being destroyed for the first.
  const CImportPatch patch(
      "user32.dll", "DestroyWindow", +[](HWND window) -> BOOL {
        const bool isIcon = GetDlgCtrlID(window) == 0 && TextOf(window).empty();
        const BOOL result = RecordDestruction(window);
        if (isIcon && result) {
          SendMessageW(g_box, WM_COMMAND, 7, 0);
        }
        return result;
      });
  g_destroyWindow = patch.Original<decltype(DestroyWindow)>();
  g_destroyed.clear();
  ShowTo({.text = kText}, [](HWND box) {
    g_box = box;
    Click(box, 6);
    WaitUntilGone(box);
  });
  // Only the icon was still known: the second attempt, at a window that has gone, fails.
  const std::vector<CChildWindow> expected = {{6, L"Open"}, {7, L"Save"}, {2, L"Cancel"},
                                              {0, kText},   {0, L""},     {0, L""}};
  EXPECT_EQ(g_destroyed, expected);
}

}  // namespace
