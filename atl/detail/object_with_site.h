#pragma once

#include <atlcomcli.h>
#include <ocidl.h>

namespace ATL {

/// Holds the site that the container sets.
template <class T>
class ATL_NO_VTABLE IObjectWithSiteImpl : public IObjectWithSite {
 public:
  /// Null releases the site.
  STDMETHOD(SetSite)(IUnknown* pUnkSite) override {
    static_cast<T*>(this)->m_spUnkSite = pUnkSite;
    return S_OK;
  }
  /// E_FAIL without a site.
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
