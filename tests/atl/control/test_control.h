#pragma once

#include <atlctl.h>

inline constexpr CLSID CLSID_Plate = {
    0x3B0E8A52, 0x6D1C, 0x4C0B, {0x8F, 0x0A, 0x5A, 0x1F, 0x2C, 0x7D, 0x9E, 0x12}};

/// The controls that live, and what they were asked to draw last. Reset it first.
struct PlateLog {
  int alive = 0;
  int drawn = 0;
  RECTL bounds = {};
  HRESULT drawResult = S_OK;
};
inline PlateLog g_plates;

constexpr COLORREF kPlateColour = RGB(0, 128, 255);

/// A full control with a window of its own: a rectangle filled with one colour.
class CPlate : public CComObjectRootEx<CComSingleThreadModel>,
               public IPersistStreamInitImpl<CPlate>,
               public IOleControlImpl<CPlate>,
               public IOleObjectImpl<CPlate>,
               public IOleInPlaceActiveObjectImpl<CPlate>,
               public IViewObjectExImpl<CPlate>,
               public IOleInPlaceObjectWindowlessImpl<CPlate>,
               public IPersistStorageImpl<CPlate>,
               public ISpecifyPropertyPagesImpl<CPlate>,
               public IQuickActivateImpl<CPlate>,
               public IDataObjectImpl<CPlate>,
               public IObjectSafetyImpl<CPlate, INTERFACESAFE_FOR_UNTRUSTED_CALLER |
                                                    INTERFACESAFE_FOR_UNTRUSTED_DATA>,
               public CComCoClass<CPlate, &CLSID_Plate>,
               public CComControl<CPlate> {
 public:
  CPlate() {
    m_bWindowOnly = TRUE;
    ++g_plates.alive;
  }
  CPlate(const CPlate&) = delete;
  CPlate& operator=(const CPlate&) = delete;
  virtual ~CPlate() { --g_plates.alive; }

  DECLARE_OLEMISC_STATUS(OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE | OLEMISC_INSIDEOUT |
                         OLEMISC_ACTIVATEWHENVISIBLE | OLEMISC_SETCLIENTSITEFIRST)
  DECLARE_VIEW_STATUS(VIEWSTATUS_SOLIDBKGND | VIEWSTATUS_OPAQUE)

  // clang-format off
  BEGIN_COM_MAP(CPlate)
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
    COM_INTERFACE_ENTRY(ISpecifyPropertyPages)
    COM_INTERFACE_ENTRY(IQuickActivate)
    COM_INTERFACE_ENTRY(IPersistStorage)
    COM_INTERFACE_ENTRY(IDataObject)
    COM_INTERFACE_ENTRY_IID(IID_IObjectSafety, IObjectSafety)
  END_COM_MAP()

  BEGIN_PROP_MAP(CPlate)
    PROP_DATA_ENTRY("_cx", m_sizeExtent.cx, VT_UI4)
    PROP_DATA_ENTRY("_cy", m_sizeExtent.cy, VT_UI4)
  END_PROP_MAP()

  BEGIN_MSG_MAP(CPlate)
    CHAIN_MSG_MAP(CComControl<CPlate>)
    DEFAULT_REFLECTION_HANDLER()
  END_MSG_MAP()
  // clang-format on

  HRESULT OnDraw(ATL_DRAWINFO& di) override {
    ++g_plates.drawn;
    g_plates.bounds = *di.prcBounds;
    const RECT rc = {di.prcBounds->left, di.prcBounds->top, di.prcBounds->right,
                     di.prcBounds->bottom};
    const HBRUSH brush = CreateSolidBrush(kPlateColour);
    FillRect(di.hdcDraw, &rc, brush);
    DeleteObject(brush);
    return g_plates.drawResult;
  }
};
