#pragma once

#include <atlchtraits.h>
#include <oleauto.h>

#ifndef CSTRING_EXPLICIT
#ifdef _ATL_CSTRING_EXPLICIT_CONSTRUCTORS
#define CSTRING_EXPLICIT explicit
#else
#define CSTRING_EXPLICIT
#endif
#endif

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// Where a string finds its character functions and its resources.
template <typename BaseType, class StringIterator = ChTraitsCRT<BaseType>>
struct StrTraitATL : StringIterator {
  static HINSTANCE FindStringResourceInstance(UINT) noexcept {
    return _AtlBaseModule.GetResourceInstance();
  }
};

/// The string class: CSimpleStringT plus searching, cutting, replacing, formatting, conversion.
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
  using typename Base::PCYSTR;
  using typename Base::PXSTR;
  using typename Base::XCHAR;
  using typename Base::YCHAR;

  CStringT() noexcept = default;
  CStringT(const CStringT&) noexcept = default;
  CStringT(CStringT&&) noexcept = default;
  CStringT(const Base& strSrc) noexcept : Base(strSrc) {}
  CSTRING_EXPLICIT CStringT(const XCHAR* pszSrc) : Base(pszSrc) {}
  CStringT(const XCHAR* pchSrc, int nLength) : Base(pchSrc, nLength) {}
  /// Conversions between the widths use the code page of the thread's locale.
  CSTRING_EXPLICIT CStringT(const YCHAR* pszSrc) { Assign(pszSrc, Other::StringLength(pszSrc)); }
  CStringT(const YCHAR* pchSrc, int nLength) { Assign(pchSrc, nLength); }
  CSTRING_EXPLICIT CStringT(const CSimpleStringT<YCHAR>& strSrc) {
    Assign(strSrc.GetString(), strSrc.GetLength());
  }
  CSTRING_EXPLICIT CStringT(XCHAR ch, int nRepeat = 1) {
    if (nRepeat > 0) {
      const PXSTR pszBuffer = Base::GetBufferSetLength(nRepeat);
      for (int i = 0; i < nRepeat; ++i) {
        pszBuffer[i] = ch;
      }
    }
  }
  ~CStringT() = default;

  CStringT& operator=(const CStringT&) noexcept = default;
  CStringT& operator=(CStringT&&) noexcept = default;
  CStringT& operator=(PCXSTR pszSrc) {
    SetString(pszSrc);
    return *this;
  }
  CStringT& operator=(PCYSTR pszSrc) {
    *this = CStringT(pszSrc);
    return *this;
  }
  CStringT& operator=(XCHAR ch) {
    SetString(&ch, 1);
    return *this;
  }
  CStringT& operator+=(const Base& str) {
    Append(str);
    return *this;
  }
  CStringT& operator+=(PCXSTR pszSrc) {
    Append(pszSrc);
    return *this;
  }
  CStringT& operator+=(PCYSTR pszSrc) { return *this += CStringT(pszSrc); }
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
  CStringT Right(int nCount) const {
    const int nLength = GetLength();
    return nCount >= nLength ? *this : Mid(nLength - (nCount > 0 ? nCount : 0));
  }
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

  CStringT& MakeLower() { return ForEach(&StringTraits::ToLower); }
  CStringT& MakeUpper() { return ForEach(&StringTraits::ToUpper); }

  CStringT& Trim() { return TrimRight().TrimLeft(); }
  CStringT& TrimLeft() {
    int nSpaces = 0;
    while (StringTraits::IsSpace(GetString()[nSpaces])) {
      ++nSpaces;
    }
    Delete(0, nSpaces);
    return *this;
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

  /// Returns the new length. A position beyond the end means the end.
  int Insert(int iIndex, PCXSTR psz) {
    if (psz == nullptr || *psz == 0) {
      return GetLength();
    }
    const int iAt = iIndex < 0 ? 0 : iIndex;
    *this = Left(iAt) + psz + Mid(iAt);
    return GetLength();
  }
  int Insert(int iIndex, XCHAR ch) { return Insert(iIndex, CStringT(ch).GetString()); }
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
  /// Returns the number of characters removed.
  int Remove(XCHAR chRemove) {
    const CStringT strOld(*this);
    const int nLength = GetLength();
    const PXSTR pszBuffer = GetBuffer();
    int nKept = 0;
    for (int i = 0; i < nLength; ++i) {
      if (strOld[i] != chRemove) {
        pszBuffer[nKept++] = strOld[i];
      }
    }
    ReleaseBufferSetLength(nKept);
    return nLength - nKept;
  }

  /// The replacements return the number of places changed.
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
  /// A null or empty `pszOld` changes nothing; a null `pszNew` means the empty string.
  int Replace(PCXSTR pszOld, PCXSTR pszNew) {
    const int nOld = StringLength(pszOld);
    if (nOld == 0) {
      return 0;
    }
    CStringT strResult;
    int nCount = 0;
    int iDone = 0;
    for (int i = Find(pszOld); i >= 0; i = Find(pszOld, iDone)) {
      strResult.Append(GetString() + iDone, i - iDone);
      strResult.Append(pszNew);
      iDone = i + nOld;
      ++nCount;
    }
    if (nCount > 0) {
      strResult.Append(GetString() + iDone, GetLength() - iDone);
      *this = std::move(strResult);
    }
    return nCount;
  }

  /// printf formatting; %s takes a string of this string's own width. The arguments may point
  /// into this string.
  void __cdecl Format(PCXSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    const Ended ended{args};
    FormatV(pszFormat, args);
  }
  void __cdecl AppendFormat(PCXSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    const Ended ended{args};
    CStringT strMore;
    strMore.FormatV(pszFormat, args);
    Append(strMore);
  }
  void FormatV(PCXSTR pszFormat, va_list args) {
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

  /// False (and the string unchanged) when there is no such string resource.
  bool LoadString(UINT nID) {
    return LoadString(StringTraits::FindStringResourceInstance(nID), nID);
  }
  bool LoadString(HINSTANCE hInstance, UINT nID) {
    int nLength = 0;
    const wchar_t* const pchText = AtlFindStringResource(hInstance, nID, &nLength);
    if (pchText == nullptr) {
      return false;
    }
    *this = CStringT(pchText, nLength);
    return true;
  }

  /// A new BSTR with the same text; the caller frees it by SysFreeString.
  BSTR AllocSysString() const {
    const CStringT<wchar_t, StrTraitATL<wchar_t>> strWide(*this);
    const BSTR bstr =
        ::SysAllocStringLen(strWide.GetString(), static_cast<UINT>(strWide.GetLength()));
    ATLENSURE_THROW(bstr != nullptr, E_OUTOFMEMORY);
    return bstr;
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
  friend CStringT operator+(XCHAR a, const CStringT& b) { return Joined(&a, 1, b, b.GetLength()); }

  friend bool operator==(const CStringT& a, const CStringT& b) noexcept { return Same(a, b); }
  friend bool operator==(const CStringT& a, PCXSTR b) { return a.Compare(b) == 0; }
  friend bool operator==(PCXSTR a, const CStringT& b) { return b.Compare(a) == 0; }
  friend bool operator!=(const CStringT& a, const CStringT& b) noexcept { return !Same(a, b); }
  friend bool operator!=(const CStringT& a, PCXSTR b) { return a.Compare(b) != 0; }
  friend bool operator!=(PCXSTR a, const CStringT& b) { return b.Compare(a) != 0; }
  friend bool operator<(const CStringT& a, const CStringT& b) { return a.Compare(b) < 0; }
  friend bool operator<(const CStringT& a, PCXSTR b) { return a.Compare(b) < 0; }
  friend bool operator<(PCXSTR a, const CStringT& b) { return b.Compare(a) > 0; }
  friend bool operator>(const CStringT& a, const CStringT& b) { return a.Compare(b) > 0; }
  friend bool operator>(const CStringT& a, PCXSTR b) { return a.Compare(b) > 0; }
  friend bool operator>(PCXSTR a, const CStringT& b) { return b.Compare(a) < 0; }

 private:
  using Other = CSimpleStringT<YCHAR>;

  /// Ends an argument list also when formatting throws.
  struct Ended {
    va_list& args;
    ~Ended() { va_end(args); }
  };

  static bool Same(const CStringT& a, const CStringT& b) noexcept {
    return a.GetLength() == b.GetLength() && StringTraits::Compare(a, b) == 0;
  }
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
  CStringT& ForEach(XCHAR (*change)(XCHAR)) {
    const int nLength = GetLength();
    const PXSTR pszBuffer = GetBuffer();
    for (int i = 0; i < nLength; ++i) {
      pszBuffer[i] = change(pszBuffer[i]);
    }
    ReleaseBufferSetLength(nLength);
    return *this;
  }
  void Assign(PCXSTR pchSrc, int nLength) { SetString(pchSrc, nLength); }
  void Assign(PCYSTR pchSrc, int nLength) {
    const int nNeeded = nLength > 0 ? StringTraits::Convert(nullptr, 0, pchSrc, nLength) : 0;
    StringTraits::Convert(Base::GetBuffer(nNeeded), nNeeded, pchSrc, nLength);
    ReleaseBufferSetLength(nNeeded);
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
