#include "tests/support/http_encoding.h"

#include <cstdint>

std::string JsonString(std::string_view bytes) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::string text = "\"";
  for (const char c : bytes) {
    if (c < ' ' || c > '~' || c == '"' || c == '\\') {
      const auto value = static_cast<unsigned char>(c);
      text += "\\u00";
      text += kHexDigits[value >> 4];
      text += kHexDigits[value & 15];
    } else {
      text += c;
    }
  }
  return text + '"';
}

std::string Base64(std::string_view bytes) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const std::string_view group = bytes.substr(i, 3);
    uint32_t bits = 0;
    for (size_t k = 0; k < 3; ++k) {
      bits = bits << 8 | (k < group.size() ? static_cast<unsigned char>(group[k]) : 0u);
    }
    for (size_t k = 0; k < 4; ++k) {
      text += k <= group.size() ? kAlphabet[bits >> (18 - 6 * k) & 63] : '=';
    }
  }
  return text;
}

std::string PercentDecode(std::string_view text) {
  std::string bytes;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      bytes += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
      i += 2;
    } else {
      bytes += text[i];
    }
  }
  return bytes;
}
