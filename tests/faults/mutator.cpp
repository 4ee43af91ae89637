#include "tests/faults/mutator.h"

#include <cstdlib>

namespace {

constexpr int kCount = 10000;

}  // namespace

int MutationCount() {
  const char* const text = std::getenv("FOLIVO_FAULTS_COUNT");
  return text != nullptr ? std::atoi(text) : kCount;
}
