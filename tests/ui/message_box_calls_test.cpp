// How the question box builds and destroys its window, where the finished box does not show it: by
// the calls it makes.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/import_spy.h"
#include "tests/support/user.h"
#include "tests/ui/question_box.h"

namespace {

constexpr wchar_t kText[] = L"Shall we?";
constexpr wchar_t kCheckLabel[] = L"Do not ask again";

TEST(QuestionBoxCalls, WindowIsHiddenMovedCentredAndShownTopmostLast) {
  std::string calls;
  HWND box = nullptr;  // the window of the first call
  HDC firstDC = nullptr;
  // Takes down a call for the box itself, not for its controls.
  const auto note = [&](HWND window, const std::string& call) {
    box = box != nullptr ? box : window;
    calls += window == box ? call + " " : "";
  };
  const CImportSpy<&ShowWindow> show("user32.dll", "ShowWindow", [&](HWND window, int command) {
    note(window, "show " + std::to_string(command));
    return show.CallOriginal(window, command);
  });
  const CImportSpy<&MoveWindow> move(
      "user32.dll", "MoveWindow", [&](HWND window, int x, int y, auto... others) {
        note(window, "move to " + std::to_string(x) + "," + std::to_string(y));
        EXPECT_FALSE(std::get<2>(std::tuple(others...))) << "no repaint";
        return move.CallOriginal(window, x, y, others...);
      });
  const CImportSpy<&BringWindowToTop> top("user32.dll", "BringWindowToTop", [&](HWND window) {
    note(window, "top");
    return top.CallOriginal(window);
  });
  const CImportSpy<&GetDC> get("user32.dll", "GetDC", [&](HWND window) {
    const HDC dc = get.CallOriginal(window);
    firstDC = firstDC != nullptr ? firstDC : dc;
    return dc;
  });
  const CImportSpy<&ReleaseDC> release("user32.dll", "ReleaseDC", [&](HWND window, HDC dc) {
    if (dc == firstDC) {  // the row of buttons has others
      EXPECT_EQ(GetCurrentObject(dc, OBJ_FONT), GetStockObject(SYSTEM_FONT)) << "as it began";
      note(window, "release");
    }
    return release.CallOriginal(window, dc);
  });
  const CImportSpy<&UpdateWindow> update("user32.dll", "UpdateWindow", [&](HWND window) {
    note(window, "update");
    return update.CallOriginal(window);
  });
  const CImportSpy<&SetWindowPos> position(
      "user32.dll", "SetWindowPos",
      [&](HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
        note(window, after == HWND_TOPMOST ? "topmost" : "centre");
        if (after == HWND_TOPMOST) {
          RECT bounds = {};
          GetWindowRect(window, &bounds);
          const RECT given = {x, y, x + width, y + height};
          EXPECT_TRUE(EqualRect(&given, &bounds)) << "where it is";
          EXPECT_EQ(flags, static_cast<UINT>(SWP_SHOWWINDOW));
        }
        return position.CallOriginal(window, after, x, y, width, height, flags);
      });
  ShowTo({}, [&](HWND shown) { EXPECT_EQ(shown, box); });
  EXPECT_EQ(calls, "show 0 move to 0,0 centre top release update topmost ");
}

TEST(QuestionBoxCalls, TextAndCheckBoxAreMeasuredInTheirOwnWidths) {
  using CMeasuring = std::tuple<std::wstring, LONG, LONG, UINT>;  // text, width, height, flags
  std::vector<CMeasuring> measurings;
  const CImportSpy<&DrawTextW> draw(
      "user32.dll", "DrawTextW", [&](HDC dc, LPCWSTR text, int length, LPRECT bounds, UINT flags) {
        measurings.emplace_back(text, bounds->right - bounds->left, bounds->bottom - bounds->top,
                                flags);
        return draw.CallOriginal(dc, text, length, bounds, flags);
      });
  ShowTo({.text = kText, .checkLabel = kCheckLabel}, [](HWND) {});
  ASSERT_GE(measurings.size(), 2u);
  EXPECT_EQ(measurings[0], (CMeasuring{kText, 386, 10000, 0xC10}));
  EXPECT_EQ(measurings[1], (CMeasuring{kCheckLabel, 374, 10000, 0xC10}));
}

TEST(QuestionBoxCalls, CommandDestroysItsChildrenAndForgetsThem) {
  using CChild = std::pair<int, std::wstring>;  // identifier and text
  const std::vector<CChild> children = {{6, L"A"},        {7, L"B"},  {2, L"C"}, {3, L"D"},
                                        {0, kCheckLabel}, {0, kText}, {0, L""}};
  for (const bool again : {false, true}) {
    std::vector<CChild> destroyed;
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
    ShowTo({.text = kText, .labels = {L"A", L"B", L"C", L"D"}, .checkLabel = kCheckLabel},
           [&](HWND shown) {
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

}  // namespace
