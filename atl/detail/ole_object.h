#pragma once

#include "control_base.h"

namespace ATL {

/// The main interface of control T. T is a CComControlBase and has a CLSID.
template <class T>
class IOleObjectImpl : public IOleObject {
 public:
  STDMETHOD(SetClientSite)(IOleClientSite* pClientSite) override {
    Control().SetControlSite(pClientSite);
    return S_OK;
  }
  STDMETHOD(GetClientSite)(IOleClientSite** ppClientSite) override {
    return ppClientSite == nullptr ? E_POINTER : Control().m_spClientSite.CopyTo(ppClientSite);
  }
  STDMETHOD(SetHostNames)(LPCOLESTR /*szContainerApp*/, LPCOLESTR /*szContainerObj*/) override {
    return S_OK;
  }
  /// The control may be activated again afterwards.
  STDMETHOD(Close)(DWORD dwSaveOption) override {
    T& control = Control();
    control.InPlaceDeactivate();
    const CComPtr<IOleClientSite> pSite = control.m_spClientSite;
    if ((dwSaveOption == OLECLOSE_SAVEIFDIRTY || dwSaveOption == OLECLOSE_PROMPTSAVE) &&
        control.m_bRequiresSave && pSite != nullptr) {
      pSite->SaveObject();
      control.SendOnSave();
    }
    control.ReleaseInPlaceSite();
    control.SendOnClose();
    control.m_spAdviseSink.Release();
    return S_OK;
  }

  STDMETHOD(DoVerb)
  (LONG iVerb, LPMSG /*pMsg*/, IOleClientSite* /*pActiveSite*/, LONG /*lindex*/, HWND hwndParent,
   LPCRECT prcPosRect) override {
    T& control = Control();
    switch (iVerb) {
      case OLEIVERB_PRIMARY:
        return DoVerbPrimary(prcPosRect, hwndParent);
      case OLEIVERB_SHOW:
      case OLEIVERB_INPLACEACTIVATE:
      case OLEIVERB_UIACTIVATE:
        return control.InPlaceActivate(iVerb, prcPosRect);
      case OLEIVERB_HIDE:
        control.UIDeactivate();
        if (control.m_hWndCD != nullptr) {
          ::ShowWindow(control.m_hWndCD, SW_HIDE);
        }
        return S_OK;
      case OLEIVERB_OPEN:  // there is no window outside of the container
      case OLEIVERB_DISCARDUNDOSTATE:
        return S_OK;
      case OLEIVERB_PROPERTIES:
        return control.DoVerbProperties(prcPosRect, hwndParent);
      default:
        break;
    }
    if (iVerb < 0) {
      return E_NOTIMPL;
    }
    // An unknown verb means the primary one.
    const HRESULT hr = DoVerbPrimary(prcPosRect, hwndParent);
    return SUCCEEDED(hr) ? OLEOBJ_S_INVALIDVERB : hr;
  }
  /// Activates the control; in design mode shows its properties.
  HRESULT DoVerbPrimary(LPCRECT prcPosRect, HWND hwndParent) {
    BOOL bUserMode = TRUE;
    Control().GetAmbientUserMode(bUserMode);
    return bUserMode ? Control().InPlaceActivate(OLEIVERB_INPLACEACTIVATE, prcPosRect)
                     : Control().DoVerbProperties(prcPosRect, hwndParent);
  }
  /// Returns the verbs registered for the class; OLEOBJ_E_NOVERBS without any.
  STDMETHOD(EnumVerbs)(IEnumOLEVERB** ppEnumOleVerb) override {
    const HRESULT hr = detail::SetResult(ppEnumOleVerb, nullptr);
    return FAILED(hr) ? hr : ::OleRegEnumVerbs(T::GetObjectCLSID(), ppEnumOleVerb);
  }

  // Size, in hundredths of a millimetre
  STDMETHOD(SetExtent)(DWORD dwDrawAspect, SIZEL* psizel) override {
    T& control = Control();
    if (psizel == nullptr) {
      return E_POINTER;
    }
    if (dwDrawAspect != DVASPECT_CONTENT) {
      return E_FAIL;
    }
    if (psizel->cx != control.m_sizeExtent.cx || psizel->cy != control.m_sizeExtent.cy) {
      control.m_sizeExtent = *psizel;
      control.SetDirty(TRUE);
      control.SendOnDataChange();
    }
    return S_OK;
  }
  STDMETHOD(GetExtent)(DWORD dwDrawAspect, SIZEL* psizel) override {
    return dwDrawAspect == DVASPECT_CONTENT ? detail::SetResult(psizel, Control().m_sizeExtent)
                                            : detail::SetResult(psizel, {}, E_FAIL);
  }

  STDMETHOD(Advise)(IAdviseSink* pAdvSink, DWORD* pdwConnection) override {
    if (FAILED(detail::SetResult(pdwConnection, 0))) {
      return E_POINTER;
    }
    if (pAdvSink == nullptr) {
      return E_POINTER;
    }
    CComPtr<IOleAdviseHolder>& pHolder = Control().m_spOleAdviseHolder;
    const HRESULT hr = pHolder != nullptr ? S_OK : ::CreateOleAdviseHolder(&pHolder);
    return FAILED(hr) ? hr : pHolder->Advise(pAdvSink, pdwConnection);
  }
  STDMETHOD(Unadvise)(DWORD dwConnection) override {
    IOleAdviseHolder* const pHolder = Control().m_spOleAdviseHolder;
    return pHolder == nullptr ? OLE_E_NOCONNECTION : pHolder->Unadvise(dwConnection);
  }
  /// S_OK and null without connections.
  STDMETHOD(EnumAdvise)(IEnumSTATDATA** ppenumAdvise) override {
    const HRESULT hr = detail::SetResult(ppenumAdvise, nullptr);
    IOleAdviseHolder* const pHolder = Control().m_spOleAdviseHolder;
    return FAILED(hr) || pHolder == nullptr ? hr : pHolder->EnumAdvise(ppenumAdvise);
  }

  STDMETHOD(GetUserClassID)(CLSID* pClsid) override {
    return detail::SetResult(pClsid, T::GetObjectCLSID());
  }
  /// Returns the registered name; the caller frees it.
  STDMETHOD(GetUserType)(DWORD dwFormOfType, LPOLESTR* pszUserType) override {
    const HRESULT hr = detail::SetResult(pszUserType, nullptr);
    return FAILED(hr) ? hr : ::OleRegGetUserType(T::GetObjectCLSID(), dwFormOfType, pszUserType);
  }
  /// Returns the flags of DECLARE_OLEMISC_STATUS for each aspect.
  STDMETHOD(GetMiscStatus)(DWORD /*dwAspect*/, DWORD* pdwStatus) override {
    return detail::SetResult(pdwStatus, T::_GetMiscStatus());
  }

  // A control is always up to date. It supports no links, data transfer or colour schemes.
  STDMETHOD(Update)() override { return S_OK; }
  STDMETHOD(IsUpToDate)() override { return S_OK; }
  STDMETHOD(SetMoniker)(DWORD /*dwWhichMoniker*/, IMoniker* /*pmk*/) override { return E_NOTIMPL; }
  STDMETHOD(GetMoniker)(DWORD /*dwAssign*/, DWORD /*dwWhichMoniker*/, IMoniker** ppmk) override {
    return detail::SetResult(ppmk, nullptr, E_NOTIMPL);
  }
  STDMETHOD(InitFromData)
  (IDataObject* /*pDataObject*/, BOOL /*fCreation*/, DWORD /*dwReserved*/) override {
    return E_NOTIMPL;
  }
  STDMETHOD(GetClipboardData)(DWORD /*dwReserved*/, IDataObject** ppDataObject) override {
    return detail::SetResult(ppDataObject, nullptr, E_NOTIMPL);
  }
  STDMETHOD(SetColorScheme)(LOGPALETTE* /*pLogpal*/) override { return E_NOTIMPL; }

 private:
  T& Control() noexcept { return *static_cast<T*>(this); }
};

}  // namespace ATL
