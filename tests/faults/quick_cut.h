#pragma once

#include <cstddef>
#include <iterator>
#include <ranges>
#include <vector>

/// Returns the indices of the table's cells to run, and prints how many: all, or in a quick run
/// (FOLIVO_FAULTS_QUICK, which ./run test sets without --full) a fifth of a table that is not
/// short. Five seeds from a multiple of five on run each cell once; the next five divide the table
/// in another way, so that a row or column is not always left out together.
std::vector<size_t> RunIndices(size_t count);

/// Returns copies of these cells.
template <typename Table>
auto QuickCut(const Table& table) {
  std::vector<std::ranges::range_value_t<Table>> chosen;
  for (const size_t index : RunIndices(std::size(table))) {
    chosen.push_back(table[index]);
  }
  return chosen;
}

/// For a loop from 1 to an end that is not known before: each number, or in a quick run each
/// `quickStep`th from a first one that the run's seed chooses.
struct CRunSteps {
  int first;
  int step;
};
CRunSteps RunSteps(int quickStep);
