#pragma once

#include <atlsimpstr.h>

#include <cstdarg>
#include <cstdio>
#include <cwctype>

namespace ATL {

/// What CStringT needs from the C library, by character type. Narrow strings are only put together,
/// which needs nothing.
template <typename BaseType>
struct ChTraitsCRT : ChTraitsBase<BaseType> {};

template <>
struct ChTraitsCRT<wchar_t> : ChTraitsBase<wchar_t> {
  static int Compare(PCXSTR a, PCXSTR b) noexcept { return std::wcscmp(a, b); }
  static int CompareNoCase(PCXSTR a, PCXSTR b) noexcept { return ::_wcsicmp(a, b); }
  static PCXSTR Find(PCXSTR psz, PCXSTR pszSub) noexcept { return std::wcsstr(psz, pszSub); }
  static PCXSTR Find(PCXSTR psz, XCHAR ch) noexcept { return std::wcschr(psz, ch); }
  static PCXSTR FindLast(PCXSTR psz, XCHAR ch) noexcept { return std::wcsrchr(psz, ch); }
  static PCXSTR FindOneOf(PCXSTR psz, PCXSTR pszSet) noexcept { return std::wcspbrk(psz, pszSet); }
  static bool IsSpace(XCHAR ch) noexcept { return std::iswspace(ch) != 0; }

  // The underscored functions are the system library's: in a wide format their %s is a wide
  // string, as the callers expect. mingw's own vswprintf would take it for a narrow one.
  static int FormattedLength(PCXSTR pszFormat, va_list args) noexcept {
    return ::_vscwprintf(pszFormat, args);
  }
  static int Format(PXSTR pszBuffer, size_t nBuffer, PCXSTR pszFormat, va_list args) noexcept {
    return ::_vsnwprintf(pszBuffer, nBuffer, pszFormat, args);
  }
};

}  // namespace ATL
