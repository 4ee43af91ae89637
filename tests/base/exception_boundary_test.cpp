#include "base/exception_boundary.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(ExceptionBoundary, EveryExceptionBecomesAFailure) {
  int calls = 0;
  EXPECT_EQ(CallGuarded([&] { ++calls; }), S_OK);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(CallGuarded([] { AtlThrow(E_ACCESSDENIED); }), E_ACCESSDENIED);
  EXPECT_EQ(CallGuarded([] { throw std::bad_alloc(); }), E_OUTOFMEMORY);
  EXPECT_EQ(CallGuarded([] { throw std::runtime_error("?"); }), E_FAIL);
  EXPECT_EQ(CallGuarded([] { throw 7; }), E_FAIL);
  // An exception is a failure even when its code is none.
  EXPECT_EQ(CallGuarded([] { AtlThrow(S_FALSE); }), E_FAIL);
}

}  // namespace
