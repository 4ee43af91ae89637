#pragma once

#include <atlchtraits.h>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// Where a string finds its character functions.
template <typename BaseType, class StringIterator = ChTraitsCRT<BaseType>>
struct StrTraitATL : StringIterator {};

/// The string class: CSimpleStringT plus comparing, searching, cutting, replacing, formatting. All
/// of these are there for wide strings only.
/// Positions and lengths are in characters; allocation failure throws CAtlException(E_OUTOFMEMORY).
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

  int Compare(PCXSTR psz) const {
    ATLENSURE_THROW(psz != nullptr, E_INVALIDARG);
    return StringTraits::Compare(GetString(), psz);
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

  /// The parts clip their arguments to the string: no position or count is an error.
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
    Delete(nKept, nLength - nKept);
    return *this;
  }

  /// Returns the new length.
  int Delete(int iIndex, int nCount = 1) {
    const int nLength = GetLength();
    const int iFirst = iIndex < 0 ? 0 : iIndex;
    if (nCount > 0 && iFirst < nLength) {
      const int nRest = nLength - iFirst;
      const int nGone = nCount < nRest ? nCount : nRest;
      const PXSTR pszBuffer = GetBuffer();
      std::memmove(pszBuffer + iFirst, pszBuffer + iFirst + nGone,
                   static_cast<size_t>(nRest - nGone) * sizeof(XCHAR));
      ReleaseBufferSetLength(nLength - nGone);
    }
    return GetLength();
  }

  /// Returns the number of characters changed.
  int Replace(XCHAR chOld, XCHAR chNew) {
    if (chOld == chNew) {
      return 0;
    }
    int nCount = 0;
    for (int i = Find(chOld); i >= 0; i = Find(chOld, i + 1)) {
      Base::SetAt(i, chNew);
      ++nCount;
    }
    return nCount;
  }

  /// printf formatting; %s takes a string of this string's own width. The arguments may point
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
  friend bool operator==(const CStringT& a, PCXSTR b) { return a.Compare(b) == 0; }

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
