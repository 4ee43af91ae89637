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
  static std::wstring TextOf(HWND window) {
    wchar_t text[32] = {};
    ::GetWindowTextW(window, text, 32);
    return text;
  }
  void TearDown() override { ::DestroyWindow(m_window); }
  static LONG Width(const RECT& rect) { return rect.right - rect.left; }

  CWindow m_window{Make(WS_OVERLAPPEDWINDOW, {100, 120, 400, 320}, nullptr)};
  CWindow m_child{Make(WS_CHILD, {10, 20, 110, 60}, m_window, L"EDIT", kChildId)};
};

TEST_F(Window, IsAWindowOrNot) {
  EXPECT_TRUE(m_window.IsWindow());
  EXPECT_FALSE(CWindow().IsWindow());
  EXPECT_EQ(m_window.m_hWnd, static_cast<HWND>(m_window));
}

TEST_F(Window, Text) {
  EXPECT_TRUE(m_window.SetWindowText(L"ne\x00fc \x4f60"));
  EXPECT_EQ(L"ne\x00fc \x4f60", TextOf(m_window));
}

TEST_F(Window, DialogItems) {
  EXPECT_EQ(m_child.m_hWnd, m_window.GetDlgItem(kChildId).m_hWnd);
  EXPECT_EQ(nullptr, m_window.GetDlgItem(kChildId + 1).m_hWnd);
  EXPECT_TRUE(m_window.SetDlgItemText(kChildId, L"changed"));
  EXPECT_EQ(7, m_window.SendDlgItemMessage(kChildId, WM_GETTEXTLENGTH));
}

TEST_F(Window, StyleAndPlace) {
  EXPECT_EQ(static_cast<DWORD>(WS_CHILD), m_child.GetStyle() & (WS_CHILD | WS_POPUP | WS_VISIBLE));
  m_child.ShowWindow(SW_SHOWNA);
  EXPECT_EQ(static_cast<DWORD>(WS_VISIBLE), m_child.GetStyle() & WS_VISIBLE);
  EXPECT_TRUE(m_child.SetWindowPos(nullptr, 5, 6, 0, 0, SWP_NOSIZE | SWP_NOZORDER));
  RECT rect;
  EXPECT_TRUE(m_child.GetWindowRect(&rect));
  ::MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&rect), 2);
  EXPECT_EQ(5, rect.left);
  EXPECT_EQ(6, rect.top);
  EXPECT_EQ(100, Width(rect));
}

TEST_F(Window, PostedMessage) {
  EXPECT_TRUE(m_window.PostMessage(WM_APP, 7, 8));
  MSG msg;
  ASSERT_TRUE(::PeekMessageW(&msg, m_window, WM_APP, WM_APP, PM_REMOVE));
  EXPECT_EQ(7U, msg.wParam);
  EXPECT_EQ(8, msg.lParam);
}

TEST_F(Window, Timer) {
  EXPECT_EQ(7U, m_window.SetTimer(7, 1));
  MSG msg;
  ASSERT_TRUE(::GetMessageW(&msg, m_window, WM_TIMER, WM_TIMER));
  EXPECT_EQ(7U, msg.wParam);
  EXPECT_TRUE(m_window.KillTimer(7));
  EXPECT_FALSE(m_window.KillTimer(7));
}

TEST_F(Window, CenterWindowOnTheWorkAreaWithoutOwner) {
  ASSERT_TRUE(m_window.CenterWindow());
  MONITORINFO info = {};
  info.cbSize = sizeof(info);
  ASSERT_TRUE(::GetMonitorInfoW(::MonitorFromWindow(m_window, MONITOR_DEFAULTTONEAREST), &info));
  RECT rect;
  m_window.GetWindowRect(&rect);
  EXPECT_NEAR(info.rcWork.left + info.rcWork.right, rect.left + rect.right, 2);
  EXPECT_NEAR(info.rcWork.top + info.rcWork.bottom, rect.top + rect.bottom, 2);
}

TEST_F(Window, CenterWindowOnItsVisibleOwnerInsideTheWorkArea) {
  m_window.ShowWindow(SW_SHOWNA);
  CWindow owned(Make(WS_POPUP, {0, 0, 60, 40}, m_window));
  ASSERT_TRUE(owned.IsWindow());
  ASSERT_TRUE(owned.CenterWindow());
  RECT owner;
  RECT rect;
  m_window.GetWindowRect(&owner);
  owned.GetWindowRect(&rect);
  EXPECT_NEAR(owner.left + owner.right, rect.left + rect.right, 2);
  EXPECT_NEAR(owner.top + owner.bottom, rect.top + rect.bottom, 2);
  EXPECT_EQ(60, Width(rect));

  ::MoveWindow(m_window, -250, -150, 300, 200, FALSE);
  ASSERT_TRUE(owned.CenterWindow());
  owned.GetWindowRect(&rect);
  MONITORINFO info = {};
  info.cbSize = sizeof(info);
  ASSERT_TRUE(::GetMonitorInfoW(::MonitorFromWindow(m_window, MONITOR_DEFAULTTONEAREST), &info));
  EXPECT_EQ(info.rcWork.left, rect.left);
  EXPECT_EQ(info.rcWork.top, rect.top);
}

TEST_F(Window, CenterWindowIgnoresAHiddenOwner) {
  CWindow owned(Make(WS_POPUP, {0, 0, 60, 40}, m_window));
  ASSERT_TRUE(owned.IsWindow());
  ASSERT_TRUE(owned.CenterWindow());
  RECT rect;
  owned.GetWindowRect(&rect);
  MONITORINFO info = {};
  info.cbSize = sizeof(info);
  ASSERT_TRUE(::GetMonitorInfoW(::MonitorFromWindow(owned, MONITOR_DEFAULTTONEAREST), &info));
  EXPECT_NEAR(info.rcWork.left + info.rcWork.right, rect.left + rect.right, 2);
}

TEST_F(Window, CenterWindowOfAChildUsesTheParentsClientArea) {
  ASSERT_TRUE(m_child.CenterWindow());
  RECT rect;
  RECT client;
  m_child.GetWindowRect(&rect);
  ::MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&rect), 2);
  ::GetClientRect(m_window, &client);
  EXPECT_NEAR(client.right, rect.left + rect.right, 2);
  EXPECT_NEAR(client.bottom, rect.top + rect.bottom, 2);
}

}  // namespace
