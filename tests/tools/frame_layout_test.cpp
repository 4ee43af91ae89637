#include "tools/browser_host/frame_layout.h"

#include <gtest/gtest.h>

TEST(LayoutFrame, PutsThePartsSideBySideOverTheControl) {
  const FrameLayout layout = LayoutFrame({800, 600}, 16, 20);
  EXPECT_LT(layout.back.right, layout.stop.left);
  EXPECT_LT(layout.stop.right, layout.address.left);
  EXPECT_LT(layout.address.right, layout.go.left);
  EXPECT_LT(layout.go.right, 800);
  EXPECT_GT(layout.address.right - layout.address.left, 400);
  EXPECT_GT(layout.address.bottom - layout.address.top, 16);
  EXPECT_GT(layout.control.top, layout.address.bottom);
  EXPECT_EQ(layout.control.left, 0);
  EXPECT_EQ(layout.control.right, 800);
  EXPECT_EQ(layout.control.bottom, 580);
}

TEST(LayoutFrame, NeverTurnsAPartInsideOut) {
  for (const LONG width : {0L, 10L, 100L, 180L}) {
    const FrameLayout layout = LayoutFrame({width, 10}, 16, 20);
    for (const RECT& part : {layout.back, layout.stop, layout.address, layout.go, layout.control}) {
      EXPECT_LE(part.left, part.right);
      EXPECT_LE(part.right, width);
      EXPECT_LE(part.top, part.bottom);
    }
  }
}
