#pragma once

#include "com/scriptable_control.h"

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

/// A control as the product's, with a log of its life and its drawings.
class CPlate : public CScriptableControl<CPlate, &CLSID_Plate> {
 public:
  CPlate() { ++g_plates.alive; }
  CPlate(const CPlate&) = delete;
  CPlate& operator=(const CPlate&) = delete;
  ~CPlate() override { --g_plates.alive; }

  BEGIN_COM_MAP(CPlate)
  COM_INTERFACE_ENTRY(IOleObject)
  COM_INTERFACE_ENTRY_CHAIN(CScriptableControl)
  END_COM_MAP()

  HRESULT OnDraw(ATL_DRAWINFO& di) override {
    ++g_plates.drawn;
    g_plates.bounds = *di.prcBounds;
    CScriptableControl::OnDraw(di);
    return g_plates.drawResult;
  }
};
