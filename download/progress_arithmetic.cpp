#include "download/progress_arithmetic.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

std::int32_t WrappingAdd(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::optional<std::int32_t> ProgressPercent(std::int32_t received, std::int32_t total) {
  // Quirk 28: 32 bits, and wraps.
  const auto hundredfold = static_cast<std::int32_t>(static_cast<std::uint32_t>(received) * 100U);
  const bool overflows = hundredfold == std::numeric_limits<std::int32_t>::min() && total == -1;
  if (total == 0 || overflows) {
    return std::nullopt;
  }
  return std::min(hundredfold / total, 100);
}
