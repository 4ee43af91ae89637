#include "tests/support/run_seed.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace {

unsigned ChooseSeed() {
  const char* const text = std::getenv("FOLIVO_TEST_SEED");
  const unsigned seed = text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10))
                                        : GetTickCount() & 0xFFFFFF;
  std::printf("FOLIVO_TEST_SEED=%u\n", seed);
  return seed;
}

}  // namespace

unsigned RunSeed() {
  static const unsigned seed = ChooseSeed();
  return seed;
}
