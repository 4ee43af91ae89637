#include "tests/faults/quick_cut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

TEST(QuickIndices, FiveSeedsInARowTakeEveryCellOnce) {
  for (const size_t count : {size_t{6}, size_t{7}, size_t{103}}) {
    std::vector<size_t> all(count);
    std::iota(all.begin(), all.end(), size_t{0});
    for (const unsigned first : {0u, 5u, 16777210u}) {
      std::vector<size_t> taken;
      for (unsigned seed = first; seed < first + 5; ++seed) {
        const std::vector<size_t> part = QuickIndices(count, seed);
        EXPECT_LE(part.size(), count < 7 ? count : (count + 4) / 5);
        taken.insert(taken.end(), part.begin(), part.end());
      }
      std::sort(taken.begin(), taken.end());
      taken.erase(std::unique(taken.begin(), taken.end()), taken.end());
      EXPECT_EQ(taken, all);
    }
  }
  EXPECT_NE(QuickIndices(25, 0), QuickIndices(25, 5)) << "another division of the table";
}

}  // namespace
