#include "tests/faults/quick_cut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "tests/support/run_seed.h"

namespace {

using Indices = std::vector<size_t>;

Indices All(size_t count) {
  Indices all(count);
  std::iota(all.begin(), all.end(), size_t{0});
  return all;
}

TEST(QuickIndices, FiveSeedsInARowTakeEveryCellOnce) {
  for (const size_t count : {size_t{7}, size_t{25}, size_t{103}}) {
    for (const unsigned first : {0u, 5u, 16777210u}) {
      Indices taken;
      for (unsigned seed = first; seed < first + 5; ++seed) {
        const Indices part = QuickIndices(count, seed);
        EXPECT_TRUE(std::is_sorted(part.begin(), part.end()));
        EXPECT_LE(part.size(), (count + 4) / 5);
        taken.insert(taken.end(), part.begin(), part.end());
      }
      std::sort(taken.begin(), taken.end());
      EXPECT_EQ(taken, All(count));
    }
  }
}

TEST(QuickIndices, SeedsDivideATableInDifferentWays) {
  const Indices part = QuickIndices(25, 0);
  EXPECT_EQ(QuickIndices(25, 0), part);
  EXPECT_NE(QuickIndices(25, 5), part);
  // A table of five columns: not one of them alone.
  EXPECT_TRUE(std::any_of(part.begin(), part.end(),
                          [&](size_t index) { return index % 5 != part.front() % 5; }));
}

TEST(QuickIndices, ShortTableIsTakenWhole) { EXPECT_EQ(QuickIndices(6, 3), All(6)); }

TEST(QuickCut, TakesTheCellsOfTheRunsSeed) {
  const Indices cells = All(100);
  EXPECT_EQ(QuickCut(cells), IsQuickRun() ? QuickIndices(100, RunSeed()) : cells);
}

TEST(RunSteps, FirstIsAmongTheStepsOfTheRun) {
  const auto [first, step] = RunSteps(17);
  EXPECT_EQ(step, IsQuickRun() ? 17 : 1);
  EXPECT_EQ(first, IsQuickRun() ? 1 + static_cast<int>(RunSeed() % 17) : 1);
}

}  // namespace
