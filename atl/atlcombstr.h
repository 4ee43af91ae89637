#pragma once

#include <atlexcept.h>
#include <oleauto.h>

#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// Owner of a BSTR. Constructors and assignments throw CAtlException(E_OUTOFMEMORY).
class CComBSTR {
 public:
  CComBSTR() noexcept = default;
  CComBSTR(LPCOLESTR pSrc) : m_str(pSrc == nullptr ? nullptr : Checked(::SysAllocString(pSrc))) {}
  CComBSTR(const CComBSTR& src) : m_str(src.Copy()) {}
  CComBSTR(CComBSTR&& src) noexcept : m_str(src.Detach()) {}
  ~CComBSTR() { ::SysFreeString(m_str); }

  CComBSTR& operator=(const CComBSTR& src) {
    CComBSTR copy(src);
    std::swap(m_str, copy.m_str);
    return *this;
  }
  CComBSTR& operator=(CComBSTR&& src) noexcept {
    std::swap(m_str, src.m_str);
    return *this;
  }

  operator BSTR() const noexcept { return m_str; }
  /// For functions that return a string; only while empty.
  BSTR* operator&() noexcept {
    ATLASSERT(m_str == nullptr);
    return &m_str;
  }

  /// Hands the string to the caller.
  BSTR Detach() noexcept { return std::exchange(m_str, nullptr); }

  BSTR m_str = nullptr;

 private:
  static BSTR Checked(BSTR bstr) {
    ATLENSURE_THROW(bstr != nullptr, E_OUTOFMEMORY);
    return bstr;
  }
  /// By bytes: a BSTR may hold binary data of odd length.
  BSTR Copy() const {
    return m_str == nullptr ? nullptr
                            : Checked(::SysAllocStringByteLen(reinterpret_cast<LPCSTR>(m_str),
                                                              ::SysStringByteLen(m_str)));
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
