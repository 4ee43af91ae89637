#pragma once

#include <atlexcept.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <string>
#include <utility>

namespace ATL {

// NOLINTBEGIN(cppcoreguidelines-no-malloc, google-explicit-constructor): the buffers are raw
// memory, and ATL documents these conversions

/// The string class. Positions and lengths are in characters. Every function that allocates throws
/// CAtlException(E_OUTOFMEMORY) and leaves the string unchanged. The functions that compare,
/// search, trim, replace and format are for wide strings only.
template <typename BaseType>
class CStringT {
  using Traits = std::char_traits<BaseType>;

 public:
  using XCHAR = BaseType;
  using PXSTR = BaseType*;
  using PCXSTR = const BaseType*;

  CStringT() noexcept = default;
  CStringT(const CStringT& strSrc) { Append(strSrc); }
  CStringT(CStringT&& strSrc) noexcept { Swap(strSrc); }
  CStringT(PCXSTR pszSrc) { SetString(pszSrc); }
  CStringT(PCXSTR pchSrc, int nLength) { SetString(pchSrc, nLength); }
  ~CStringT() = default;

  // Two, not one by value: that could be noexcept itself, and the compiler would take the
  // assignment of a class with such a member for noexcept, though the copy in it is not.
  CStringT& operator=(const CStringT& strSrc) {
    CStringT(strSrc).Swap(*this);
    return *this;
  }
  CStringT& operator=(CStringT&& strSrc) noexcept {
    Swap(strSrc);
    return *this;
  }
  CStringT& operator=(PCXSTR pszSrc) {
    SetString(pszSrc);
    return *this;
  }

  operator PCXSTR() const noexcept { return GetString(); }
  PCXSTR GetString() const noexcept { return m_buffer ? m_buffer.get() : &kNul; }
  int GetLength() const noexcept { return m_nLength; }
  bool IsEmpty() const noexcept { return m_nLength == 0; }
  void Empty() noexcept { CStringT().Swap(*this); }

  /// Returns a character or, at the index GetLength(), the terminator. Throws E_INVALIDARG for any
  /// other index.
  XCHAR operator[](int iChar) const {
    ATLENSURE_THROW(iChar >= 0 && iChar <= m_nLength, E_INVALIDARG);
    return GetString()[iChar];
  }

  /// `pszSrc` may be null, and may point into this string.
  void SetString(PCXSTR pszSrc) { SetString(pszSrc, StringLength(pszSrc)); }
  void SetString(PCXSTR pszSrc, int nLength) {
    if (nLength == 0) {
      Empty();
      return;
    }
    ATLENSURE_THROW(pszSrc != nullptr && nLength > 0, E_INVALIDARG);
    const Buffer replaced = Reserve(nLength);
    Traits::move(m_buffer.get(), pszSrc, static_cast<size_t>(nLength));
    ReleaseBufferSetLength(nLength);
  }
  void Append(const CStringT& strSrc) { Append(strSrc, strSrc.GetLength()); }
  /// `pszSrc` may point into this string.
  void Append(PCXSTR pszSrc, int nLength) {
    if (nLength == 0) {
      return;
    }
    ATLENSURE_THROW(pszSrc != nullptr && nLength > 0, E_INVALIDARG);
    ATLENSURE_THROW(nLength <= INT_MAX - m_nLength, E_OUTOFMEMORY);
    const int nNewLength = m_nLength + nLength;
    // Grows by at least half, so that the time of many appends is linear.
    const int nGrown = m_nAllocLength > INT_MAX / 3 * 2 ? 0 : m_nAllocLength / 2 * 3;
    const Buffer replaced =
        Reserve(nNewLength > m_nAllocLength && nNewLength < nGrown ? nGrown : nNewLength);
    Traits::move(m_buffer.get() + m_nLength, pszSrc, static_cast<size_t>(nLength));
    ReleaseBufferSetLength(nNewLength);
  }
  void AppendChar(XCHAR ch) { Append(&ch, 1); }
  CStringT& operator+=(const CStringT& str) {
    Append(str);
    return *this;
  }
  CStringT& operator+=(XCHAR ch) {
    AppendChar(ch);
    return *this;
  }

  /// Returns the buffer, valid until the next call.
  PXSTR GetBuffer() { return GetBuffer(m_nLength); }
  /// The same with room for at least nMinBufferLength characters. The text stays.
  PXSTR GetBuffer(int nMinBufferLength) {
    ATLENSURE_THROW(nMinBufferLength >= 0, E_INVALIDARG);
    Reserve(nMinBufferLength);
    return m_buffer.get();
  }
  /// Sets the length after writing to GetBuffer; -1 means up to the first NUL.
  void ReleaseBuffer(int nNewLength = -1) {
    const PCXSTR psz = GetString();
    ReleaseBufferSetLength(
        nNewLength == -1 ? static_cast<int>(std::find(psz, psz + m_nAllocLength, XCHAR()) - psz)
                         : nNewLength);
  }
  void ReleaseBufferSetLength(int nNewLength) {
    ATLENSURE_THROW(nNewLength >= 0 && nNewLength <= m_nAllocLength, E_INVALIDARG);
    if (m_buffer) {
      m_nLength = nNewLength;
      m_buffer[static_cast<size_t>(nNewLength)] = 0;
    }
  }

  /// The length of a C string; 0 for a null pointer.
  static int StringLength(PCXSTR psz) {
    const size_t nLength = psz == nullptr ? 0 : Traits::length(psz);
    ATLENSURE_THROW(nLength <= INT_MAX, E_OUTOFMEMORY);
    return static_cast<int>(nLength);
  }

  int CompareNoCase(PCXSTR psz) const {
    ATLENSURE_THROW(psz != nullptr, E_INVALIDARG);
    return ::_wcsicmp(GetString(), psz);
  }

  /// The searches return the position, or -1.
  int Find(PCXSTR pszSub, int iStart = 0) const noexcept {
    if (pszSub == nullptr || iStart < 0 || iStart > m_nLength) {
      return -1;
    }
    return PositionOf(std::wcsstr(GetString() + iStart, pszSub));
  }
  int Find(XCHAR ch, int iStart = 0) const noexcept {
    if (iStart < 0 || iStart >= m_nLength) {
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
  CStringT Mid(int iFirst) const { return Mid(iFirst, m_nLength); }
  CStringT Mid(int iFirst, int nCount) const {
    iFirst = std::max(iFirst, 0);
    if (nCount <= 0 || iFirst >= m_nLength) {
      return CStringT();
    }
    return CStringT(GetString() + iFirst, std::min(nCount, m_nLength - iFirst));
  }

  CStringT& TrimRight() {
    int nKept = m_nLength;
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
    Swap(strResult);
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
  struct Freed {
    void operator()(PXSTR psz) const noexcept { std::free(psz); }
  };
  using Buffer = std::unique_ptr<XCHAR[], Freed>;

  /// Makes room for nLength characters. Returns the buffer that was replaced by a larger one, into
  /// which the caller's source may point.
  Buffer Reserve(int nLength) {
    if (m_buffer && nLength <= m_nAllocLength) {
      return nullptr;
    }
    Buffer buffer(
        static_cast<PXSTR>(std::malloc((static_cast<size_t>(nLength) + 1) * sizeof(XCHAR))));
    ATLENSURE_THROW(buffer, E_OUTOFMEMORY);
    Traits::copy(buffer.get(), GetString(), static_cast<size_t>(m_nLength) + 1);
    m_nAllocLength = nLength;
    m_buffer.swap(buffer);
    return buffer;
  }
  void Swap(CStringT& other) noexcept {
    m_buffer.swap(other.m_buffer);
    std::swap(m_nLength, other.m_nLength);
    std::swap(m_nAllocLength, other.m_nAllocLength);
  }
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

  static constexpr XCHAR kNul = 0;

  Buffer m_buffer;  // null until there is text
  int m_nLength = 0;
  int m_nAllocLength = 0;  // without the terminator
};

// NOLINTEND(cppcoreguidelines-no-malloc, google-explicit-constructor)

}  // namespace ATL
