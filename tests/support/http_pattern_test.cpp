#include "tests/support/http_pattern.h"

#include <gtest/gtest.h>

namespace {

constexpr size_t kBlock = 65536;

TEST(HttpPattern, PiecesAreTheWholeInParts) {
  const std::string whole = PatternBytes(7, 0, 3 * kBlock + 10);
  ASSERT_EQ(whole.size(), 3 * kBlock + 10);
  for (const size_t offset : {size_t{0}, size_t{1}, kBlock - 1, kBlock, 2 * kBlock + 7}) {
    EXPECT_TRUE(PatternBytes(7, offset, kBlock) == whole.substr(offset, kBlock)) << offset;
  }
}

TEST(HttpPattern, SeedsAndBlocksDiffer) {
  EXPECT_NE(PatternBytes(1, 0, 16), PatternBytes(2, 0, 16));
  EXPECT_NE(PatternBytes(1, 0, 16), PatternBytes(1, kBlock, 16));
  EXPECT_EQ(PatternBytes(1, 0, 0), "");
}

TEST(HttpPattern, MismatchIsFoundWhereItIs) {
  std::string data = PatternBytes(3, 1000, 200000);
  EXPECT_EQ(FindPatternMismatch(3, 1000, data), std::nullopt);
  EXPECT_EQ(FindPatternMismatch(3, 1000, ""), std::nullopt);
  for (const size_t position : {size_t{0}, size_t{64535}, size_t{64536}, data.size() - 1}) {
    data[position] = static_cast<char>(data[position] ^ 1);
    EXPECT_EQ(FindPatternMismatch(3, 1000, data), position);
    data[position] = static_cast<char>(data[position] ^ 1);
  }
}

TEST(HttpPattern, ALostBlockIsFound) {
  std::string data = PatternBytes(3, 0, 4 * kBlock);
  data.erase(kBlock, kBlock);
  const auto mismatch = FindPatternMismatch(3, 0, data);
  ASSERT_TRUE(mismatch.has_value());
  EXPECT_GE(*mismatch, kBlock);
  EXPECT_LT(*mismatch, kBlock + 8);
}

}  // namespace
