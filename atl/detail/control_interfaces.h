#pragma once

// The small interfaces of a control.

#include "control_base.h"

namespace ATL {

/// A control without mnemonics and events that does not use ambient properties.
template <class T>
class ATL_NO_VTABLE IOleControlImpl : public IOleControl {
 public:
  STDMETHOD(GetControlInfo)(CONTROLINFO* /*pCI*/) override { return E_NOTIMPL; }
  STDMETHOD(OnMnemonic)(MSG* /*pMsg*/) override { return E_NOTIMPL; }
  STDMETHOD(OnAmbientPropertyChange)(DISPID /*dispid*/) override { return S_OK; }
  STDMETHOD(FreezeEvents)(BOOL /*bFreeze*/) override { return S_OK; }
};

/// A control without property pages.
template <class T>
class ATL_NO_VTABLE ISpecifyPropertyPagesImpl : public ISpecifyPropertyPages {
 public:
  STDMETHOD(GetPages)(CAUUID* pPages) override { return detail::SetResult(pPages, {}); }
};

/// Lets a container load control T, which has no events, with one call.
template <class T>
class ATL_NO_VTABLE IQuickActivateImpl : public IQuickActivate {
 public:
  STDMETHOD(QuickActivate)(QACONTAINER* pQACont, QACONTROL* pQACtrl) override {
    if (pQACont == nullptr || pQACtrl == nullptr) {
      return E_POINTER;
    }
    if (pQACont->cbSize < sizeof(*pQACont) || pQACtrl->cbSize < sizeof(*pQACtrl)) {
      return E_INVALIDARG;
    }
    *pQACtrl = {};
    pQACtrl->cbSize = sizeof(*pQACtrl);
    T& control = *static_cast<T*>(this);
    HRESULT hr = control.SetClientSite(pQACont->pClientSite);
    if (SUCCEEDED(hr) && pQACont->pAdviseSink != nullptr) {
      hr = control.SetAdvise(DVASPECT_CONTENT, 0, pQACont->pAdviseSink);
    }
    if (SUCCEEDED(hr)) {
      pQACtrl->dwMiscStatus = T::_GetMiscStatus();
      pQACtrl->dwViewStatus = T::_GetViewStatus();
    }
    return hr;
  }
  STDMETHOD(SetContentExtent)(LPSIZEL pSizel) override {
    return Object().SetExtent(DVASPECT_CONTENT, pSizel);
  }
  STDMETHOD(GetContentExtent)(LPSIZEL pSizel) override {
    return Object().GetExtent(DVASPECT_CONTENT, pSizel);
  }

 private:
  /// IViewObject2 has a GetExtent too.
  IOleObject& Object() noexcept { return *static_cast<T*>(this); }
};

}  // namespace ATL
