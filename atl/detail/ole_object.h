#pragma once

#include "control_base.h"

namespace ATL {

/// The main interface of control T. T is a CComControlBase and has a CLSID.
template <class T>
class ATL_NO_VTABLE IOleObjectImpl : public IOleObject {
 public:
  // Site
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
  /// From running to loaded: the control may be activated again afterwards.
  STDMETHOD(Close)(DWORD dwSaveOption) override {
    T& control = Control();
    control.InPlaceDeactivate();
    const CComPtr<IOleClientSite> pSite = control.m_spClientSite;
    if ((dwSaveOption == OLECLOSE_SAVEIFDIRTY || dwSaveOption == OLECLOSE_PROMPTSAVE) &&
        control.m_bRequiresSave && pSite != nullptr) {
      pSite->SaveObject();
      control.SendOnSave();
    }
    control.m_spInPlaceSite.Release();
    control.m_bInPlaceSiteEx = FALSE;
    control.SendOnClose();
    control.m_spAdviseSink.Release();
    return S_OK;
  }

  // Verbs. A T that means something else by one hides its function.
  STDMETHOD(DoVerb)
  (LONG iVerb, LPMSG /*pMsg*/, IOleClientSite* /*pActiveSite*/, LONG /*lindex*/, HWND hwndParent,
   LPCRECT prcPosRect) override {
    T& control = Control();
    switch (iVerb) {
      case OLEIVERB_PRIMARY:
        return control.DoVerbPrimary(prcPosRect, hwndParent);
      case OLEIVERB_SHOW:
        return control.DoVerbShow(prcPosRect, hwndParent);
      case OLEIVERB_INPLACEACTIVATE:
        return control.DoVerbInPlaceActivate(prcPosRect, hwndParent);
      case OLEIVERB_UIACTIVATE:
        return control.DoVerbUIActivate(prcPosRect, hwndParent);
      case OLEIVERB_HIDE:
        return control.DoVerbHide(prcPosRect, hwndParent);
      case OLEIVERB_OPEN:
        return control.DoVerbOpen(prcPosRect, hwndParent);
      case OLEIVERB_DISCARDUNDOSTATE:
        return control.DoVerbDiscardUndo(prcPosRect, hwndParent);
      case OLEIVERB_PROPERTIES:
        return control.DoVerbProperties(prcPosRect, hwndParent);
      default:
        break;
    }
    if (iVerb < 0) {
      return E_NOTIMPL;
    }
    // An object does the primary verb for one that it does not know.
    const HRESULT hr = control.DoVerbPrimary(prcPosRect, hwndParent);
    return SUCCEEDED(hr) ? OLEOBJ_S_INVALIDVERB : hr;
  }
  /// In design mode the properties.
  HRESULT DoVerbPrimary(LPCRECT prcPosRect, HWND hwndParent) {
    BOOL bUserMode = TRUE;
    Control().GetAmbientUserMode(bUserMode);
    return bUserMode ? Control().DoVerbInPlaceActivate(prcPosRect, hwndParent)
                     : Control().DoVerbProperties(prcPosRect, hwndParent);
  }
  HRESULT DoVerbShow(LPCRECT prcPosRect, HWND /*hwndParent*/) {
    return Control().InPlaceActivate(OLEIVERB_SHOW, prcPosRect);
  }
  HRESULT DoVerbInPlaceActivate(LPCRECT prcPosRect, HWND /*hwndParent*/) {
    return Control().InPlaceActivate(OLEIVERB_INPLACEACTIVATE, prcPosRect);
  }
  HRESULT DoVerbUIActivate(LPCRECT prcPosRect, HWND /*hwndParent*/) {
    return Control().InPlaceActivate(OLEIVERB_UIACTIVATE, prcPosRect);
  }
  HRESULT DoVerbHide(LPCRECT /*prcPosRect*/, HWND /*hwndParent*/) {
    Control().UIDeactivate();
    if (Control().m_hWndCD != nullptr) {
      ::ShowWindow(Control().m_hWndCD, SW_HIDE);
    }
    return S_OK;
  }
  /// There is no window outside of the container to open.
  HRESULT DoVerbOpen(LPCRECT /*prcPosRect*/, HWND /*hwndParent*/) { return S_OK; }
  HRESULT DoVerbDiscardUndo(LPCRECT /*prcPosRect*/, HWND /*hwndParent*/) { return S_OK; }
  /// Those registered for the class; OLEOBJ_E_NOVERBS without any.
  STDMETHOD(EnumVerbs)(IEnumOLEVERB** ppEnumOleVerb) override {
    if (ppEnumOleVerb == nullptr) {
      return E_POINTER;
    }
    *ppEnumOleVerb = nullptr;
    return ::OleRegEnumVerbs(T::GetObjectCLSID(), ppEnumOleVerb);
  }

  // Size, in hundredths of a millimetre
  STDMETHOD(SetExtent)(DWORD dwDrawAspect, SIZEL* psizel) override {
    T& control = Control();
    if (psizel == nullptr) {
      return E_POINTER;
    }
    const SIZE sizeOld = control.m_sizeExtent;
    const bool bChanged = psizel->cx != sizeOld.cx || psizel->cy != sizeOld.cy;
    if (dwDrawAspect != DVASPECT_CONTENT) {
      return E_FAIL;
    }
    if (!bChanged) {
      return S_OK;
    }
    control.m_sizeExtent = *psizel;
    control.SetDirty(TRUE);
    control.SendOnDataChange();
    return S_OK;
  }
  STDMETHOD(GetExtent)(DWORD dwDrawAspect, SIZEL* psizel) override {
    if (psizel == nullptr) {
      return E_POINTER;
    }
    *psizel = {};
    if (dwDrawAspect != DVASPECT_CONTENT) {
      return E_FAIL;
    }
    *psizel = Control().m_sizeExtent;
    return S_OK;
  }

  // Notifications
  STDMETHOD(Advise)(IAdviseSink* pAdvSink, DWORD* pdwConnection) override {
    if (pdwConnection == nullptr) {
      return E_POINTER;
    }
    *pdwConnection = 0;
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
  /// Null with S_OK: nobody is connected.
  STDMETHOD(EnumAdvise)(IEnumSTATDATA** ppenumAdvise) override {
    if (ppenumAdvise == nullptr) {
      return E_POINTER;
    }
    *ppenumAdvise = nullptr;
    IOleAdviseHolder* const pHolder = Control().m_spOleAdviseHolder;
    return pHolder == nullptr ? S_OK : pHolder->EnumAdvise(ppenumAdvise);
  }

  // What the object is
  STDMETHOD(GetUserClassID)(CLSID* pClsid) override {
    if (pClsid == nullptr) {
      return E_POINTER;
    }
    *pClsid = T::GetObjectCLSID();
    return S_OK;
  }
  /// The registered name.
  STDMETHOD(GetUserType)(DWORD dwFormOfType, LPOLESTR* pszUserType) override {
    if (pszUserType == nullptr) {
      return E_POINTER;
    }
    *pszUserType = nullptr;
    return ::OleRegGetUserType(T::GetObjectCLSID(), dwFormOfType, pszUserType);
  }
  /// What DECLARE_OLEMISC_STATUS says, for each aspect.
  STDMETHOD(GetMiscStatus)(DWORD /*dwAspect*/, DWORD* pdwStatus) override {
    if (pdwStatus == nullptr) {
      return E_POINTER;
    }
    *pdwStatus = T::_GetMiscStatus();
    return S_OK;
  }

  // A control is always up to date, is not linked to and takes no data or colours.
  STDMETHOD(Update)() override { return S_OK; }
  STDMETHOD(IsUpToDate)() override { return S_OK; }
  STDMETHOD(SetMoniker)(DWORD /*dwWhichMoniker*/, IMoniker* /*pmk*/) override { return E_NOTIMPL; }
  STDMETHOD(GetMoniker)(DWORD /*dwAssign*/, DWORD /*dwWhichMoniker*/, IMoniker** ppmk) override {
    if (ppmk == nullptr) {
      return E_POINTER;
    }
    *ppmk = nullptr;
    return E_NOTIMPL;
  }
  STDMETHOD(InitFromData)
  (IDataObject* /*pDataObject*/, BOOL /*fCreation*/, DWORD /*dwReserved*/) override {
    return E_NOTIMPL;
  }
  STDMETHOD(GetClipboardData)(DWORD /*dwReserved*/, IDataObject** ppDataObject) override {
    if (ppDataObject == nullptr) {
      return E_POINTER;
    }
    *ppDataObject = nullptr;
    return E_NOTIMPL;
  }
  STDMETHOD(SetColorScheme)(LOGPALETTE* /*pLogpal*/) override { return E_NOTIMPL; }

 private:
  T& Control() noexcept { return *static_cast<T*>(this); }
};

}  // namespace ATL
