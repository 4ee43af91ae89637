// Cases that pass, fail or crash on purpose. harness_test.py runs them one by one and checks what
// the caller sees; the program is no test of its own.

#include <gmock/gmock.h>

#include <cstdlib>
#include <stdexcept>

namespace {

TEST(Probe, Passes) { SUCCEED(); }

TEST(Probe, Fails) { FAIL() << "as it should"; }

TEST(Probe, Throws) { throw std::runtime_error("as it should"); }

TEST(Probe, ReadsNull) {
  const int* volatile nowhere = nullptr;
  EXPECT_EQ(*nowhere, 0);
}

TEST(Probe, Aborts) { std::abort(); }

TEST(Probe, LeavesEarly) { std::exit(0); }

}  // namespace
