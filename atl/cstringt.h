#pragma once

#include <atlsimpstr.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// The string class: CSimpleStringT plus functions that compare, search, cut, replace and format,
/// which are for wide strings only. Positions and lengths are in characters. Throws
/// CAtlException(E_OUTOFMEMORY) when an allocation fails.
template <typename BaseType>
class CStringT : public CSimpleStringT<BaseType> {
  using Base = CSimpleStringT<BaseType>;

 public:
  using Base::Append;
  using Base::GetBuffer;
  using Base::GetLength;
  using Base::GetString;
  using Base::ReleaseBufferSetLength;
  using Base::StringLength;
  using typename Base::PCXSTR;
  using typename Base::PXSTR;
  using typename Base::XCHAR;

  using Base::Base;
  CStringT() noexcept = default;

  CStringT& operator=(PCXSTR pszSrc) {
    this->SetString(pszSrc);
    return *this;
  }
  CStringT& operator+=(const Base& str) {
    Append(str);
    return *this;
  }
  CStringT& operator+=(XCHAR ch) {
    Append(&ch, 1);
    return *this;
  }

  int CompareNoCase(PCXSTR psz) const {
    ATLENSURE_THROW(psz != nullptr, E_INVALIDARG);
    return ::_wcsicmp(GetString(), psz);
  }

  /// The searches return the position, or -1.
  int Find(PCXSTR pszSub, int iStart = 0) const noexcept {
    if (pszSub == nullptr || iStart < 0 || iStart > GetLength()) {
      return -1;
    }
    return PositionOf(std::wcsstr(GetString() + iStart, pszSub));
  }
  int Find(XCHAR ch, int iStart = 0) const noexcept {
    if (iStart < 0 || iStart >= GetLength()) {
      return -1;
    }
    return PositionOf(std::wcschr(GetString() + iStart, ch));
  }
  int ReverseFind(XCHAR ch) const noexcept { return PositionOf(std::wcsrchr(GetString(), ch)); }
  int FindOneOf(PCXSTR pszCharSet) const noexcept {
    return PositionOf(std::wcspbrk(GetString(), pszCharSet));
  }

  /// The parts of the string inside the given range: no position or count is an error.
  CStringT Left(int nCount) const { return Mid(0, nCount); }
  CStringT Mid(int iFirst) const { return Mid(iFirst, GetLength()); }
  CStringT Mid(int iFirst, int nCount) const {
    const int nLength = GetLength();
    iFirst = iFirst < 0 ? 0 : iFirst;
    if (nCount <= 0 || iFirst >= nLength) {
      return CStringT();
    }
    return CStringT(GetString() + iFirst, std::min(nCount, nLength - iFirst));
  }

  CStringT& TrimRight() {
    int nKept = GetLength();
    while (nKept > 0 && std::iswspace(GetString()[nKept - 1])) {
      --nKept;
    }
    ReleaseBufferSetLength(nKept);
    return *this;
  }

  /// Returns the number of characters changed.
  int Replace(XCHAR chOld, XCHAR chNew) {
    if (chOld == chNew) {
      return 0;
    }
    int nCount = 0;
    for (int i = Find(chOld); i >= 0; i = Find(chOld, i + 1)) {
      GetBuffer()[i] = chNew;
      ++nCount;
    }
    return nCount;
  }

  /// Formats as printf. The arguments may point into this string. By the system library's
  /// functions: in a wide format their %s means a wide string, where the toolchain's own vswprintf
  /// expects a narrow one.
  void __cdecl Format(PCXSTR pszFormat, ...) {
    ATLENSURE_THROW(pszFormat != nullptr, E_INVALIDARG);
    va_list args;
    va_start(args, pszFormat);
    const int nLength = ::_vscwprintf(pszFormat, args);
    va_end(args);
    ATLENSURE_THROW(nLength >= 0, E_FAIL);
    CStringT strResult;
    const PXSTR pszBuffer = strResult.GetBuffer(nLength);
    va_start(args, pszFormat);
    ::_vsnwprintf(pszBuffer, static_cast<size_t>(nLength) + 1, pszFormat, args);
    va_end(args);
    strResult.ReleaseBufferSetLength(nLength);
    *this = std::move(strResult);
  }

  friend CStringT operator+(const CStringT& a, const CStringT& b) {
    return Joined(a, a.GetLength(), b, b.GetLength());
  }
  friend CStringT operator+(const CStringT& a, PCXSTR b) {
    return Joined(a, a.GetLength(), b, StringLength(b));
  }
  friend CStringT operator+(PCXSTR a, const CStringT& b) {
    return Joined(a, StringLength(a), b, b.GetLength());
  }
  friend CStringT operator+(const CStringT& a, XCHAR b) { return Joined(a, a.GetLength(), &b, 1); }

  // != and the other order of operands follow from these.
  friend bool operator==(const CStringT& a, const CStringT& b) noexcept {
    return a.GetLength() == b.GetLength() && std::wcscmp(a, b) == 0;
  }
  friend bool operator==(const CStringT& a, PCXSTR b) {
    ATLENSURE_THROW(b != nullptr, E_INVALIDARG);
    return std::wcscmp(a, b) == 0;
  }

 private:
  static CStringT Joined(PCXSTR a, int nA, PCXSTR b, int nB) {
    ATLENSURE_THROW(nB <= INT_MAX - nA, E_OUTOFMEMORY);
    CStringT strResult;
    strResult.GetBuffer(nA + nB);
    strResult.Append(a, nA);
    strResult.Append(b, nB);
    return strResult;
  }

  int PositionOf(PCXSTR pszFound) const noexcept {
    return pszFound == nullptr ? -1 : static_cast<int>(pszFound - GetString());
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
