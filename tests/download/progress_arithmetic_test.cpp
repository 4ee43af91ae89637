#include "download/progress_arithmetic.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

TEST(ProgressArithmetic, PercentIsTheWholePartAndWrapsInThirtyTwoBits) {
  const struct {
    std::int32_t received;
    std::int32_t total;
    std::int32_t percent;
  } cases[] = {
      {0, 1000, 0},
      {9, 1000, 0},
      {10, 1000, 1},
      {999, 1000, 99},
      {1000, 1000, 100},
      {1001, 1000, 100},
      {131072, 1000000, 13},
      {21474836, 21474836, 100},
      {21474836, kMax, 0},
      {1, 1, 100},
      {5000, 1, 100},
      {100, -1000, -10},
      {-50, 1000, -5},
      // 21,474,837 * 100 is 2^31 + 52: from here on the bar shows wrapped values.
      {21474837, 30000000, -71},
      {42949673, 100000000, 0},
      {64000000, 100000000, 21},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ProgressPercent(c.received, c.total), c.percent) << c.received << "/" << c.total;
  }
}

TEST(ProgressArithmetic, PercentIsNothingWhereDivisionFails) {
  EXPECT_FALSE(ProgressPercent(100, 0).has_value());
  EXPECT_FALSE(ProgressPercent(0, 0).has_value());
  // A multiple of a hundred can be the smallest number only modulo 2^32.
  const std::int32_t received = 1 << 29;  // times 100 is 2^31 * 25
  EXPECT_FALSE(ProgressPercent(received, -1).has_value());
  EXPECT_TRUE(ProgressPercent(received, -2).has_value());
  EXPECT_TRUE(ProgressPercent(received + 1, -1).has_value());
}

TEST(ProgressArithmetic, SumWrapsLikeTwosComplement) {
  EXPECT_EQ(WrappingAdd(1, 2), 3);
  EXPECT_EQ(WrappingAdd(kMax, 1), kMin);
  EXPECT_EQ(WrappingAdd(kMin, -1), kMax);
}

}  // namespace
