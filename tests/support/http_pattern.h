#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The seeded byte stream of the test server (tests/http_server/pattern.py holds the same
// generator): every byte follows from seed and offset, so a test checks a body without keeping a
// copy of it. All functions may be called from any thread.

// Bytes [offset, offset + length) of the stream of `seed`.
std::string PatternBytes(uint64_t seed, uint64_t offset, size_t length);

// The index in `data` of the first byte that differs from the stream at `offset`; nothing if `data`
// is exactly the stretch of the stream that begins there.
std::optional<size_t> FindPatternMismatch(uint64_t seed, uint64_t offset, std::string_view data);
