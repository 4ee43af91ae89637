#pragma once

#include <string>
#include <string_view>

// The text forms in which the test server's control interface takes and gives bytes.

// A JSON string literal, quotes included, with one character U+0000..U+00FF for each byte.
std::string JsonString(std::string_view bytes);

// Base64 with padding, without line breaks.
std::string Base64(std::string_view bytes);

// Reverses percent-encoding; leaves unencoded characters as they are.
std::string PercentDecode(std::string_view text);
