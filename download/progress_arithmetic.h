#pragma once

#include <cstdint>
#include <optional>

/// Size assumed for a body whose length the server did not tell, and the lead by which the
/// assumption is raised each time that the body outgrows it. Bytes.
inline constexpr std::int32_t kAssumedSize = 1000000;

/// `a + b` in 32 bits, wrapping like two's complement.
std::int32_t WrappingAdd(std::int32_t a, std::int32_t b);

/// Where the progress bar stands after `received` of `total` bytes: at most 100. Quirk 28: the
/// product received * 100 wraps in 32 bits, so a body of 21,474,837 bytes or more shows wrapped
/// values until its end. Nothing when `total` does not divide it: the bar is then left as it is.
std::optional<std::int32_t> ProgressPercent(std::int32_t received, std::int32_t total);
