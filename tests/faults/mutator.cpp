#include "tests/faults/mutator.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "tests/faults/quick_cut.h"

namespace {

constexpr int kFullCount = 10000;
constexpr int kQuickCount = 1000;

unsigned ChooseSeed() {
  const char* const text = std::getenv("FOLIVO_FAULTS_SEED");
  const unsigned seed = text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10))
                                        : GetTickCount() & 0xFFFFFF;
  std::printf("FOLIVO_FAULTS_SEED=%u\n", seed);
  return seed;
}

}  // namespace

int MutationCount() {
  const char* const text = std::getenv("FOLIVO_FAULTS_COUNT");
  if (text != nullptr) {
    return std::atoi(text);
  }
  return IsQuickRun() ? kQuickCount : kFullCount;
}

unsigned MutationSeed() {
  static const unsigned seed = ChooseSeed();
  return seed;
}
