#include "tests/faults/quick_cut.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <random>
#include <utility>

#include "tests/support/run_seed.h"

namespace {

constexpr size_t kQuickStep = 5;
constexpr size_t kShortTable = 6;

std::vector<size_t> AllIndices(size_t count) {
  std::vector<size_t> indices(count);
  std::iota(indices.begin(), indices.end(), size_t{0});
  return indices;
}

}  // namespace

bool IsQuickRun() {
  static const bool isQuick = std::getenv("FOLIVO_FAULTS_QUICK") != nullptr;
  return isQuick;
}

std::vector<size_t> QuickIndices(size_t count, unsigned seed) {
  std::vector<size_t> order = AllIndices(count);
  if (count <= kShortTable) {
    return order;
  }
  // By hand: the library's own shuffle may differ from one version to the next.
  std::mt19937 random(static_cast<unsigned>(seed / kQuickStep));
  for (size_t left = count; left > 1; --left) {
    std::swap(order[left - 1], order[random() % left]);
  }
  std::vector<size_t> chosen;
  for (size_t i = seed % kQuickStep; i < count; i += kQuickStep) {
    chosen.push_back(order[i]);
  }
  std::sort(chosen.begin(), chosen.end());
  return chosen;
}

std::vector<size_t> RunIndices(size_t count) {
  std::vector<size_t> indices = IsQuickRun() ? QuickIndices(count, RunSeed()) : AllIndices(count);
  std::printf("%zu of %zu cells\n", indices.size(), count);
  return indices;
}

CRunSteps RunSteps(int quickStep) {
  const int step = IsQuickRun() ? quickStep : 1;
  return {1 + static_cast<int>(RunSeed() % static_cast<unsigned>(step)), step};
}
