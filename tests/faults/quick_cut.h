#pragma once

#include <cstddef>
#include <cstdio>
#include <vector>

/// Whether only a part of the fault matrix is to run (FOLIVO_FAULTS_QUICK, which ./run test sets
/// without --full).
bool IsQuickRun();

/// The cells of a table that this run is to take, and a line that tells how many these are: all of
/// them, or in a quick run every fifth of a table that is not short.
template <typename Cell>
std::vector<Cell> QuickCut(const std::vector<Cell>& cells) {
  constexpr size_t kQuickStep = 5;
  constexpr size_t kShortTable = 6;
  const size_t step = IsQuickRun() && cells.size() > kShortTable ? kQuickStep : 1;
  std::vector<Cell> chosen;
  for (size_t i = 0; i < cells.size(); i += step) {
    chosen.push_back(cells[i]);
  }
  std::printf("%zu of %zu cells\n", chosen.size(), cells.size());
  return chosen;
}

/// The same for a table in an array.
template <typename Cell, size_t kCount>
std::vector<Cell> QuickCut(const Cell (&cells)[kCount]) {
  return QuickCut(std::vector<Cell>(cells, cells + kCount));
}
