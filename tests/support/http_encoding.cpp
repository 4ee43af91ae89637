#include "tests/support/http_encoding.h"

#include <charconv>
#include <cstdint>
#include <stdexcept>

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool IsAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

void AppendHex(std::string& text, char byte) {
  const auto value = static_cast<unsigned char>(byte);
  text += kHexDigits[value >> 4];
  text += kHexDigits[value & 15];
}

}  // namespace

std::string JsonString(std::string_view bytes) {
  std::string text = "\"";
  for (const char c : bytes) {
    if (c < ' ' || c > '~' || c == '"' || c == '\\') {
      text += "\\u00";
      AppendHex(text, c);
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

std::string PercentEncode(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    if (IsAlphanumeric(c) || c == '-' || c == '.' || c == '_' || c == '~') {
      text += c;
    } else {
      text += '%';
      AppendHex(text, c);
    }
  }
  return text;
}

std::string PercentDecode(std::string_view text) {
  std::string bytes;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      bytes += text[i];
      continue;
    }
    const std::string_view digits = text.substr(i + 1, 2);
    unsigned char value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || digits.size() != 2 || end != digits.data() + 2) {
      throw std::runtime_error("bad percent-encoding: " + std::string(text));
    }
    bytes += static_cast<char>(value);
    i += 2;
  }
  return bytes;
}
