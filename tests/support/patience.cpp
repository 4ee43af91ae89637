#include "tests/support/patience.h"

#include <cstdlib>

DWORD PatienceMs() {
  static const char* const text = std::getenv("FOLIVO_PATIENCE_MS");
  return text != nullptr ? static_cast<DWORD>(std::strtoul(text, nullptr, 10)) : 60000;
}
