#include <gtest/gtest.h>

#include <atlwin.h>

using namespace ATL;

namespace {

/// A hidden overlapped window.
class Window : public testing::Test {
 protected:
  static HWND Make(DWORD style, const RECT& rect, HWND parent) {
    return ::CreateWindowExW(0, L"STATIC", L"", style, rect.left, rect.top, rect.right - rect.left,
                             rect.bottom - rect.top, parent, nullptr, nullptr, nullptr);
  }
  static RECT RectOf(const CWindow& window) {
    RECT rect = {};
    EXPECT_TRUE(window.GetWindowRect(&rect));
    return rect;
  }
  static RECT WorkArea(HWND window) {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    EXPECT_TRUE(::GetMonitorInfoW(::MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &info));
    return info.rcWork;
  }
  static void ExpectSameCentre(const RECT& expected, const RECT& found) {
    EXPECT_NEAR(expected.left + expected.right, found.left + found.right, 2);
    EXPECT_NEAR(expected.top + expected.bottom, found.top + found.bottom, 2);
  }
  void TearDown() override { ::DestroyWindow(m_window); }

  CWindow m_window{Make(WS_OVERLAPPEDWINDOW, {100, 120, 400, 320}, nullptr)};
};

TEST_F(Window, CenterWindowUsesTheWorkAreaWithoutVisibleOwner) {
  ASSERT_TRUE(m_window.CenterWindow());
  ExpectSameCentre(WorkArea(m_window), RectOf(m_window));
  ::MoveWindow(m_window, 0, 0, 100, 100, FALSE);
  CWindow owned(Make(WS_POPUP, {0, 0, 60, 40}, m_window));
  ASSERT_TRUE(owned.CenterWindow());
  ExpectSameCentre(WorkArea(owned), RectOf(owned));
}

TEST_F(Window, CenterWindowUsesTheVisibleOwnerInsideTheWorkArea) {
  m_window.ShowWindow(SW_SHOWNA);
  CWindow owned(Make(WS_POPUP, {0, 0, 60, 40}, m_window));
  ASSERT_TRUE(owned.CenterWindow());
  ExpectSameCentre(RectOf(m_window), RectOf(owned));
  EXPECT_EQ(60, RectOf(owned).right - RectOf(owned).left);

  ::MoveWindow(m_window, -250, -150, 300, 200, FALSE);
  ASSERT_TRUE(owned.CenterWindow());
  EXPECT_EQ(WorkArea(m_window).left, RectOf(owned).left);
  EXPECT_EQ(WorkArea(m_window).top, RectOf(owned).top);

  const RECT area = WorkArea(m_window);
  ::MoveWindow(m_window, area.right - 40, area.bottom - 30, 300, 200, FALSE);
  ASSERT_TRUE(owned.CenterWindow());
  EXPECT_EQ(area.right, RectOf(owned).right);
  EXPECT_EQ(area.bottom, RectOf(owned).bottom);
}

}  // namespace
