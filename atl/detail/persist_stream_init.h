#pragma once

#include "property_map.h"

namespace ATL {

/// Loads and saves the members in T's property map. T has the flag m_bRequiresSave.
template <class T>
class ATL_NO_VTABLE IPersistStreamInitImpl : public IPersistStreamInit {
 public:
  STDMETHOD(GetClassID)(CLSID* pClassID) override {
    if (pClassID == nullptr) {
      return E_POINTER;
    }
    *pClassID = T::GetObjectCLSID();
    return S_OK;
  }
  STDMETHOD(IsDirty)() override { return static_cast<T*>(this)->m_bRequiresSave ? S_OK : S_FALSE; }
  STDMETHOD(Load)(LPSTREAM pStm) override {
    if (pStm == nullptr) {
      return E_POINTER;
    }
    auto* const pT = static_cast<T*>(this);
    const HRESULT hr = detail::LoadProperties(pStm, T::GetPropertyMap(), pT);
    if (SUCCEEDED(hr)) {
      pT->m_bRequiresSave = FALSE;
    }
    return hr;
  }
  STDMETHOD(Save)(LPSTREAM pStm, BOOL fClearDirty) override {
    if (pStm == nullptr) {
      return E_POINTER;
    }
    auto* const pT = static_cast<T*>(this);
    const HRESULT hr = detail::SaveProperties(pStm, T::GetPropertyMap(), pT);
    if (SUCCEEDED(hr) && fClearDirty) {
      pT->m_bRequiresSave = FALSE;
    }
    return hr;
  }
  /// Not known, as documented.
  STDMETHOD(GetSizeMax)(ULARGE_INTEGER* pcbSize) override {
    if (pcbSize == nullptr) {
      return E_POINTER;
    }
    pcbSize->QuadPart = 0;
    return E_NOTIMPL;
  }
  STDMETHOD(InitNew)() override { return S_OK; }
};

}  // namespace ATL
