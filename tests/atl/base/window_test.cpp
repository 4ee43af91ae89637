#include <gtest/gtest.h>

#include <atlstr.h>
#include <atlwin.h>

namespace {

/// A hidden overlapped window with an edit control as its child.
class Window : public testing::Test {
 protected:
  void SetUp() override {
    RECT rect = {100, 120, 400, 320};
    ASSERT_NE(nullptr, m_window.Create(L"STATIC", nullptr, rect, L"title", WS_OVERLAPPEDWINDOW));
    RECT childRect = {10, 20, 110, 60};
    ASSERT_NE(nullptr, m_child.Create(L"EDIT", m_window, childRect, L"text", WS_CHILD, 0, 42U));
  }
  void TearDown() override {
    if (m_window.IsWindow()) {
      m_window.DestroyWindow();
    }
  }
  static LONG Width(const RECT& rect) { return rect.right - rect.left; }
  static LONG Height(const RECT& rect) { return rect.bottom - rect.top; }

  CWindow m_window;
  CWindow m_child;
};

TEST_F(Window, WithoutARectangleTheSystemChoosesOne) {
  CWindow window;
  ASSERT_NE(nullptr, window.Create(L"STATIC", nullptr, nullptr, L"", WS_OVERLAPPEDWINDOW));
  RECT rect;
  EXPECT_TRUE(window.GetWindowRect(&rect));
  EXPECT_LT(100, Width(rect));
  EXPECT_LT(100, Height(rect));
  window.DestroyWindow();
}

TEST_F(Window, Text) {
  CString text;
  EXPECT_EQ(5, m_window.GetWindowText(text));
  EXPECT_STREQ(L"title", text);
  EXPECT_TRUE(m_window.SetWindowText(L"ne\x00fc \x4f60"));
  EXPECT_EQ(5, m_window.GetWindowTextLength());
  m_window.GetWindowText(text);
  EXPECT_STREQ(L"ne\x00fc \x4f60", text);
  wchar_t buffer[3];
  EXPECT_EQ(2, m_window.GetWindowText(buffer, 3));
  EXPECT_STREQ(L"ne", buffer);
  m_window.SetWindowText(L"");
  EXPECT_EQ(0, m_window.GetWindowText(text));
  EXPECT_TRUE(text.IsEmpty());
}

TEST_F(Window, DialogItems) {
  EXPECT_EQ(m_child.m_hWnd, m_window.GetDlgItem(42).m_hWnd);
  EXPECT_EQ(nullptr, m_window.GetDlgItem(43).m_hWnd);
  EXPECT_EQ(42, m_child.GetDlgCtrlID());
  EXPECT_TRUE(m_window.SetDlgItemText(42, L"changed"));
  wchar_t buffer[16];
  EXPECT_EQ(7U, m_window.GetDlgItemText(42, buffer, 16));
  EXPECT_STREQ(L"changed", buffer);
  EXPECT_EQ(7, m_window.SendDlgItemMessage(42, WM_GETTEXTLENGTH));
  EXPECT_EQ(7, m_child.SendMessage(WM_GETTEXTLENGTH));
  EXPECT_EQ(m_window.m_hWnd, m_child.GetParent().m_hWnd);
  EXPECT_EQ(m_window.m_hWnd, m_child.GetTopLevelParent().m_hWnd);
  EXPECT_TRUE(m_window.IsChild(m_child));
}

TEST_F(Window, Styles) {
  EXPECT_EQ(static_cast<DWORD>(WS_CHILD), m_child.GetStyle() & (WS_CHILD | WS_POPUP));
  EXPECT_TRUE(m_child.ModifyStyle(0, WS_TABSTOP));
  EXPECT_NE(0U, m_child.GetStyle() & WS_TABSTOP);
  EXPECT_FALSE(m_child.ModifyStyle(0, WS_TABSTOP));
  EXPECT_TRUE(m_child.ModifyStyle(WS_TABSTOP, 0, SWP_FRAMECHANGED));
  EXPECT_EQ(0U, m_child.GetStyle() & WS_TABSTOP);
  EXPECT_TRUE(m_window.ModifyStyleEx(0, WS_EX_TOOLWINDOW));
  EXPECT_NE(0U, m_window.GetExStyle() & WS_EX_TOOLWINDOW);
}

TEST_F(Window, State) {
  EXPECT_TRUE(m_child.IsWindowEnabled());
  EXPECT_FALSE(m_child.EnableWindow(FALSE));
  EXPECT_FALSE(m_child.IsWindowEnabled());
  EXPECT_TRUE(m_child.EnableWindow());
  EXPECT_FALSE(m_window.IsWindowVisible());
  m_window.ShowWindow(SW_SHOWNA);
  EXPECT_TRUE(m_window.IsWindowVisible());
}

TEST_F(Window, Rectangles) {
  RECT rect;
  EXPECT_TRUE(m_child.GetWindowRect(&rect));
  EXPECT_EQ(100, Width(rect));
  RECT client = rect;
  EXPECT_TRUE(m_window.ScreenToClient(&client));
  EXPECT_EQ(10, client.left);
  EXPECT_EQ(20, client.top);
  EXPECT_EQ(110, client.right);
  EXPECT_TRUE(m_window.ClientToScreen(&client));
  EXPECT_TRUE(::EqualRect(&rect, &client));
  RECT mapped = {0, 0, 5, 6};
  m_child.MapWindowPoints(m_window, &mapped);
  EXPECT_EQ(10, mapped.left);
  EXPECT_EQ(26, mapped.bottom);
  const RECT moved = {1, 2, 31, 42};
  EXPECT_TRUE(m_child.MoveWindow(&moved));
  m_child.GetClientRect(&rect);
  EXPECT_EQ(30, rect.right);
  EXPECT_TRUE(m_child.SetWindowPos(nullptr, 5, 6, 0, 0, SWP_NOSIZE | SWP_NOZORDER));
  m_child.GetWindowRect(&rect);
  m_window.ScreenToClient(&rect);
  EXPECT_EQ(5, rect.left);
  EXPECT_EQ(40, Height(rect));
}

TEST_F(Window, Font) {
  const auto font = static_cast<HFONT>(::GetStockObject(DEFAULT_GUI_FONT));
  m_child.SetFont(font);
  EXPECT_EQ(font, m_child.GetFont());
}

TEST_F(Window, Timer) {
  EXPECT_EQ(7U, m_window.SetTimer(7, 1));
  MSG msg;
  ASSERT_TRUE(::GetMessageW(&msg, m_window, WM_TIMER, WM_TIMER));
  EXPECT_EQ(7U, msg.wParam);
  EXPECT_TRUE(m_window.KillTimer(7));
  EXPECT_FALSE(m_window.KillTimer(7));
}

TEST_F(Window, AttachDetachDestroy) {
  CWindow other;
  EXPECT_FALSE(other.IsWindow());
  other.Attach(m_child);
  EXPECT_EQ(m_child.m_hWnd, other.Detach());
  EXPECT_EQ(nullptr, other.m_hWnd);
  other = m_child;
  EXPECT_TRUE(other.DestroyWindow());
  EXPECT_EQ(nullptr, other.m_hWnd);
  EXPECT_FALSE(m_child.IsWindow());
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
  RECT start = {0, 0, 60, 40};
  CWindow owned;
  ASSERT_NE(nullptr, owned.Create(L"STATIC", m_window, start, L"", WS_POPUP));
  ASSERT_TRUE(owned.CenterWindow());
  RECT owner;
  RECT rect;
  m_window.GetWindowRect(&owner);
  owned.GetWindowRect(&rect);
  EXPECT_NEAR(owner.left + owner.right, rect.left + rect.right, 2);
  EXPECT_NEAR(owner.top + owner.bottom, rect.top + rect.bottom, 2);
  EXPECT_EQ(60, Width(rect));

  m_window.MoveWindow(-250, -150, 300, 200);
  ASSERT_TRUE(owned.CenterWindow());
  owned.GetWindowRect(&rect);
  MONITORINFO info = {};
  info.cbSize = sizeof(info);
  ASSERT_TRUE(::GetMonitorInfoW(::MonitorFromWindow(m_window, MONITOR_DEFAULTTONEAREST), &info));
  EXPECT_EQ(info.rcWork.left, rect.left);
  EXPECT_EQ(info.rcWork.top, rect.top);
}

TEST_F(Window, CenterWindowIgnoresAHiddenOwner) {
  RECT start = {0, 0, 60, 40};
  CWindow owned;
  ASSERT_NE(nullptr, owned.Create(L"STATIC", m_window, start, L"", WS_POPUP));
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
  m_window.ScreenToClient(&rect);
  m_window.GetClientRect(&client);
  EXPECT_NEAR(client.right, rect.left + rect.right, 2);
  EXPECT_NEAR(client.bottom, rect.top + rect.bottom, 2);
}

}  // namespace
