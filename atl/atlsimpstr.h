#pragma once

#include <atlexcept.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

namespace ATL {

// NOLINTBEGIN(cppcoreguidelines-no-malloc, google-explicit-constructor): the buffers are raw
// memory, and ATL documents these conversions

/// The names of the character types.
template <typename BaseType>
struct ChTraitsBase;

template <>
struct ChTraitsBase<char> {
  using XCHAR = char;
  using PXSTR = LPSTR;
  using PCXSTR = LPCSTR;
};

template <>
struct ChTraitsBase<wchar_t> {
  using XCHAR = wchar_t;
  using PXSTR = LPWSTR;
  using PCXSTR = LPCWSTR;
};

/// Header of a character buffer, which the characters follow. Strings on any threads share a buffer
/// until one of them is changed.
struct CStringData {
  int nDataLength;   ///< characters in use, without the terminator
  int nAllocLength;  ///< characters there is room for, without the terminator
  LONG nRefs;        ///< strings that share the buffer

  void* data() noexcept { return this + 1; }
  bool IsShared() const noexcept { return nRefs > 1; }
  void AddRef() noexcept { ::InterlockedIncrement(&nRefs); }
  void Release() noexcept {
    if (::InterlockedDecrement(&nRefs) == 0) {
      std::free(this);
    }
  }
};

/// The buffer of all empty strings: not counted, freed or written.
template <typename BaseType>
struct CStringNil {
  CStringData header;
  BaseType text[1];
};
template <typename BaseType>
inline constinit CStringNil<BaseType> atlNilString{{0, 0, 2}, {0}};
static_assert(offsetof(CStringNil<wchar_t>, text) == sizeof(CStringData));

/// Reference-counted character buffer with copy on write. Lengths are in characters. Every
/// function that allocates throws CAtlException(E_OUTOFMEMORY) and leaves the string unchanged.
template <typename BaseType>
class CSimpleStringT {
 public:
  using XCHAR = typename ChTraitsBase<BaseType>::XCHAR;
  using PXSTR = typename ChTraitsBase<BaseType>::PXSTR;
  using PCXSTR = typename ChTraitsBase<BaseType>::PCXSTR;

  CSimpleStringT() noexcept : m_pszData(Nil()) {}
  CSimpleStringT(const CSimpleStringT& strSrc) noexcept : m_pszData(strSrc.Share()) {}
  CSimpleStringT(CSimpleStringT&& strSrc) noexcept
      : m_pszData(std::exchange(strSrc.m_pszData, Nil())) {}
  CSimpleStringT(PCXSTR pszSrc) : CSimpleStringT() { SetString(pszSrc); }
  CSimpleStringT(const XCHAR* pchSrc, int nLength) : CSimpleStringT() {
    SetString(pchSrc, nLength);
  }
  ~CSimpleStringT() { ReleaseData(); }

  CSimpleStringT& operator=(const CSimpleStringT& strSrc) noexcept {
    const PXSTR pszShared = strSrc.Share();
    ReleaseData();
    m_pszData = pszShared;
    return *this;
  }
  CSimpleStringT& operator=(CSimpleStringT&& strSrc) noexcept {
    std::swap(m_pszData, strSrc.m_pszData);
    return *this;
  }

  operator PCXSTR() const noexcept { return m_pszData; }
  PCXSTR GetString() const noexcept { return m_pszData; }
  int GetLength() const noexcept { return GetData()->nDataLength; }
  int GetAllocLength() const noexcept { return GetData()->nAllocLength; }
  bool IsEmpty() const noexcept { return GetLength() == 0; }
  void Empty() noexcept {
    ReleaseData();
    m_pszData = Nil();
  }

  /// Returns a character or, at the index GetLength(), the terminator. Throws E_INVALIDARG for any
  /// other index.
  XCHAR operator[](int iChar) const {
    ATLENSURE_THROW(iChar >= 0 && iChar <= GetLength(), E_INVALIDARG);
    return m_pszData[iChar];
  }

  /// `pszSrc` may be null, and may point into this string.
  void SetString(PCXSTR pszSrc) { SetString(pszSrc, StringLength(pszSrc)); }
  void SetString(PCXSTR pszSrc, int nLength) {
    if (nLength == 0) {
      Empty();
      return;
    }
    ATLENSURE_THROW(pszSrc != nullptr && nLength > 0, E_INVALIDARG);
    const OwnPart part(*this, pszSrc);
    const PXSTR pszBuffer = GetBuffer(nLength);
    std::memmove(pszBuffer, part.In(pszBuffer), Bytes(nLength));
    SetLength(nLength);
  }
  void Append(const CSimpleStringT& strSrc) {
    if (IsEmpty()) {
      *this = strSrc;  // shares the buffer instead of copying it
    } else {
      Append(strSrc.m_pszData, strSrc.GetLength());
    }
  }
  /// `pszSrc` may point into this string.
  void Append(PCXSTR pszSrc, int nLength) {
    if (nLength == 0) {
      return;
    }
    const int nOldLength = GetLength();
    ATLENSURE_THROW(pszSrc != nullptr && nLength > 0, E_INVALIDARG);
    ATLENSURE_THROW(nLength <= INT_MAX - nOldLength, E_OUTOFMEMORY);
    const OwnPart part(*this, pszSrc);
    const PXSTR pszBuffer = PrepareAppend(nOldLength + nLength);
    std::memmove(pszBuffer + nOldLength, part.In(pszBuffer), Bytes(nLength));
    SetLength(nOldLength + nLength);
  }
  void AppendChar(XCHAR ch) { Append(&ch, 1); }

  /// Returns a buffer that is not shared, for GetAllocLength() characters. Valid until the next
  /// call.
  PXSTR GetBuffer() { return GetBuffer(GetLength()); }
  /// The same for at least nMinBufferLength characters. The text stays.
  PXSTR GetBuffer(int nMinBufferLength) {
    ATLENSURE_THROW(nMinBufferLength >= 0, E_INVALIDARG);
    const int nNeeded = nMinBufferLength > GetLength() ? nMinBufferLength : GetLength();
    if (!IsWritable() || nNeeded > GetAllocLength()) {
      Reallocate(nNeeded);
    }
    return m_pszData;
  }
  void Preallocate(int nLength) { GetBuffer(nLength); }
  /// Sets the length after writing to GetBuffer; -1 means up to the first NUL.
  void ReleaseBuffer(int nNewLength = -1) {
    ReleaseBufferSetLength(nNewLength == -1 ? WrittenLength() : nNewLength);
  }
  void ReleaseBufferSetLength(int nNewLength) { SetLength(nNewLength); }

  /// The length of a C string; 0 for a null pointer.
  static int StringLength(PCXSTR psz) {
    if (psz == nullptr) {
      return 0;
    }
    size_t nLength = 0;
    if constexpr (sizeof(XCHAR) == 1) {
      nLength = std::strlen(psz);
    } else {
      nLength = std::wcslen(psz);
    }
    ATLENSURE_THROW(nLength <= INT_MAX, E_OUTOFMEMORY);
    return static_cast<int>(nLength);
  }

 private:
  /// The offset of a source that is part of the string, whose buffer may move.
  class OwnPart {
   public:
    OwnPart(const CSimpleStringT& str, PCXSTR pszSrc) noexcept : m_pszSrc(pszSrc) {
      const auto nStart = reinterpret_cast<uintptr_t>(str.m_pszData);
      const auto nSource = reinterpret_cast<uintptr_t>(pszSrc);
      m_bInside = nSource >= nStart && nSource <= nStart + Bytes(str.GetLength());
      m_nOffset = m_bInside ? pszSrc - str.m_pszData : 0;
    }
    PCXSTR In(PCXSTR pszBuffer) const noexcept {
      return m_bInside ? pszBuffer + m_nOffset : m_pszSrc;
    }

   private:
    PCXSTR m_pszSrc;
    ptrdiff_t m_nOffset;
    bool m_bInside;
  };

  static size_t Bytes(int nLength) noexcept { return static_cast<size_t>(nLength) * sizeof(XCHAR); }
  static PXSTR Nil() noexcept { return atlNilString<BaseType>.text; }
  CStringData* GetData() const noexcept { return reinterpret_cast<CStringData*>(m_pszData) - 1; }
  bool IsNil() const noexcept { return m_pszData == Nil(); }
  bool IsWritable() const noexcept { return !IsNil() && !GetData()->IsShared(); }
  PXSTR Share() const noexcept {
    if (!IsNil()) {
      GetData()->AddRef();
    }
    return m_pszData;
  }
  void ReleaseData() noexcept {
    if (!IsNil()) {
      GetData()->Release();
    }
  }

  /// Copies the text to a new buffer for nAllocLength characters, at least GetLength().
  void Reallocate(int nAllocLength) {
    const size_t nBytes =
        sizeof(CStringData) + (static_cast<size_t>(nAllocLength) + 1) * sizeof(XCHAR);
    void* const pBlock = std::malloc(nBytes);
    ATLENSURE_THROW(pBlock != nullptr, E_OUTOFMEMORY);
    auto* const pData = static_cast<CStringData*>(pBlock);
    *pData = {GetLength(), nAllocLength, 1};
    const PXSTR pszNew = static_cast<PXSTR>(pData->data());
    std::memcpy(pszNew, m_pszData, Bytes(GetLength() + 1));
    ReleaseData();
    m_pszData = pszNew;
  }
  /// Grows by at least half, so that the time of many appends is linear.
  PXSTR PrepareAppend(int nLength) {
    const int nOld = GetAllocLength();
    if (nLength <= nOld || nOld > INT_MAX / 3 * 2) {
      return GetBuffer(nLength);
    }
    return GetBuffer(nLength > nOld + nOld / 2 ? nLength : nOld + nOld / 2);
  }
  int WrittenLength() const noexcept {
    int nLength = 0;
    while (nLength < GetAllocLength() && m_pszData[nLength] != 0) {
      ++nLength;
    }
    return nLength;
  }
  void SetLength(int nLength) {
    ATLENSURE_THROW(nLength >= 0 && nLength <= GetAllocLength(), E_INVALIDARG);
    if (!IsNil()) {
      GetData()->nDataLength = nLength;
      m_pszData[nLength] = 0;
    }
  }

  PXSTR m_pszData;
};

// NOLINTEND(cppcoreguidelines-no-malloc, google-explicit-constructor)

}  // namespace ATL
