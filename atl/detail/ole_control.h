#pragma once

#include <atlcomcli.h>
#include <olectl.h>

namespace ATL {

/// A control without mnemonics that needs to hear nothing of changes to ambient properties.
template <class T>
class ATL_NO_VTABLE IOleControlImpl : public IOleControl {
 public:
  STDMETHOD(GetControlInfo)(CONTROLINFO* /*pCI*/) override { return E_NOTIMPL; }
  STDMETHOD(OnMnemonic)(MSG* /*pMsg*/) override { return E_NOTIMPL; }
  STDMETHOD(OnAmbientPropertyChange)(DISPID /*dispid*/) override { return S_OK; }
  STDMETHOD(FreezeEvents)(BOOL bFreeze) override {
    short& nFreezes = static_cast<T*>(this)->m_nFreezeEvents;
    if (bFreeze) {
      ++nFreezes;
    } else if (nFreezes > 0) {
      --nFreezes;
    }
    return S_OK;
  }
};

}  // namespace ATL
