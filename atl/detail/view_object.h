#pragma once

#include "control_base.h"

namespace ATL {

/// The picture of control T. Its only aspect is DVASPECT_CONTENT, and it fills its rectangle.
template <class T>
class IViewObjectExImpl : public IViewObjectEx {
 public:
  STDMETHOD(Draw)
  (DWORD dwDrawAspect, LONG /*lindex*/, void* /*pvAspect*/, DVTARGETDEVICE* /*ptd*/,
   HDC /*hicTargetDev*/, HDC hdcDraw, LPCRECTL prcBounds, LPCRECTL /*prcWBounds*/,
   BOOL(STDMETHODCALLTYPE* /*pfnContinue*/)(ULONG_PTR), ULONG_PTR /*dwContinue*/) override {
    if (dwDrawAspect != DVASPECT_CONTENT) {
      return DV_E_DVASPECT;
    }
    if (hdcDraw == nullptr || prcBounds == nullptr) {
      return E_INVALIDARG;
    }
    ATL_DRAWINFO di = {hdcDraw, prcBounds};
    return Control().OnDrawAdvanced(di);
  }
  STDMETHOD(GetColorSet)
  (DWORD /*dwDrawAspect*/, LONG /*lindex*/, void* /*pvAspect*/, DVTARGETDEVICE* /*ptd*/,
   HDC /*hicTargetDev*/, LOGPALETTE** ppColorSet) override {
    return detail::SetResult(ppColorSet, nullptr, E_NOTIMPL);
  }
  STDMETHOD(Freeze)
  (DWORD /*dwDrawAspect*/, LONG /*lindex*/, void* /*pvAspect*/, DWORD* pdwFreeze) override {
    return detail::SetResult(pdwFreeze, 0, E_NOTIMPL);
  }
  STDMETHOD(Unfreeze)(DWORD /*dwFreeze*/) override { return E_NOTIMPL; }

  /// Replaces the sink; null removes it.
  STDMETHOD(SetAdvise)(DWORD dwAspects, DWORD dwAdvf, IAdviseSink* pAdvSink) override {
    T& control = Control();
    control.m_spAdviseSink = pAdvSink;
    control.m_dwViewAspects = dwAspects;
    control.m_dwViewAdvf = dwAdvf;
    if ((dwAdvf & ADVF_PRIMEFIRST) != 0) {
      control.SendOnViewChange(DVASPECT_CONTENT);
    }
    return S_OK;
  }
  /// Each argument may be null.
  STDMETHOD(GetAdvise)(DWORD* pdwAspects, DWORD* pdwAdvf, IAdviseSink** ppAdvSink) override {
    T& control = Control();
    if (pdwAspects != nullptr) {
      *pdwAspects = control.m_dwViewAspects;
    }
    if (pdwAdvf != nullptr) {
      *pdwAdvf = control.m_dwViewAdvf;
    }
    return ppAdvSink == nullptr ? S_OK : control.m_spAdviseSink.CopyTo(ppAdvSink);
  }

  STDMETHOD(GetExtent)
  (DWORD /*dwDrawAspect*/, LONG /*lindex*/, DVTARGETDEVICE* /*ptd*/, LPSIZEL psizel) override {
    return detail::SetResult(psizel, Control().m_sizeExtent);
  }
  STDMETHOD(GetRect)(DWORD /*dwAspect*/, LPRECTL pRect) override {
    return detail::SetResult(pRect, {}, E_NOTIMPL);
  }
  STDMETHOD(GetViewStatus)(DWORD* pdwStatus) override {
    return detail::SetResult(pdwStatus, T::_GetViewStatus());
  }
  STDMETHOD(QueryHitPoint)
  (DWORD dwAspect, LPCRECT prcBounds, POINT ptlLoc, LONG /*lCloseHint*/, DWORD* pHitResult)
      override {
    if (prcBounds == nullptr || pHitResult == nullptr) {
      return E_POINTER;
    }
    *pHitResult = ::PtInRect(prcBounds, ptlLoc) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
    return dwAspect == DVASPECT_CONTENT ? S_OK : E_FAIL;
  }
  STDMETHOD(QueryHitRect)
  (DWORD dwAspect, LPCRECT prcBounds, LPCRECT prcLoc, LONG /*lCloseHint*/, DWORD* pHitResult)
      override {
    if (prcBounds == nullptr || prcLoc == nullptr || pHitResult == nullptr) {
      return E_POINTER;
    }
    RECT rcCommon;
    *pHitResult = ::IntersectRect(&rcCommon, prcBounds, prcLoc) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
    return dwAspect == DVASPECT_CONTENT ? S_OK : E_FAIL;
  }
  /// E_FAIL for every mode but DVEXTENT_CONTENT.
  STDMETHOD(GetNaturalExtent)
  (DWORD dwAspect, LONG /*lindex*/, DVTARGETDEVICE* /*ptd*/, HDC /*hicTargetDev*/,
   DVEXTENTINFO* pExtentInfo, LPSIZEL psizel) override {
    if (pExtentInfo == nullptr || psizel == nullptr) {
      return E_POINTER;
    }
    *psizel = {};
    if (dwAspect != DVASPECT_CONTENT || pExtentInfo->dwExtentMode != DVEXTENT_CONTENT) {
      return E_FAIL;
    }
    *psizel = Control().m_sizeNatural;
    return S_OK;
  }

 private:
  T& Control() noexcept { return *static_cast<T*>(this); }
};

}  // namespace ATL
