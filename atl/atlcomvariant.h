#pragma once

#include <atlcombstr.h>

#include <type_traits>
#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// Owner of a VARIANT's contents. Constructors and assignments throw CAtlException; the named
/// functions return an HRESULT instead.
class CComVariant : public tagVARIANT {
 public:
  CComVariant() noexcept { ::VariantInit(this); }
  CComVariant(const CComVariant& varSrc) : CComVariant(static_cast<const VARIANT&>(varSrc)) {}
  CComVariant(CComVariant&& varSrc) noexcept : CComVariant() { Swap(varSrc); }
  CComVariant(const VARIANT& varSrc) : CComVariant() { Check(Copy(&varSrc)); }
  CComVariant(LPCOLESTR lpszSrc) : CComVariant() { SetString(CComBSTR(lpszSrc)); }
  CComVariant(LPCSTR lpszSrc) : CComVariant() { SetString(CComBSTR(lpszSrc)); }
  CComVariant(const CComBSTR& bstrSrc) : CComVariant() { SetString(CComBSTR(bstrSrc)); }
  CComVariant(bool bSrc) noexcept : CComVariant() {
    vt = VT_BOOL;
    boolVal = bSrc ? VARIANT_TRUE : VARIANT_FALSE;
  }
  /// `vtSrc` may be VT_I4 or VT_INT.
  CComVariant(int nSrc, VARTYPE vtSrc = VT_I4) : CComVariant() {
    ATLENSURE_THROW(vtSrc == VT_I4 || vtSrc == VT_INT, E_INVALIDARG);
    vt = vtSrc;
    intVal = nSrc;
  }
  /// `vtSrc` may be VT_I4 or VT_ERROR.
  CComVariant(long nSrc, VARTYPE vtSrc = VT_I4) : CComVariant() {
    ATLENSURE_THROW(vtSrc == VT_I4 || vtSrc == VT_ERROR, E_INVALIDARG);
    vt = vtSrc;
    lVal = nSrc;
  }
  /// `vtSrc` may be VT_R8 or VT_DATE.
  CComVariant(double dblSrc, VARTYPE vtSrc = VT_R8) : CComVariant() {
    ATLENSURE_THROW(vtSrc == VT_R8 || vtSrc == VT_DATE, E_INVALIDARG);
    vt = vtSrc;
    dblVal = dblSrc;
  }
  /// `vtSrc` may be VT_UI4 or VT_UINT.
  CComVariant(unsigned int nSrc, VARTYPE vtSrc = VT_UI4) : CComVariant() {
    ATLENSURE_THROW(vtSrc == VT_UI4 || vtSrc == VT_UINT, E_INVALIDARG);
    vt = vtSrc;
    uintVal = nSrc;
  }
  CComVariant(char cSrc) noexcept : CComVariant() { vt = VT_I1, cVal = cSrc; }
  CComVariant(BYTE nSrc) noexcept : CComVariant() { vt = VT_UI1, bVal = nSrc; }
  CComVariant(short nSrc) noexcept : CComVariant() { vt = VT_I2, iVal = nSrc; }
  CComVariant(unsigned short nSrc) noexcept : CComVariant() { vt = VT_UI2, uiVal = nSrc; }
  CComVariant(unsigned long nSrc) noexcept : CComVariant() { vt = VT_UI4, ulVal = nSrc; }
  CComVariant(LONGLONG nSrc) noexcept : CComVariant() { vt = VT_I8, llVal = nSrc; }
  CComVariant(ULONGLONG nSrc) noexcept : CComVariant() { vt = VT_UI8, ullVal = nSrc; }
  CComVariant(float fltSrc) noexcept : CComVariant() { vt = VT_R4, fltVal = fltSrc; }
  CComVariant(CY cySrc) noexcept : CComVariant() { vt = VT_CY, cyVal = cySrc; }
  CComVariant(IDispatch* pSrc) noexcept : CComVariant() {
    vt = VT_DISPATCH;
    pdispVal = pSrc;
    if (pSrc != nullptr) {
      pSrc->AddRef();
    }
  }
  CComVariant(IUnknown* pSrc) noexcept : CComVariant() {
    vt = VT_UNKNOWN;
    punkVal = pSrc;
    if (pSrc != nullptr) {
      pSrc->AddRef();
    }
  }
  ~CComVariant() { Clear(); }

  CComVariant& operator=(const CComVariant& varSrc) {
    return *this = static_cast<const VARIANT&>(varSrc);
  }
  CComVariant& operator=(CComVariant&& varSrc) noexcept {
    Swap(varSrc);
    return *this;
  }
  CComVariant& operator=(const VARIANT& varSrc) {
    Check(Copy(&varSrc));
    return *this;
  }
  /// Takes every type that a constructor takes.
  template <class V>
    requires(std::is_constructible_v<CComVariant, V> &&
             !std::is_base_of_v<VARIANT, std::decay_t<V>>)
  CComVariant& operator=(V&& value) {
    CComVariant varNew(std::forward<V>(value));
    Swap(varNew);
    return *this;
  }

  HRESULT Clear() noexcept { return ::VariantClear(this); }
  HRESULT Copy(const VARIANT* pSrc) noexcept { return ::VariantCopy(this, Plain(pSrc)); }
  /// Takes over the contents; `pSrc` is empty afterwards.
  HRESULT Attach(VARIANT* pSrc) noexcept {
    if (pSrc == nullptr) {
      return E_INVALIDARG;
    }
    const HRESULT hr = Clear();
    if (SUCCEEDED(hr)) {
      static_cast<VARIANT&>(*this) = *pSrc;
      pSrc->vt = VT_EMPTY;
    }
    return hr;
  }
  /// Hands the contents to `pDest`, whose own are cleared first.
  HRESULT Detach(VARIANT* pDest) noexcept {
    if (pDest == nullptr) {
      return E_POINTER;
    }
    const HRESULT hr = ::VariantClear(pDest);
    if (SUCCEEDED(hr)) {
      *pDest = *this;
      vt = VT_EMPTY;
    }
    return hr;
  }
  /// Converts `pSrc`, or the variant itself when null.
  HRESULT ChangeType(VARTYPE vtNew, const VARIANT* pSrc = nullptr) noexcept {
    return ::VariantChangeType(this, pSrc == nullptr ? this : Plain(pSrc), 0, vtNew);
  }

  bool operator==(const VARIANT& varSrc) const noexcept {
    if (vt == VT_NULL && varSrc.vt == VT_NULL) {
      return true;  // VarCmp answers VARCMP_NULL for these
    }
    if (vt != varSrc.vt) {
      return false;
    }
    if (vt == VT_DISPATCH || vt == VT_UNKNOWN) {
      return punkVal == varSrc.punkVal;
    }
    if (vt == VT_ERROR) {
      return scode == varSrc.scode;
    }
    return ::VarCmp(Plain(this), Plain(&varSrc), LOCALE_USER_DEFAULT, 0) ==
           static_cast<HRESULT>(VARCMP_EQ);
  }
  bool operator!=(const VARIANT& varSrc) const noexcept { return !(*this == varSrc); }

 private:
  /// The system's functions take their sources without const and do not change them.
  static VARIANT* Plain(const VARIANT* pVar) noexcept { return const_cast<VARIANT*>(pVar); }
  static void Check(HRESULT hr) {
    if (FAILED(hr)) {
      AtlThrow(hr);
    }
  }
  void SetString(CComBSTR&& text) noexcept {
    vt = VT_BSTR;
    bstrVal = text.Detach();
  }
  void Swap(CComVariant& other) noexcept {
    std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(other));
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
