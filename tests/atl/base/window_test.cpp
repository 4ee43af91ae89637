#include <gtest/gtest.h>

#include <atlwin.h>

#include <optional>
#include <string>
#include <utility>

#include "tests/support/import_spy.h"

using namespace ATL;

namespace {

HWND Make(DWORD style, HWND owner) {
  return ::CreateWindowExW(0, L"STATIC", L"", style, 0, 0, 60, 40, owner, nullptr, nullptr,
                           nullptr);
}

RECT RectOf(const CWindow& window) {
  RECT rect = {};
  EXPECT_TRUE(window.GetWindowRect(&rect));
  return rect;
}

void ExpectSameCentre(const RECT& expected, const CWindow& window) {
  const RECT found = RectOf(window);
  EXPECT_NEAR(expected.left + expected.right, found.left + found.right, 2);
  EXPECT_NEAR(expected.top + expected.bottom, found.top + found.bottom, 2);
}

TEST(Window, CenterWindowUsesVisibleOwnerInsideTheWorkArea) {
  CWindow owner(Make(WS_OVERLAPPEDWINDOW, nullptr));
  CWindow owned(Make(WS_POPUP, owner));
  RECT area = {};
  ASSERT_TRUE(::SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0));
  ::MoveWindow(owner, 100, 120, 300, 200, FALSE);
  ASSERT_TRUE(owner.CenterWindow());
  ExpectSameCentre(area, owner);
  ::MoveWindow(owner, 100, 120, 300, 200, FALSE);
  ASSERT_TRUE(owned.CenterWindow());
  ExpectSameCentre(area, owned);

  owner.ShowWindow(SW_SHOWNA);
  ASSERT_TRUE(owned.CenterWindow());
  ExpectSameCentre(RectOf(owner), owned);
  EXPECT_EQ(60, RectOf(owned).right - RectOf(owned).left);
  ::MoveWindow(owner, area.left - 250, area.top - 150, 300, 200, FALSE);
  ASSERT_TRUE(owned.CenterWindow());
  EXPECT_EQ(area.left, RectOf(owned).left);
  EXPECT_EQ(area.top, RectOf(owned).top);
  ::MoveWindow(owner, area.right - 40, area.bottom - 30, 300, 200, FALSE);
  ASSERT_TRUE(owned.CenterWindow());
  EXPECT_EQ(area.right, RectOf(owned).right);
  EXPECT_EQ(area.bottom, RectOf(owned).bottom);
  ::DestroyWindow(owner);
}

constexpr RECT kPlace = {10, 20, 110, 70};

/// Logs its messages.
class CLoggedWindow : public CWindowImpl<CLoggedWindow> {
 public:
  // clang-format off
  BEGIN_MSG_MAP(CLoggedWindow)
    MESSAGE_HANDLER(WM_NCCREATE, OnNcCreate)
    MESSAGE_HANDLER(WM_CREATE, OnCreate)
    MESSAGE_HANDLER(WM_USER, OnUser)
    MESSAGE_HANDLER(WM_USER + 1, OnDestroySelf)
    MESSAGE_HANDLER(WM_NCDESTROY, OnNcDestroy)
  END_MSG_MAP()
  // clang-format on

  LRESULT OnNcCreate(UINT, WPARAM, LPARAM, BOOL& handled) {
    EXPECT_NE(nullptr, m_hWnd);
    m_log += "nccreate;";
    handled = FALSE;
    return 0;
  }
  LRESULT OnCreate(UINT, WPARAM, LPARAM, BOOL&) {
    m_log += "create;";
    return m_refuses ? -1 : 0;
  }
  LRESULT OnUser(UINT, WPARAM wParam, LPARAM, BOOL&) { return static_cast<LRESULT>(wParam) + 1; }
  LRESULT OnDestroySelf(UINT, WPARAM, LPARAM, BOOL&) {
    DestroyWindow();
    EXPECT_EQ(nullptr, m_hWnd);
    m_log += "destroyed;";
    return 5;
  }
  LRESULT OnNcDestroy(UINT, WPARAM, LPARAM, BOOL& handled) {
    m_log += "ncdestroy;";
    handled = m_swallowLast;
    return 0;
  }

  bool m_refuses = false;
  BOOL m_swallowLast = FALSE;
  std::string m_log;
};

class CPlainWindow : public CWindowImpl<CPlainWindow> {
 public:
  BEGIN_MSG_MAP(CPlainWindow)
  END_MSG_MAP()
};

class WindowImpl : public testing::Test {
 protected:
  void TearDown() override { ::DestroyWindow(m_parent); }

  const HWND m_parent = ::CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300,
                                          nullptr, nullptr, nullptr, nullptr);
};

TEST_F(WindowImpl, ObjectReceivesFirstMessageToLast) {
  for (const BOOL swallowLast : {FALSE, TRUE}) {
    CLoggedWindow window;
    window.m_swallowLast = swallowLast;
    ASSERT_NE(nullptr, window.Create(m_parent, kPlace));
    EXPECT_EQ(WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS,
              ::GetWindowLongPtr(window, GWL_STYLE));
    EXPECT_EQ(m_parent, ::GetParent(window));
    RECT place;
    EXPECT_TRUE(window.GetWindowRect(&place));
    ::MapWindowPoints(nullptr, m_parent, reinterpret_cast<POINT*>(&place), 2);
    EXPECT_TRUE(::EqualRect(&kPlace, &place));
    EXPECT_EQ(8, ::SendMessageW(window, WM_USER, 7, 0));
    EXPECT_EQ(5, ::SendMessageW(window, WM_USER + 1, 0, 0));
    EXPECT_EQ("nccreate;create;ncdestroy;destroyed;", window.m_log);
  }
}

TEST_F(WindowImpl, RefusedCreationLeavesTheObjectReadyForAnother) {
  CLoggedWindow window;
  window.m_refuses = true;
  EXPECT_EQ(nullptr, window.Create(m_parent, kPlace));
  EXPECT_EQ(nullptr, window.m_hWnd);
  EXPECT_EQ("nccreate;create;ncdestroy;", window.m_log);
  window.m_refuses = false;
  EXPECT_NE(nullptr, window.Create(m_parent, kPlace));
  window.DestroyWindow();
}

TEST_F(WindowImpl, WindowThatOutlivesItsObjectHasTheDefaultProcedure) {
  const HWND handle = CLoggedWindow().Create(m_parent, kPlace);
  ASSERT_NE(nullptr, handle);
  EXPECT_EQ(0, ::SendMessageW(handle, WM_USER, 7, 0));
  EXPECT_TRUE(::DestroyWindow(handle));
}

/// A class that an earlier load of the module has left behind has the same name.
TEST(WindowImplClass, StaleWindowClassIsReplacedAndUnregisteredAtTheEnd) {
  WNDCLASSEX found = {};
  found.cbSize = sizeof(found);
  const HINSTANCE instance = _AtlBaseModule.GetModuleInstance();
  std::optional<CWndClassInfo> info(std::in_place, &::DefWindowProc);
  const std::wstring name = info->m_szName;
  info.reset();
  EXPECT_FALSE(::GetClassInfoEx(instance, name.c_str(), &found));
  WNDCLASSEX stale = {};
  stale.cbSize = sizeof(stale);
  stale.lpfnWndProc = [](HWND, UINT, WPARAM, LPARAM) -> LRESULT { return 0; };
  stale.hInstance = instance;
  stale.lpszClassName = name.c_str();
  ASSERT_NE(0, ::RegisterClassEx(&stale));
  info.emplace(&::DefWindowProc);
  EXPECT_EQ(name, info->m_szName);
  EXPECT_TRUE(::GetClassInfoEx(instance, name.c_str(), &found));
  EXPECT_EQ(&::DefWindowProc, found.lpfnWndProc);
}

TEST_F(WindowImpl, CreateReturnsNullWhileTheClassCannotBeRegistered) {
  CPlainWindow window;
  {
    const CImportSpy<&RegisterClassExW> spy("user32.dll", "RegisterClassExW",
                                            [](const WNDCLASSEXW*) -> ATOM { return 0; });
    EXPECT_EQ(nullptr, window.Create(m_parent, kPlace));
  }
  EXPECT_NE(nullptr, window.Create(m_parent, kPlace));
}

}  // namespace
