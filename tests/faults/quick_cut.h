#pragma once

#include <cstddef>
#include <iterator>
#include <ranges>
#include <vector>

/// The indices of the cells of a table that this run takes, and a line that tells how many: all of
/// them, or in a quick run (FOLIVO_FAULTS_QUICK, which ./run test sets without --full) all of a
/// short table, else a fifth. Five seeds from a multiple of five on take each cell once. The next
/// five divide the table in another way, so that no row or column of it falls in step with the cut.
std::vector<size_t> RunIndices(size_t count);

/// The cells themselves.
template <typename Table>
auto QuickCut(const Table& table) {
  std::vector<std::ranges::range_value_t<Table>> chosen;
  for (const size_t index : RunIndices(std::size(table))) {
    chosen.push_back(table[index]);
  }
  return chosen;
}

/// For a loop from 1 on whose end shows only on the way: every number, or in a quick run every
/// `quickStep`th, from one on that the run's seed chooses.
struct CRunSteps {
  int first;
  int step;
};
CRunSteps RunSteps(int quickStep);
