#include "download/transfer_debug.h"

#include <gtest/gtest.h>

#include "tests/support/parallel.h"

namespace {

TEST(TransferDebug, OtherThreadsMayNotCallWhileAThreadIsBound) {
  CBoundThread thread;
  const auto mayOthersCall = [&] {
    bool may = false;
    CParallel([&] { may = thread.MayCall(); }).Join();
    return may;
  };
  EXPECT_TRUE(thread.MayCall());
  EXPECT_TRUE(mayOthersCall());
  thread.Bind();
  EXPECT_TRUE(thread.MayCall());
  EXPECT_FALSE(mayOthersCall());
  thread.Unbind();
  EXPECT_TRUE(mayOthersCall());
}

}  // namespace
