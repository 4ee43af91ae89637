#pragma once

#include <algorithm>
#include <string_view>

/// Whether a name can stand in the list of trusted hosts: a host name in lower case, without
/// scheme, "www.", port or slash.
constexpr bool IsBareHostName(std::wstring_view name) {
  constexpr std::wstring_view kCharacters = L"abcdefghijklmnopqrstuvwxyz0123456789-.";
  return !name.empty() && !name.starts_with(L"www.") &&
         name.find_first_not_of(kCharacters) == std::wstring_view::npos;
}
