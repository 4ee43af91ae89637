#pragma once

#include <cstdint>
#include <optional>

/// Assumed size, in bytes, of a body whose length is unknown. Each time that more is received than
/// assumed, the assumption is set to the received size plus this value.
inline constexpr std::int32_t kAssumedSize = 1000000;

/// Returns `a + b` with two's complement overflow.
std::int32_t WrappingAdd(std::int32_t a, std::int32_t b);

/// Returns the progress bar's position, at most 100, after `received` of `total` bytes. Quirk 28:
/// the product received * 100 overflows in 32 bits, so for a body of 21,474,837 bytes or more the
/// position is wrong until its end. Returns nullopt when the division is impossible; the bar then
/// does not move.
std::optional<std::int32_t> ProgressPercent(std::int32_t received, std::int32_t total);
