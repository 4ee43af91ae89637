#pragma once

#include <atlcore.h>
#include <atlsimpstr.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cwctype>

namespace ATL {

/// Code page of conversions between the two string widths: that of the thread's locale.
inline UINT _AtlGetConversionACP() noexcept { return CP_THREAD_ACP; }

/// What CStringT needs from the C library and the system, by character type.
template <typename BaseType>
struct ChTraitsCRT;

template <>
struct ChTraitsCRT<wchar_t> : ChTraitsBase<wchar_t> {
  static int Compare(PCXSTR a, PCXSTR b) noexcept { return std::wcscmp(a, b); }
  static int CompareNoCase(PCXSTR a, PCXSTR b) noexcept { return ::_wcsicmp(a, b); }
  static PCXSTR Find(PCXSTR psz, PCXSTR pszSub) noexcept { return std::wcsstr(psz, pszSub); }
  static PCXSTR Find(PCXSTR psz, XCHAR ch) noexcept { return std::wcschr(psz, ch); }
  static PCXSTR FindLast(PCXSTR psz, XCHAR ch) noexcept { return std::wcsrchr(psz, ch); }
  static PCXSTR FindOneOf(PCXSTR psz, PCXSTR pszSet) noexcept { return std::wcspbrk(psz, pszSet); }
  static bool IsSpace(XCHAR ch) noexcept { return std::iswspace(ch) != 0; }
  static XCHAR ToLower(XCHAR ch) noexcept { return static_cast<XCHAR>(std::towlower(ch)); }
  static XCHAR ToUpper(XCHAR ch) noexcept { return static_cast<XCHAR>(std::towupper(ch)); }

  // The underscored functions are the system library's: in a wide format their %s is a wide
  // string, as the callers expect. mingw's own vswprintf would take it for a narrow one.
  static int FormattedLength(PCXSTR pszFormat, va_list args) noexcept {
    return ::_vscwprintf(pszFormat, args);
  }
  static int Format(PXSTR pszBuffer, size_t nBuffer, PCXSTR pszFormat, va_list args) noexcept {
    return ::_vsnwprintf(pszBuffer, nBuffer, pszFormat, args);
  }

  /// Converts nSource characters; with nBuffer 0 returns the length needed. 0 is a failure.
  static int Convert(PXSTR pszBuffer, int nBuffer, PCYSTR pchSource, int nSource) noexcept {
    return ::MultiByteToWideChar(_AtlGetConversionACP(), 0, pchSource, nSource, pszBuffer, nBuffer);
  }
};

template <>
struct ChTraitsCRT<char> : ChTraitsBase<char> {
  static int Compare(PCXSTR a, PCXSTR b) noexcept { return std::strcmp(a, b); }
  static int CompareNoCase(PCXSTR a, PCXSTR b) noexcept { return ::_stricmp(a, b); }
  static PCXSTR Find(PCXSTR psz, PCXSTR pszSub) noexcept { return std::strstr(psz, pszSub); }
  static PCXSTR Find(PCXSTR psz, XCHAR ch) noexcept { return std::strchr(psz, ch); }
  static PCXSTR FindLast(PCXSTR psz, XCHAR ch) noexcept { return std::strrchr(psz, ch); }
  static PCXSTR FindOneOf(PCXSTR psz, PCXSTR pszSet) noexcept { return std::strpbrk(psz, pszSet); }
  static bool IsSpace(XCHAR ch) noexcept {
    return std::isspace(static_cast<unsigned char>(ch)) != 0;
  }
  static XCHAR ToLower(XCHAR ch) noexcept {
    return static_cast<XCHAR>(std::tolower(static_cast<unsigned char>(ch)));
  }
  static XCHAR ToUpper(XCHAR ch) noexcept {
    return static_cast<XCHAR>(std::toupper(static_cast<unsigned char>(ch)));
  }
  static int FormattedLength(PCXSTR pszFormat, va_list args) noexcept {
    return ::_vscprintf(pszFormat, args);
  }
  static int Format(PXSTR pszBuffer, size_t nBuffer, PCXSTR pszFormat, va_list args) noexcept {
    return ::_vsnprintf(pszBuffer, nBuffer, pszFormat, args);
  }
  static int Convert(PXSTR pszBuffer, int nBuffer, PCYSTR pchSource, int nSource) noexcept {
    return ::WideCharToMultiByte(_AtlGetConversionACP(), 0, pchSource, nSource, pszBuffer, nBuffer,
                                 nullptr, nullptr);
  }
};

/// A string resource without a copy: not terminated, valid while the module is loaded.
/// Null when the module has no such string or an empty one.
inline const wchar_t* AtlFindStringResource(HINSTANCE hInstance, UINT nID, int* pnLength) noexcept {
  const wchar_t* pchText = nullptr;
  // With a length of 0 the "buffer" receives the address of the resource itself.
  *pnLength = ::LoadStringW(hInstance, nID, reinterpret_cast<LPWSTR>(&pchText), 0);
  return *pnLength > 0 ? pchText : nullptr;
}

}  // namespace ATL
