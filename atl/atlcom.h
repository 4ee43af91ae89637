#pragma once

// The base classes of COM classes: objects and their lifetime, class factories, IDispatch and
// persistence.

#include <atlbase.h>
#include <ocidl.h>

#include "detail/class_factory.h"
#include "detail/com_map.h"
#include "detail/com_object.h"
#include "detail/dispatch_impl.h"
#include "detail/object_root.h"
#include "detail/persist.h"

namespace ATL {

/// Holds the site that the container sets.
template <class T>
class IObjectWithSiteImpl : public IObjectWithSite {
 public:
  /// Null releases the site.
  STDMETHOD(SetSite)(IUnknown* pUnkSite) override {
    static_cast<T*>(this)->m_spUnkSite = pUnkSite;
    return S_OK;
  }
  /// E_FAIL without a site.
  STDMETHOD(GetSite)(REFIID riid, void** ppvSite) override {
    if (FAILED(detail::SetResult(ppvSite, nullptr))) {
      return E_POINTER;
    }
    IUnknown* const pSite = static_cast<T*>(this)->m_spUnkSite;
    return pSite != nullptr ? pSite->QueryInterface(riid, ppvSite) : E_FAIL;
  }

  CComPtr<IUnknown> m_spUnkSite;
};

}  // namespace ATL
