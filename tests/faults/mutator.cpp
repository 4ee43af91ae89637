#include "tests/faults/mutator.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kCount = 10000;

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
  return text != nullptr ? std::atoi(text) : kCount;
}

unsigned MutationSeed() {
  static const unsigned seed = ChooseSeed();
  return seed;
}
