#pragma once

// The smart types for COM clients: CComPtr, CComQIPtr, CComBSTR, CComVariant.

#include <atlcomptr.h>
#include <oleauto.h>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// Owner of a BSTR. Constructors and assignments throw CAtlException(E_OUTOFMEMORY).
class CComBSTR {
 public:
  CComBSTR() noexcept = default;
  CComBSTR(LPCOLESTR pSrc) : m_str(pSrc == nullptr ? nullptr : Checked(::SysAllocString(pSrc))) {}
  CComBSTR(CComBSTR&& src) noexcept : m_str(src.Detach()) {}
  CComBSTR(const CComBSTR&) = delete;
  CComBSTR& operator=(const CComBSTR&) = delete;
  ~CComBSTR() { ::SysFreeString(m_str); }

  operator BSTR() const noexcept { return m_str; }
  /// For functions that return a string. The object must be empty.
  BSTR* operator&() noexcept {
    ATLASSERT(m_str == nullptr);
    return &m_str;
  }

  /// Transfers ownership of the string to the caller.
  BSTR Detach() noexcept { return std::exchange(m_str, nullptr); }

  BSTR m_str = nullptr;

 private:
  static BSTR Checked(BSTR bstr) {
    ATLENSURE_THROW(bstr != nullptr, E_OUTOFMEMORY);
    return bstr;
  }
};

/// Owner of a VARIANT's content. Constructors and assignments throw CAtlException; the other
/// functions return an HRESULT.
class CComVariant : public tagVARIANT {
 public:
  CComVariant() noexcept { ::VariantInit(this); }
  CComVariant(const CComVariant& varSrc) : CComVariant() {
    detail::ThrowIfFailed(::VariantCopy(this, Plain(&varSrc)));
  }
  CComVariant(CComVariant&& varSrc) noexcept : CComVariant() { Swap(varSrc); }
  CComVariant(LPCOLESTR lpszSrc) : CComVariant() {
    bstrVal = CComBSTR(lpszSrc).Detach();
    vt = VT_BSTR;
  }
  CComVariant(bool bSrc) noexcept : CComVariant() {
    vt = VT_BOOL;
    boolVal = bSrc ? VARIANT_TRUE : VARIANT_FALSE;
  }
  CComVariant(int nSrc) noexcept : CComVariant() {
    vt = VT_I4;
    lVal = nSrc;
  }
  ~CComVariant() { Clear(); }

  // Two overloads instead of operator=(CComVariant): see CStringT.
  CComVariant& operator=(const CComVariant& varSrc) {
    CComVariant(varSrc).Swap(*this);
    return *this;
  }
  CComVariant& operator=(CComVariant&& varSrc) noexcept {
    Swap(varSrc);
    return *this;
  }

  HRESULT Clear() noexcept { return ::VariantClear(this); }
  /// Converts `pSrc`; null means the variant itself.
  HRESULT ChangeType(VARTYPE vtNew, const VARIANT* pSrc = nullptr) noexcept {
    return ::VariantChangeType(this, pSrc == nullptr ? this : Plain(pSrc), 0, vtNew);
  }

 private:
  /// The system's functions do not change their sources, though their parameters are not const.
  static VARIANT* Plain(const VARIANT* pVar) noexcept { return const_cast<VARIANT*>(pVar); }
  void Swap(CComVariant& other) noexcept {
    std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(other));
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
