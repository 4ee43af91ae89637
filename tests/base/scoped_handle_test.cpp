#include "base/scoped_handle.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

std::vector<int> g_closed;

struct CNumberTraits {
  using Handle = int;
  static Handle Empty() { return -1; }
  static void Close(Handle handle) {
    g_closed.push_back(handle);
    SetLastError(ERROR_INVALID_HANDLE);
  }
};
using CScopedNumber = CScopedHandle<CNumberTraits>;

class ScopedHandle : public testing::Test {
 protected:
  void SetUp() override { g_closed.clear(); }
};

TEST_F(ScopedHandle, HeldHandleIsClosedOnceAndTheLastErrorStays) {
  SetLastError(ERROR_DISK_FULL);
  {
    const CScopedNumber handle(4);
    EXPECT_EQ(handle.Get(), 4);
    EXPECT_TRUE(handle);
    CScopedNumber closed(0);  // a value that is false but not empty
    EXPECT_TRUE(closed);
    closed.Close();
    EXPECT_FALSE(closed);
  }
  EXPECT_EQ(g_closed, (std::vector{0, 4}));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
}

TEST_F(ScopedHandle, EmptyOrDetachedHandleIsNotClosed) {
  {
    const CScopedNumber empty;
    EXPECT_FALSE(empty);
    EXPECT_EQ(empty.Get(), -1);
    CScopedNumber detached(4);
    EXPECT_EQ(detached.Detach(), 4);
    EXPECT_FALSE(detached);
  }
  EXPECT_EQ(g_closed, std::vector<int>());
}

TEST_F(ScopedHandle, MoveTransfersTheHandle) {
  {
    CScopedNumber first(1);
    CScopedNumber second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): that is what is tested
    CScopedNumber third(3);
    third = std::move(second);
    EXPECT_EQ(g_closed, std::vector{3});
    EXPECT_EQ(third.Get(), 1);
  }
  EXPECT_EQ(g_closed, (std::vector{3, 1}));
}

}  // namespace
