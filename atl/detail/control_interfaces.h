#pragma once

// The small interfaces of a control.

#include <objsafe.h>

#include "control_base.h"

#if defined(__MINGW64_VERSION_MAJOR) && __MINGW64_VERSION_MAJOR < 11
// Its header has no __uuidof for the interface.
__CRT_UUID_DECL(IObjectSafety, 0xCB5BDC81, 0x93C1, 0x11CF, 0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0,
                0x64)
#endif

namespace ATL {

/// A control without mnemonics and events that does not use ambient properties.
template <class T>
class IOleControlImpl : public IOleControl {
 public:
  STDMETHOD(GetControlInfo)(CONTROLINFO* /*pCI*/) override { return E_NOTIMPL; }
  STDMETHOD(OnMnemonic)(MSG* /*pMsg*/) override { return E_NOTIMPL; }
  STDMETHOD(OnAmbientPropertyChange)(DISPID /*dispid*/) override { return S_OK; }
  STDMETHOD(FreezeEvents)(BOOL /*bFreeze*/) override { return S_OK; }
};

/// A control without property pages.
template <class T>
class ISpecifyPropertyPagesImpl : public ISpecifyPropertyPages {
 public:
  STDMETHOD(GetPages)(CAUUID* pPages) override { return detail::SetResult(pPages, {}); }
};

/// Lets a container load control T, which has no events, with one call.
template <class T>
class IQuickActivateImpl : public IQuickActivate {
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

/// Declares that untrusted pages may use the object as the INTERFACESAFE_ bits dwSupportedSafety
/// say, the same for each interface of T.
template <class T, DWORD dwSupportedSafety>
class IObjectSafetyImpl : public IObjectSafety {
 public:
  STDMETHOD(GetInterfaceSafetyOptions)
  (REFIID riid, DWORD* pdwSupportedOptions, DWORD* pdwEnabledOptions) override {
    const HRESULT hrSupported = detail::SetResult(pdwSupportedOptions, 0);
    const HRESULT hrEnabled = detail::SetResult(pdwEnabledOptions, 0);
    if (FAILED(hrSupported) || FAILED(hrEnabled)) {
      return E_POINTER;
    }
    if (!HasInterface(riid)) {
      return E_NOINTERFACE;
    }
    *pdwSupportedOptions = dwSupportedSafety;
    *pdwEnabledOptions = m_dwCurrentSafety;
    return S_OK;
  }
  STDMETHOD(SetInterfaceSafetyOptions)
  (REFIID riid, DWORD dwOptionSetMask, DWORD dwEnabledOptions) override {
    if (!HasInterface(riid)) {
      return E_NOINTERFACE;
    }
    if ((dwOptionSetMask & ~dwSupportedSafety) != 0) {
      return E_FAIL;
    }
    m_dwCurrentSafety =
        (m_dwCurrentSafety & ~dwOptionSetMask) | (dwEnabledOptions & dwOptionSetMask);
    return S_OK;
  }

  DWORD m_dwCurrentSafety = 0;

 private:
  /// Ignores the interfaces of an outer object.
  bool HasInterface(REFIID riid) {
    CComPtr<IUnknown> pUnk;
    return SUCCEEDED(
        static_cast<T*>(this)->_InternalQueryInterface(riid, reinterpret_cast<void**>(&pUnk)));
  }
};

}  // namespace ATL
