#pragma once

#include "control_base.h"

namespace ATL {

/// Lets a container load control T with one call. T has no events to connect to.
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
      pQACtrl->dwViewStatus = control._GetViewStatus();
    }
    return hr;
  }
  STDMETHOD(SetContentExtent)(LPSIZEL pSizel) override {
    return static_cast<T*>(this)->SetExtent(DVASPECT_CONTENT, pSizel);
  }
  STDMETHOD(GetContentExtent)(LPSIZEL pSizel) override {
    // IViewObject2 has a GetExtent, too.
    IOleObject& object = *static_cast<T*>(this);
    return object.GetExtent(DVASPECT_CONTENT, pSizel);
  }
};

}  // namespace ATL
