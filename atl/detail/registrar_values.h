#pragma once

// The value types of a registry script and how their texts become bytes.

#include <algorithm>
#include <limits>

#include "registrar_script.h"
#include "registrar_tokens.h"

namespace ATL::detail {

inline std::vector<BYTE> BytesOf(const void* data, size_t size) {
  const BYTE* const bytes = static_cast<const BYTE*>(data);
  return {bytes, bytes + size};
}

/// The text with its terminator.
inline std::vector<BYTE> StringBytes(const std::wstring& text) {
  return BytesOf(text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

/// "one\0two" (backslash and digit) becomes a list of two strings. Empty strings are left out: the
/// first one would end the list.
inline std::vector<BYTE> MultiStringBytes(std::wstring_view text) {
  static constexpr std::wstring_view kSeparator = L"\\0";
  std::wstring list;
  while (!text.empty()) {
    const size_t end = std::min(text.find(kSeparator), text.size());
    if (end > 0) {
      list.append(text.substr(0, end)).push_back(L'\0');
    }
    text.remove_prefix(std::min(end + kSeparator.size(), text.size()));
  }
  return StringBytes(list);
}

/// -1 for a character that is no hexadecimal digit.
inline int HexDigit(wchar_t c) noexcept {
  if (c >= L'0' && c <= L'9') {
    return c - L'0';
  }
  if (c >= L'a' && c <= L'f') {
    return c - L'a' + 10;
  }
  return c >= L'A' && c <= L'F' ? c - L'A' + 10 : -1;
}

/// Decimal, or hexadecimal behind "&H" or "0x". The same in every locale.
inline std::vector<BYTE> DwordBytes(std::wstring_view text) {
  const std::wstring_view prefix = text.substr(0, 2);
  const bool isHex = EqualsIgnoreCase(prefix, L"&H") || EqualsIgnoreCase(prefix, L"0x");
  if (isHex) {
    text.remove_prefix(prefix.size());
  }
  const int base = isHex ? 16 : 10;
  unsigned long long number = 0;
  if (text.empty()) {
    ThrowScriptError();
  }
  for (const wchar_t c : text) {
    const int digit = HexDigit(c);
    if (digit < 0 || digit >= base) {
      ThrowScriptError();
    }
    number = number * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
    if (number > std::numeric_limits<DWORD>::max()) {
      ThrowScriptError();
    }
  }
  const DWORD value = static_cast<DWORD>(number);
  return BytesOf(&value, sizeof(value));
}

/// Two hexadecimal digits for each byte.
inline std::vector<BYTE> BinaryBytes(std::wstring_view text) {
  if (text.size() % 2 != 0) {
    ThrowScriptError();
  }
  std::vector<BYTE> bytes;
  for (size_t i = 0; i < text.size(); i += 2) {
    const int high = HexDigit(text[i]);
    const int low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) {
      ThrowScriptError();
    }
    bytes.push_back(static_cast<BYTE>(high << 4 | low));
  }
  return bytes;
}

/// type: s string, e string with environment variables, m list of strings, d number, b bytes.
inline RegistrarValue MakeRegistrarValue(std::wstring name, const std::wstring& type,
                                         const std::wstring& data) {
  if (type.size() != 1) {
    ThrowScriptError();
  }
  switch (type.front()) {
    case L's':
    case L'S':
      return {std::move(name), REG_SZ, StringBytes(data)};
    case L'e':
    case L'E':
      return {std::move(name), REG_EXPAND_SZ, StringBytes(data)};
    case L'm':
    case L'M':
      return {std::move(name), REG_MULTI_SZ, MultiStringBytes(data)};
    case L'd':
    case L'D':
      return {std::move(name), REG_DWORD, DwordBytes(data)};
    case L'b':
    case L'B':
      return {std::move(name), REG_BINARY, BinaryBytes(data)};
    default:
      ThrowScriptError();
  }
}

}  // namespace ATL::detail
