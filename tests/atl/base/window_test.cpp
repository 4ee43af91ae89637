#include <gtest/gtest.h>

#include <atlwin.h>

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

}  // namespace
