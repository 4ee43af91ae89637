#pragma once

#include <string>
#include <string_view>

// The text forms in which the test server's control interface takes and gives bytes.

// A JSON string literal, quotes included, with one character U+0000..U+00FF for each byte.
std::string JsonString(std::string_view bytes);

// Base64 with padding, without line breaks.
std::string Base64(std::string_view bytes);

// Percent-encodes every byte but ASCII letters, digits and -._~
std::string PercentEncode(std::string_view bytes);

// Reverses PercentEncode; also leaves unencoded characters as they are. Throws std::runtime_error
// when a percent sign is not followed by two hexadecimal digits.
std::string PercentDecode(std::string_view text);
