#include <gtest/gtest.h>

#include <atlwin.h>

#include <string>

using namespace ATL;

namespace {

constexpr UINT kChildId = 42;

/// A hidden overlapped window with an edit control as its child.
class Window : public testing::Test {
 protected:
  static HWND Make(DWORD style, const RECT& rect, HWND parent,
                   const wchar_t* windowClass = L"STATIC", UINT id = 0) {
    return ::CreateWindowExW(0, windowClass, L"title", style, rect.left, rect.top,
                             rect.right - rect.left, rect.bottom - rect.top, parent,
                             reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), nullptr, nullptr);
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
  CWindow m_child{Make(WS_CHILD, {10, 20, 110, 60}, m_window, L"EDIT", kChildId)};
};

TEST_F(Window, MembersCallTheSystemsFunctions) {
  EXPECT_TRUE(m_window.IsWindow());
  EXPECT_FALSE(CWindow().IsWindow());
  EXPECT_TRUE(m_window.SetWindowText(L"ne\x00fc \x4f60"));
  wchar_t text[32] = {};
  ::GetWindowTextW(m_window, text, 32);
  EXPECT_STREQ(L"ne\x00fc \x4f60", text);
  EXPECT_EQ(m_child.m_hWnd, m_window.GetDlgItem(kChildId).m_hWnd);
  EXPECT_EQ(nullptr, m_window.GetDlgItem(kChildId + 1).m_hWnd);
  EXPECT_TRUE(m_window.SetDlgItemText(kChildId, L"changed"));
  EXPECT_EQ(7, m_window.SendDlgItemMessage(kChildId, WM_GETTEXTLENGTH));
  m_child.ShowWindow(SW_SHOWNA);
  EXPECT_NE(0, ::GetWindowLongPtr(m_child, GWL_STYLE) & WS_VISIBLE);
  EXPECT_TRUE(m_child.SetWindowPos(nullptr, 5, 6, 70, 80, SWP_NOZORDER));
  RECT rect = RectOf(m_child);
  ::MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&rect), 2);
  EXPECT_TRUE(rect.left == 5 && rect.top == 6 && rect.right == 75 && rect.bottom == 86);
}

TEST_F(Window, MessagesAndTimersReachTheQueue) {
  EXPECT_TRUE(m_window.PostMessage(WM_APP, 7, 8));
  MSG msg;
  ASSERT_TRUE(::PeekMessageW(&msg, m_window, WM_APP, WM_APP, PM_REMOVE));
  EXPECT_EQ(7U, msg.wParam);
  EXPECT_EQ(8, msg.lParam);
  EXPECT_EQ(7U, m_window.SetTimer(7, 1));
  ASSERT_TRUE(::GetMessageW(&msg, m_window, WM_TIMER, WM_TIMER));
  EXPECT_EQ(7U, msg.wParam);
  EXPECT_TRUE(m_window.KillTimer(7));
  EXPECT_FALSE(m_window.KillTimer(7));
}

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
