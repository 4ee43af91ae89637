#include "download/atomic_handle.h"

#include <gtest/gtest.h>

#include <atomic>

#include "tests/support/interruption.h"

namespace {

std::atomic<int> g_closes{0};

struct CNumberTraits {
  using Handle = int;
  static Handle Empty() { return -1; }
  static void Close(Handle) {
    ++g_closes;
    SetLastError(ERROR_INVALID_HANDLE);
  }
};
using CNumber = CAtomicHandle<CNumberTraits>;

class AtomicHandle : public testing::Test {
 protected:
  AtomicHandle() { g_closes = 0; }
};

TEST_F(AtomicHandle, HeldHandleIsClosedOnceAndTheLastErrorStays) {
  SetLastError(ERROR_DISK_FULL);
  {
    CNumber handle;
    EXPECT_FALSE(handle.IsOpen());
    handle.Put(0);
    EXPECT_TRUE(handle.IsOpen());
    handle.Close();
    handle.Close();
    EXPECT_FALSE(handle.IsOpen());
    EXPECT_EQ(g_closes, 1);
    handle.Put(1);
    handle.Put(2);
    EXPECT_EQ(g_closes, 2) << "the one before";
    EXPECT_EQ(handle.Get(), 2);
  }
  EXPECT_EQ(g_closes, 3);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
  CNumber handle;
  handle.Put(7);
  EXPECT_EQ(handle.Take(), 7);
  EXPECT_EQ(handle.Take(), -1);
  EXPECT_EQ(g_closes, 3) << "a handle that was taken is the taker's";
}

TEST_F(AtomicHandle, CloserIsTheOnlyOneWhereverItMeetsAnother) {
  bool isReached = true;
  int instructions = 1;
  for (; isReached; ++instructions) {
    CNumber handle;
    handle.Put(7);
    g_closes = 0;
    const CInterruption other(instructions, [&] { handle.Close(); });
    other.Arm();
    handle.Close();
    isReached = other.WasReached();
    EXPECT_EQ(g_closes, 1) << instructions;
  }
  EXPECT_GT(instructions, 10);
}

}  // namespace
