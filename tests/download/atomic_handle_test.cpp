#include "download/atomic_handle.h"

#include <gtest/gtest.h>

#include <atomic>

#include "tests/support/parallel.h"

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

TEST_F(AtomicHandle, ClosesWhatItHoldsOnceAndKeepsTheLastError) {
  SetLastError(ERROR_DISK_FULL);
  {
    CNumber handle;
    EXPECT_FALSE(handle.IsOpen());
    EXPECT_EQ(handle.Get(), -1);
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
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DISK_FULL));
}

TEST_F(AtomicHandle, TakenHandleIsNotClosed) {
  {
    CNumber handle;
    handle.Put(7);
    EXPECT_EQ(handle.Take(), 7);
    EXPECT_EQ(handle.Take(), -1);
  }
  EXPECT_EQ(g_closes, 0);
}

TEST_F(AtomicHandle, ConcurrentClosersCloseOnce) {
  constexpr int kRounds = 2000;
  CNumber handle;
  std::atomic<int> turn{0};
  std::atomic<int> arrived{0};
  const auto closer = [&] {
    for (int round = 1; round <= kRounds; ++round) {
      while (turn < round) {
        SwitchToThread();
      }
      handle.Close();
      ++arrived;
    }
  };
  {
    const CParallel first(closer);
    const CParallel second(closer);
    for (int round = 1; round <= kRounds; ++round) {
      handle.Put(round);
      turn = round;
      while (arrived < 2 * round) {
        SwitchToThread();
      }
    }
  }
  EXPECT_EQ(g_closes, kRounds);
}

TEST(AtomicFile, EmptyIsTheInvalidHandleValue) {
  EXPECT_EQ(CAtomicFile().Get(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(CAtomicInternetHandle().Get(), nullptr);
}

}  // namespace
