#pragma once

#include <atlexcept.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace ATL {

// NOLINTBEGIN(cppcoreguidelines-no-malloc, google-explicit-constructor): the buffers are raw
// memory, and ATL documents these conversions

/// Owner of a character buffer. Lengths are in characters. Every function that allocates throws
/// CAtlException(E_OUTOFMEMORY) and leaves the string unchanged.
template <typename BaseType>
class CSimpleStringT {
  using Traits = std::char_traits<BaseType>;

 public:
  using XCHAR = BaseType;
  using PXSTR = BaseType*;
  using PCXSTR = const BaseType*;

  CSimpleStringT() noexcept = default;
  CSimpleStringT(const CSimpleStringT& strSrc) { Append(strSrc); }
  CSimpleStringT(CSimpleStringT&& strSrc) noexcept { Swap(strSrc); }
  CSimpleStringT(PCXSTR pszSrc) { SetString(pszSrc); }
  CSimpleStringT(PCXSTR pchSrc, int nLength) { SetString(pchSrc, nLength); }
  ~CSimpleStringT() = default;

  CSimpleStringT& operator=(const CSimpleStringT& strSrc) {
    SetString(strSrc, strSrc.GetLength());
    return *this;
  }
  CSimpleStringT& operator=(CSimpleStringT&& strSrc) noexcept {
    Swap(strSrc);
    return *this;
  }

  operator PCXSTR() const noexcept { return GetString(); }
  PCXSTR GetString() const noexcept { return m_buffer ? m_buffer.get() : &kNul; }
  int GetLength() const noexcept { return m_nLength; }
  bool IsEmpty() const noexcept { return m_nLength == 0; }
  void Empty() noexcept { CSimpleStringT().Swap(*this); }

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
  void Append(const CSimpleStringT& strSrc) { Append(strSrc, strSrc.GetLength()); }
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
  void Swap(CSimpleStringT& other) noexcept {
    m_buffer.swap(other.m_buffer);
    std::swap(m_nLength, other.m_nLength);
    std::swap(m_nAllocLength, other.m_nAllocLength);
  }

  static constexpr XCHAR kNul = 0;

  Buffer m_buffer;  // null until there is text
  int m_nLength = 0;
  int m_nAllocLength = 0;  // without the terminator
};

// NOLINTEND(cppcoreguidelines-no-malloc, google-explicit-constructor)

}  // namespace ATL
