#pragma once

#include <atlcomcli.h>
#include <ocidl.h>

namespace ATL {

/// Keeps the site that a container hands to the object. T is the class that derives from this.
template <class T>
class ATL_NO_VTABLE IObjectWithSiteImpl : public IObjectWithSite {
 public:
  /// Null takes the site away.
  STDMETHOD(SetSite)(IUnknown* pUnkSite) override {
    static_cast<T*>(this)->m_spUnkSite = pUnkSite;
    return S_OK;
  }
  /// E_FAIL while there is no site.
  STDMETHOD(GetSite)(REFIID riid, void** ppvSite) override {
    if (ppvSite == nullptr) {
      return E_POINTER;
    }
    *ppvSite = nullptr;
    IUnknown* const pSite = static_cast<T*>(this)->m_spUnkSite;
    return pSite != nullptr ? pSite->QueryInterface(riid, ppvSite) : E_FAIL;
  }

  CComPtr<IUnknown> m_spUnkSite;
};

}  // namespace ATL
