#pragma once

#include "control_base.h"

namespace ATL {

/// The picture of control T. There is the one aspect DVASPECT_CONTENT, and T fills its rectangle.
template <class T>
class ATL_NO_VTABLE IViewObjectExImpl : public IViewObjectEx {
 public:
  STDMETHOD(Draw)
  (DWORD dwDrawAspect, LONG lindex, void* pvAspect, DVTARGETDEVICE* ptd, HDC hicTargetDev,
   HDC hdcDraw, LPCRECTL prcBounds, LPCRECTL prcWBounds,
   BOOL(STDMETHODCALLTYPE* /*pfnContinue*/)(ULONG_PTR), ULONG_PTR /*dwContinue*/) override {
    if (dwDrawAspect != DVASPECT_CONTENT) {
      return DV_E_DVASPECT;
    }
    if (hdcDraw == nullptr || prcBounds == nullptr) {
      return E_INVALIDARG;
    }
    ATL_DRAWINFO di = detail::MakeDrawInfo(hdcDraw, prcBounds);
    di.lindex = lindex;
    di.ptd = ptd;
    di.hicTargetDev = hicTargetDev;
    di.prcWBounds = prcWBounds;
    const auto* const pInfo = static_cast<const DVASPECTINFO*>(pvAspect);
    di.bOptimize = pInfo != nullptr && pInfo->cb >= sizeof(*pInfo) &&
                   (pInfo->dwFlags & DVASPECTINFOFLAG_CANOPTIMIZE) != 0;
    return Control().OnDrawAdvanced(di);
  }
  STDMETHOD(GetColorSet)
  (DWORD /*dwDrawAspect*/, LONG /*lindex*/, void* /*pvAspect*/, DVTARGETDEVICE* /*ptd*/,
   HDC /*hicTargetDev*/, LOGPALETTE** ppColorSet) override {
    if (ppColorSet == nullptr) {
      return E_POINTER;
    }
    *ppColorSet = nullptr;
    return E_NOTIMPL;
  }
  STDMETHOD(Freeze)
  (DWORD /*dwDrawAspect*/, LONG /*lindex*/, void* /*pvAspect*/, DWORD* pdwFreeze) override {
    if (pdwFreeze == nullptr) {
      return E_POINTER;
    }
    *pdwFreeze = 0;
    return E_NOTIMPL;
  }
  STDMETHOD(Unfreeze)(DWORD /*dwFreeze*/) override { return E_NOTIMPL; }

  /// There is one sink; null takes it away.
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
  /// Each result is for those who want it.
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
    if (psizel == nullptr) {
      return E_POINTER;
    }
    *psizel = Control().m_sizeExtent;
    return S_OK;
  }
  STDMETHOD(GetRect)(DWORD /*dwAspect*/, LPRECTL pRect) override {
    if (pRect == nullptr) {
      return E_POINTER;
    }
    *pRect = {};
    return E_NOTIMPL;
  }
  STDMETHOD(GetViewStatus)(DWORD* pdwStatus) override {
    if (pdwStatus == nullptr) {
      return E_POINTER;
    }
    *pdwStatus = Control()._GetViewStatus();
    return S_OK;
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
  /// A size proposed for an integral fit gets no answer.
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
