#pragma once

#include <atlcomcli.h>
#include <olectl.h>

namespace ATL {

/// Lists T's property pages. There are none: property maps here hold data members only.
template <class T>
class ATL_NO_VTABLE ISpecifyPropertyPagesImpl : public ISpecifyPropertyPages {
 public:
  STDMETHOD(GetPages)(CAUUID* pPages) override {
    if (pPages == nullptr) {
      return E_POINTER;
    }
    *pPages = {};
    return S_OK;
  }
};

}  // namespace ATL
