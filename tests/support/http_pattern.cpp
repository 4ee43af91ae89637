#include "tests/support/http_pattern.h"

#include <algorithm>

namespace {

constexpr size_t kBlock = 65536;
constexpr uint64_t kStep = 40503;
constexpr uint64_t kWeyl = 0x9E3779B97F4A7C15;
constexpr uint64_t kMultiplier = 0x2545F4914F6CDD1D;

// The noise block of a seed, twice in a row, so that each rotation of it is one slice.
std::string MakeDoubledNoise(uint64_t seed) {
  std::string noise;
  noise.reserve(2 * kBlock);
  uint64_t state = seed * kWeyl + kMultiplier;
  if (state == 0) {
    state = 1;  // xorshift never leaves zero
  }
  while (noise.size() < kBlock) {
    state ^= state >> 12;
    state ^= state << 25;
    state ^= state >> 27;
    const uint64_t word = state * kMultiplier;
    for (int shift = 0; shift < 64; shift += 8) {
      noise.push_back(static_cast<char>(word >> shift));
    }
  }
  return noise + noise;
}

// The noise of the seed that this thread has used last: bodies are checked piece by piece.
std::string_view DoubledNoise(uint64_t seed) {
  thread_local uint64_t last_seed = 0;
  thread_local std::string noise;
  if (noise.empty() || seed != last_seed) {
    noise = MakeDoubledNoise(seed);
    last_seed = seed;
  }
  return noise;
}

// The stream at `offset`, up to the end of the block or to `length`, whichever comes first.
std::string_view PatternPiece(std::string_view noise, uint64_t offset, size_t length) {
  const uint64_t block = offset / kBlock;
  const size_t inside = offset % kBlock;
  const size_t rotation = (block * kStep) % kBlock;
  return noise.substr(rotation + inside, std::min(length, kBlock - inside));
}

}  // namespace

std::string PatternBytes(uint64_t seed, uint64_t offset, size_t length) {
  const std::string_view noise = DoubledNoise(seed);
  std::string bytes;
  bytes.reserve(length);
  while (bytes.size() < length) {
    bytes += PatternPiece(noise, offset + bytes.size(), length - bytes.size());
  }
  return bytes;
}
