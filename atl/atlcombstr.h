#pragma once

#include <atlchtraits.h>
#include <oleauto.h>

#include <climits>
#include <iterator>
#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// Owner of a BSTR. Lengths are in characters. Constructors and assignments throw
/// CAtlException(E_OUTOFMEMORY); the named functions return an HRESULT instead.
class CComBSTR {
 public:
  CComBSTR() noexcept = default;
  /// A string of nSize characters with undefined contents.
  explicit CComBSTR(int nSize) : CComBSTR(nSize, nullptr) {}
  /// The first nSize characters of `sz`.
  CComBSTR(int nSize, LPCOLESTR sz) {
    ATLENSURE_THROW(nSize >= 0, E_INVALIDARG);
    m_str = Checked(::SysAllocStringLen(sz, static_cast<UINT>(nSize)));
  }
  CComBSTR(LPCOLESTR pSrc) : m_str(pSrc == nullptr ? nullptr : Checked(::SysAllocString(pSrc))) {}
  /// Converts from the code page of the thread's locale.
  CComBSTR(LPCSTR pSrc) : m_str(FromNarrow(pSrc)) {}
  CComBSTR(const CComBSTR& src) : m_str(src.CheckedCopy()) {}
  CComBSTR(CComBSTR&& src) noexcept : m_str(src.Detach()) {}
  /// The registry form of a GUID, with braces.
  explicit CComBSTR(REFGUID guid) {
    OLECHAR szGuid[39];
    ::StringFromGUID2(guid, szGuid, static_cast<int>(std::size(szGuid)));
    m_str = Checked(::SysAllocString(szGuid));
  }
  ~CComBSTR() { ::SysFreeString(m_str); }

  CComBSTR& operator=(const CComBSTR& src) {
    if (m_str != src.m_str) {
      Attach(src.CheckedCopy());
    }
    return *this;
  }
  CComBSTR& operator=(CComBSTR&& src) noexcept {
    std::swap(m_str, src.m_str);
    return *this;
  }
  CComBSTR& operator=(LPCOLESTR pSrc) {
    if (pSrc != m_str) {
      CComBSTR copy(pSrc);
      std::swap(m_str, copy.m_str);
    }
    return *this;
  }
  CComBSTR& operator=(LPCSTR pSrc) { return *this = CComBSTR(pSrc); }
  CComBSTR& operator+=(const CComBSTR& src) {
    const HRESULT hr = AppendBSTR(src.m_str);
    if (FAILED(hr)) {
      AtlThrow(hr);
    }
    return *this;
  }
  CComBSTR& operator+=(LPCOLESTR pSrc) {
    const HRESULT hr = Append(pSrc);
    if (FAILED(hr)) {
      AtlThrow(hr);
    }
    return *this;
  }

  operator BSTR() const noexcept { return m_str; }
  bool operator!() const noexcept { return m_str == nullptr; }
  /// For functions that return a string; only while empty.
  BSTR* operator&() noexcept {
    ATLASSERT(m_str == nullptr);
    return &m_str;
  }

  unsigned int Length() const noexcept { return ::SysStringLen(m_str); }
  unsigned int ByteLength() const noexcept { return ::SysStringByteLen(m_str); }

  /// Takes over a string that the caller owns.
  void Attach(BSTR src) noexcept {
    if (m_str != src) {
      ::SysFreeString(std::exchange(m_str, src));
    }
  }
  BSTR Detach() noexcept { return std::exchange(m_str, nullptr); }
  void Empty() noexcept { Attach(nullptr); }

  /// A copy for the caller to free; null for a null string, and when out of memory.
  BSTR Copy() const noexcept { return CopyOf(m_str); }
  HRESULT CopyTo(BSTR* pbstr) const noexcept {
    ATLASSERT(pbstr != nullptr);
    if (pbstr == nullptr) {
      return E_POINTER;
    }
    *pbstr = Copy();
    return *pbstr == nullptr && m_str != nullptr ? E_OUTOFMEMORY : S_OK;
  }
  /// Fills an uninitialised variant.
  HRESULT CopyTo(VARIANT* pvarDest) const noexcept {
    ATLASSERT(pvarDest != nullptr);
    if (pvarDest == nullptr) {
      return E_POINTER;
    }
    ::VariantInit(pvarDest);
    const HRESULT hr = CopyTo(&pvarDest->bstrVal);
    if (SUCCEEDED(hr)) {
      pvarDest->vt = VT_BSTR;
    }
    return hr;
  }

  HRESULT AssignBSTR(BSTR bstrSrc) noexcept {
    if (bstrSrc == m_str) {
      return S_OK;
    }
    const BSTR copy = CopyOf(bstrSrc);
    if (copy == nullptr && bstrSrc != nullptr) {
      return E_OUTOFMEMORY;
    }
    Attach(copy);
    return S_OK;
  }
  /// The appended text may be part of this string.
  HRESULT Append(LPCOLESTR lpsz) noexcept {
    return lpsz == nullptr ? S_OK : Append(lpsz, static_cast<int>(std::wcslen(lpsz)));
  }
  HRESULT Append(LPCOLESTR lpsz, int nLen) noexcept {
    if (lpsz == nullptr || nLen == 0) {
      return S_OK;
    }
    const unsigned int nOld = Length();
    if (nLen < 0 || static_cast<unsigned int>(nLen) > INT_MAX - nOld) {
      return E_INVALIDARG;
    }
    const BSTR joined = ::SysAllocStringLen(nullptr, nOld + static_cast<unsigned int>(nLen));
    if (joined == nullptr) {
      return E_OUTOFMEMORY;
    }
    if (nOld > 0) {
      std::wmemcpy(joined, m_str, nOld);
    }
    std::wmemcpy(joined + nOld, lpsz, static_cast<size_t>(nLen));
    Attach(joined);
    return S_OK;
  }
  HRESULT Append(const CComBSTR& bstrSrc) noexcept { return AppendBSTR(bstrSrc.m_str); }
  HRESULT Append(wchar_t ch) noexcept { return Append(&ch, 1); }
  HRESULT AppendBSTR(BSTR p) noexcept {
    return p == nullptr ? S_OK : Append(p, static_cast<int>(::SysStringLen(p)));
  }

  /// False (and the string unchanged) when there is no such string resource.
  bool LoadString(UINT nID) noexcept {
    return LoadString(_AtlBaseModule.GetResourceInstance(), nID);
  }
  bool LoadString(HINSTANCE hInst, UINT nID) noexcept {
    int nLength = 0;
    const wchar_t* const pchText = AtlFindStringResource(hInst, nID, &nLength);
    const BSTR text =
        pchText == nullptr ? nullptr : ::SysAllocStringLen(pchText, static_cast<UINT>(nLength));
    if (text == nullptr) {
      return false;
    }
    Attach(text);
    return true;
  }

  /// Comparisons are exact and by characters; a null string equals an empty one.
  bool operator==(const CComBSTR& other) const noexcept {
    return Equals(other.m_str, other.Length());
  }
  bool operator==(LPCOLESTR psz) const noexcept {
    return Equals(psz, psz == nullptr ? 0 : std::wcslen(psz));
  }
  bool operator!=(const CComBSTR& other) const noexcept { return !(*this == other); }
  bool operator!=(LPCOLESTR psz) const noexcept { return !(*this == psz); }

  BSTR m_str = nullptr;

 private:
  static BSTR Checked(BSTR bstr) {
    ATLENSURE_THROW(bstr != nullptr, E_OUTOFMEMORY);
    return bstr;
  }
  static BSTR CopyOf(BSTR bstr) noexcept {
    // By bytes: a BSTR may hold binary data of odd length.
    return bstr == nullptr
               ? nullptr
               : ::SysAllocStringByteLen(reinterpret_cast<LPCSTR>(bstr), ::SysStringByteLen(bstr));
  }
  BSTR CheckedCopy() const { return m_str == nullptr ? nullptr : Checked(Copy()); }
  static BSTR FromNarrow(LPCSTR pSrc) {
    if (pSrc == nullptr) {
      return nullptr;
    }
    using Traits = ChTraitsCRT<wchar_t>;
    const int nSource = CSimpleStringT<char>::StringLength(pSrc);
    const int nLength = nSource == 0 ? 0 : Traits::Convert(nullptr, 0, pSrc, nSource);
    const BSTR bstr = Checked(::SysAllocStringLen(nullptr, static_cast<UINT>(nLength)));
    Traits::Convert(bstr, nLength, pSrc, nSource);
    return bstr;
  }
  bool Equals(LPCOLESTR pch, size_t nLength) const noexcept {
    return nLength == Length() && (nLength == 0 || std::wmemcmp(m_str, pch, nLength) == 0);
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
