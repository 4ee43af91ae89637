#pragma once

#include <atlcombstr.h>

#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// Owner of a VARIANT's contents. Constructors and assignments throw CAtlException; the named
/// functions return an HRESULT instead.
class CComVariant : public tagVARIANT {
 public:
  CComVariant() noexcept { ::VariantInit(this); }
  CComVariant(const CComVariant& varSrc) : CComVariant() {
    const HRESULT hr = ::VariantCopy(this, Plain(&varSrc));
    if (FAILED(hr)) {
      AtlThrow(hr);
    }
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

  CComVariant& operator=(const CComVariant& varSrc) {
    CComVariant copy(varSrc);
    Swap(copy);
    return *this;
  }
  CComVariant& operator=(CComVariant&& varSrc) noexcept {
    Swap(varSrc);
    return *this;
  }

  HRESULT Clear() noexcept { return ::VariantClear(this); }
  /// Converts `pSrc`, or the variant itself when null.
  HRESULT ChangeType(VARTYPE vtNew, const VARIANT* pSrc = nullptr) noexcept {
    return ::VariantChangeType(this, pSrc == nullptr ? this : Plain(pSrc), 0, vtNew);
  }

 private:
  /// The system's functions take their sources without const and do not change them.
  static VARIANT* Plain(const VARIANT* pVar) noexcept { return const_cast<VARIANT*>(pVar); }
  void Swap(CComVariant& other) noexcept {
    std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(other));
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
