#include "tools/support/utf8.h"

#include <windows.h>

std::string ToUtf8(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  const int needed =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<size_t>(needed), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, result.data(), needed, nullptr, nullptr);
  return result;
}

std::wstring FromUtf8(std::string_view text) {
  const int length = static_cast<int>(text.size());
  const int needed = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  std::wstring result(static_cast<size_t>(needed), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), length, result.data(), needed);
  return result;
}
