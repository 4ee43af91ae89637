#include "tests/faults/quick_cut.h"

#include <cstdlib>

bool IsQuickRun() {
  static const bool isQuick = std::getenv("FOLIVO_FAULTS_QUICK") != nullptr;
  return isQuick;
}
