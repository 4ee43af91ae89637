#pragma once

#include <atlsimpstr.h>

#include <cstdarg>
#include <cstdio>
#include <cwctype>

namespace ATL {

/// The C library functions that CStringT calls. Narrow strings call none.
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

  // The system library's functions: in a wide format their %s means a wide string, where the
  // toolchain's own vswprintf expects a narrow one.
  static int FormattedLength(PCXSTR pszFormat, va_list args) noexcept {
    return ::_vscwprintf(pszFormat, args);
  }
  static int Format(PXSTR pszBuffer, size_t nBuffer, PCXSTR pszFormat, va_list args) noexcept {
    return ::_vsnwprintf(pszBuffer, nBuffer, pszFormat, args);
  }
};

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// The character functions of a string class.
template <typename BaseType, class StringIterator = ChTraitsCRT<BaseType>>
struct StrTraitATL : StringIterator {};

/// The string class: CSimpleStringT plus functions that compare, search, cut, replace and format,
/// which are for wide strings only. Positions and lengths are in characters. Throws
/// CAtlException(E_OUTOFMEMORY) when an allocation fails.
template <typename BaseType, class StringTraits>
class CStringT : public CSimpleStringT<BaseType> {
  using Base = CSimpleStringT<BaseType>;

 public:
  using Base::Append;
  using Base::Empty;
  using Base::GetBuffer;
  using Base::GetLength;
  using Base::GetString;
  using Base::IsEmpty;
  using Base::ReleaseBufferSetLength;
  using Base::SetString;
  using Base::StringLength;
  using typename Base::PCXSTR;
  using typename Base::PXSTR;
  using typename Base::XCHAR;

  CStringT() noexcept = default;
  CStringT(const CStringT&) noexcept = default;
  CStringT(CStringT&&) noexcept = default;
  CStringT(const XCHAR* pszSrc) : Base(pszSrc) {}
  CStringT(const XCHAR* pchSrc, int nLength) : Base(pchSrc, nLength) {}
  ~CStringT() = default;

  CStringT& operator=(const CStringT&) noexcept = default;
  CStringT& operator=(CStringT&&) noexcept = default;
  CStringT& operator=(PCXSTR pszSrc) {
    SetString(pszSrc);
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
    return StringTraits::CompareNoCase(GetString(), psz);
  }

  /// The searches return the position, or -1.
  int Find(PCXSTR pszSub, int iStart = 0) const noexcept {
    if (pszSub == nullptr || iStart < 0 || iStart > GetLength()) {
      return -1;
    }
    return PositionOf(StringTraits::Find(GetString() + iStart, pszSub));
  }
  int Find(XCHAR ch, int iStart = 0) const noexcept {
    if (iStart < 0 || iStart >= GetLength()) {
      return -1;
    }
    return PositionOf(StringTraits::Find(GetString() + iStart, ch));
  }
  int ReverseFind(XCHAR ch) const noexcept {
    return PositionOf(StringTraits::FindLast(GetString(), ch));
  }
  int FindOneOf(PCXSTR pszCharSet) const noexcept {
    return PositionOf(StringTraits::FindOneOf(GetString(), pszCharSet));
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
    const int nRest = nLength - iFirst;
    if (iFirst == 0 && nCount >= nRest) {
      return *this;
    }
    return CStringT(GetString() + iFirst, nCount < nRest ? nCount : nRest);
  }

  CStringT& TrimRight() {
    const int nLength = GetLength();
    int nKept = nLength;
    while (nKept > 0 && StringTraits::IsSpace(GetString()[nKept - 1])) {
      --nKept;
    }
    if (nKept < nLength) {
      GetBuffer();
      ReleaseBufferSetLength(nKept);
    }
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

  /// Formats as printf; %s means a string of this string's character type. The arguments may point
  /// into this string.
  void __cdecl Format(PCXSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    const Ended ended{args};
    ATLENSURE_THROW(pszFormat != nullptr, E_INVALIDARG);
    va_list measured;
    va_copy(measured, args);
    const int nLength = StringTraits::FormattedLength(pszFormat, measured);
    va_end(measured);
    ATLENSURE_THROW(nLength >= 0, E_FAIL);
    CStringT strResult;
    const PXSTR pszBuffer = strResult.GetBuffer(nLength);
    StringTraits::Format(pszBuffer, static_cast<size_t>(nLength) + 1, pszFormat, args);
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
    return a.GetLength() == b.GetLength() && StringTraits::Compare(a, b) == 0;
  }
  friend bool operator==(const CStringT& a, PCXSTR b) {
    ATLENSURE_THROW(b != nullptr, E_INVALIDARG);
    return StringTraits::Compare(a, b) == 0;
  }

 private:
  /// Ends an argument list also when formatting throws.
  struct Ended {
    va_list& args;
    ~Ended() { va_end(args); }
  };

  static CStringT Joined(PCXSTR a, int nA, PCXSTR b, int nB) {
    ATLENSURE_THROW(nB <= INT_MAX - nA, E_OUTOFMEMORY);
    CStringT strResult;
    strResult.Preallocate(nA + nB);
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
