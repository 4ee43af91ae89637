#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The seeded byte stream of the test server (tests/http_server/pattern.py holds the same
// generator): every byte follows from seed and offset, so a test checks a body without keeping a
// copy of it. May be called from any thread.

// Bytes [offset, offset + length) of the stream of `seed`.
std::string PatternBytes(uint64_t seed, uint64_t offset, size_t length);
