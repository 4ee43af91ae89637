#pragma once

#include <atlbase.h>
#include <atlcom.h>
#include <atlctl.h>
#include <objsafe.h>

#include "folivo_plugin_h.h"

/// Base class of the controls that pages script: a full ActiveX control with a window of its own,
/// marked safe for scripting and for initialisation. It has no events and no property pages, and
/// saves nothing but its size.
///
/// `T`, the control's class, derives from this class and from its dual interface, and has a COM map
/// with that interface, chained to this class's map:
///
///   BEGIN_COM_MAP(T)
///   COM_INTERFACE_ENTRY(IMine)
///   COM_INTERFACE_ENTRY(IDispatch)
///   COM_INTERFACE_ENTRY_CHAIN(CScriptableControl)
///   END_COM_MAP()
template <class T, const CLSID* pclsid>
class CScriptableControl
    : public CComObjectRootEx<CComSingleThreadModel>,
      public CComCoClass<T, pclsid>,
      public CComControl<T>,
      public IPersistStreamInitImpl<T>,
      public IPersistStorageImpl<T>,
      public IOleControlImpl<T>,
      public IOleObjectImpl<T>,
      public IOleInPlaceActiveObjectImpl<T>,
      public IOleInPlaceObjectWindowlessImpl<T>,
      public IViewObjectExImpl<T>,
      public IQuickActivateImpl<T>,
      public IDataObjectImpl<T>,
      public ISpecifyPropertyPagesImpl<T>,
      public IProvideClassInfo2Impl<pclsid, nullptr, &LIBID_MERLOFolivoIEPlugin>,
      public IObjectSafetyImpl<T, INTERFACESAFE_FOR_UNTRUSTED_CALLER |
                                      INTERFACESAFE_FOR_UNTRUSTED_DATA> {
 public:
  CScriptableControl(const CScriptableControl&) = delete;
  CScriptableControl& operator=(const CScriptableControl&) = delete;

  DECLARE_OLEMISC_STATUS(OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE | OLEMISC_INSIDEOUT |
                         OLEMISC_ACTIVATEWHENVISIBLE | OLEMISC_SETCLIENTSITEFIRST)
  DECLARE_VIEW_STATUS(VIEWSTATUS_SOLIDBKGND | VIEWSTATUS_OPAQUE)
  DECLARE_PROTECT_FINAL_CONSTRUCT()

  BEGIN_COM_MAP(CScriptableControl)
  COM_INTERFACE_ENTRY(IViewObjectEx)
  COM_INTERFACE_ENTRY(IViewObject2)
  COM_INTERFACE_ENTRY(IViewObject)
  COM_INTERFACE_ENTRY(IOleInPlaceObjectWindowless)
  COM_INTERFACE_ENTRY(IOleInPlaceObject)
  COM_INTERFACE_ENTRY2(IOleWindow, IOleInPlaceObjectWindowless)
  COM_INTERFACE_ENTRY(IOleInPlaceActiveObject)
  COM_INTERFACE_ENTRY(IOleControl)
  COM_INTERFACE_ENTRY(IOleObject)
  COM_INTERFACE_ENTRY(IPersistStreamInit)
  COM_INTERFACE_ENTRY2(IPersist, IPersistStreamInit)
  COM_INTERFACE_ENTRY(IPersistStorage)
  COM_INTERFACE_ENTRY(IQuickActivate)
  COM_INTERFACE_ENTRY(IDataObject)
  COM_INTERFACE_ENTRY(ISpecifyPropertyPages)
  COM_INTERFACE_ENTRY(IProvideClassInfo)
  COM_INTERFACE_ENTRY(IProvideClassInfo2)
  COM_INTERFACE_ENTRY_IID(IID_IObjectSafety, IObjectSafety)
  END_COM_MAP()

  // The size is all that the control saves.
  BEGIN_PROP_MAP(T)
  PROP_DATA_ENTRY("_cx", m_sizeExtent.cx, VT_UI4)
  PROP_DATA_ENTRY("_cy", m_sizeExtent.cy, VT_UI4)
  END_PROP_MAP()

  BEGIN_MSG_MAP(CScriptableControl)
  CHAIN_MSG_MAP(CComControl<T>)
  DEFAULT_REFLECTION_HANDLER()
  END_MSG_MAP()

  /// Draws the window background and nothing else.
  HRESULT OnDraw(ATL_DRAWINFO& info) override {
    const RECT bounds = {info.prcBounds->left, info.prcBounds->top, info.prcBounds->right,
                         info.prcBounds->bottom};
    FillRect(info.hdcDraw, &bounds, GetSysColorBrush(COLOR_WINDOW));
    return S_OK;
  }

 protected:
  CScriptableControl() { this->m_bWindowOnly = TRUE; }
  ~CScriptableControl() = default;
};
