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

bool IsQuickRun() { return std::getenv("FOLIVO_FAULTS_QUICK") != nullptr; }

}  // namespace

std::vector<size_t> RunIndices(size_t count) {
  std::vector<size_t> chosen(count);
  std::iota(chosen.begin(), chosen.end(), size_t{0});
  if (IsQuickRun() && count > kShortTable) {
    // By hand: the library's own shuffle may differ from one version to the next.
    std::mt19937 random(static_cast<unsigned>(RunSeed() / kQuickStep));
    for (size_t left = count; left > 1; --left) {
      std::swap(chosen[left - 1], chosen[random() % left]);
    }
    size_t place = RunSeed() % kQuickStep;
    std::erase_if(chosen, [&](size_t) { return place++ % kQuickStep != 0; });
    std::sort(chosen.begin(), chosen.end());
  }
  std::printf("%zu of %zu cells\n", chosen.size(), count);
  return chosen;
}

CRunSteps RunSteps(int quickStep) {
  const int step = IsQuickRun() ? quickStep : 1;
  return {1 + static_cast<int>(RunSeed() % static_cast<unsigned>(step)), step};
}
