#pragma once

#include <cstddef>
#include <vector>

/// Whether only a part of the fault matrix is to run (FOLIVO_FAULTS_QUICK, which ./run test sets
/// without --full).
bool IsQuickRun();

/// The cells of a quick run, by their indices, in order: all of a short table, else a fifth. Five
/// seeds from a multiple of five on take each cell once. The next five divide the table in another
/// way, so that no row or column of it falls in step with the cut.
std::vector<size_t> QuickIndices(size_t count, unsigned seed);

/// The indices of the cells that this run is to take, and a line that tells how many these are: all
/// of them, or in a quick run those that the run's seed chooses.
std::vector<size_t> RunIndices(size_t count);

/// For a loop from 1 on whose end shows only on the way: every number, or in a quick run every
/// `quickStep`th, from one on that the run's seed chooses.
struct CRunSteps {
  int first;
  int step;
};
CRunSteps RunSteps(int quickStep);

/// The cells of a table that this run is to take.
template <typename Cell>
std::vector<Cell> QuickCut(const std::vector<Cell>& cells) {
  std::vector<Cell> chosen;
  for (const size_t index : RunIndices(cells.size())) {
    chosen.push_back(cells[index]);
  }
  return chosen;
}

/// The same for a table in an array.
template <typename Cell, size_t kCount>
std::vector<Cell> QuickCut(const Cell (&cells)[kCount]) {
  return QuickCut(std::vector<Cell>(cells, cells + kCount));
}
