#include "download/transfer_debug.h"

#include <gtest/gtest.h>

#include "tests/support/parallel.h"

namespace {

TEST(TransferDebug, OnlyTheBoundThreadMayCall) {
  CBoundThread thread;
  const auto mayAnotherCall = [&] {
    bool mayCall = false;
    CParallel([&] { mayCall = thread.MayCall(); }).Join();
    return mayCall;
  };
  EXPECT_TRUE(mayAnotherCall());
  thread.Bind();
  EXPECT_TRUE(thread.MayCall());
  EXPECT_FALSE(mayAnotherCall());
  thread.Unbind();
  EXPECT_TRUE(mayAnotherCall());
}

}  // namespace
