#pragma once

#include "control_base.h"

namespace ATL {

namespace detail {

/// A metafile with `draw`'s picture in a memory block as CF_METAFILEPICT wants it; null when that
/// cannot be made. sizeUnits: the extent of the picture's coordinates, sizeHimetric: how large it
/// is meant to be shown.
template <class F>
HGLOBAL MakeMetafilePict(SIZE sizeUnits, SIZE sizeHimetric, F draw) {
  const HGLOBAL hPict = ::GlobalAlloc(GMEM_MOVEABLE | GMEM_SHARE, sizeof(METAFILEPICT));
  const HDC hdc = hPict != nullptr ? ::CreateMetaFileW(nullptr) : nullptr;
  if (hdc == nullptr) {
    ::GlobalFree(hPict);
    return nullptr;
  }
  ::SetWindowOrgEx(hdc, 0, 0, nullptr);
  ::SetWindowExtEx(hdc, sizeUnits.cx, sizeUnits.cy, nullptr);
  const HRESULT hr = draw(hdc);
  const HMETAFILE hMetafile = ::CloseMetaFile(hdc);
  auto* const pPict = static_cast<METAFILEPICT*>(::GlobalLock(hPict));
  if (FAILED(hr) || hMetafile == nullptr || pPict == nullptr) {
    ::DeleteMetaFile(hMetafile);
    ::GlobalFree(hPict);
    return nullptr;
  }
  *pPict = {MM_ANISOTROPIC, sizeHimetric.cx, sizeHimetric.cy, hMetafile};
  ::GlobalUnlock(hPict);
  return hPict;
}

}  // namespace detail

/// Control T as data: a metafile with its picture. Containers that want more ask the control's
/// other interfaces, so that most methods are E_NOTIMPL, as documented.
template <class T>
class ATL_NO_VTABLE IDataObjectImpl : public IDataObject {
 public:
  /// CF_METAFILEPICT, to be freed by ReleaseStgMedium.
  STDMETHOD(GetData)(FORMATETC* pformatetcIn, STGMEDIUM* pmedium) override {
    if (pformatetcIn == nullptr || pmedium == nullptr) {
      return E_POINTER;
    }
    *pmedium = {};
    if (pformatetcIn->cfFormat != CF_METAFILEPICT) {
      return DV_E_FORMATETC;
    }
    if ((pformatetcIn->tymed & TYMED_MFPICT) == 0) {
      return DV_E_TYMED;
    }
    if (pformatetcIn->dwAspect != DVASPECT_CONTENT) {
      return DV_E_DVASPECT;
    }
    return DrawMetafile(pformatetcIn, pmedium);
  }
  STDMETHOD(GetDataHere)(FORMATETC* /*pformatetc*/, STGMEDIUM* /*pmedium*/) override {
    return E_NOTIMPL;
  }
  STDMETHOD(QueryGetData)(FORMATETC* /*pformatetc*/) override { return E_NOTIMPL; }
  STDMETHOD(GetCanonicalFormatEtc)
  (FORMATETC* /*pformatectIn*/, FORMATETC* pformatetcOut) override {
    if (pformatetcOut == nullptr) {
      return E_POINTER;
    }
    *pformatetcOut = {};
    return E_NOTIMPL;
  }
  STDMETHOD(SetData)
  (FORMATETC* /*pformatetc*/, STGMEDIUM* /*pmedium*/, BOOL /*fRelease*/) override {
    return E_NOTIMPL;
  }
  STDMETHOD(EnumFormatEtc)(DWORD /*dwDirection*/, IEnumFORMATETC** ppenumFormatEtc) override {
    if (ppenumFormatEtc == nullptr) {
      return E_POINTER;
    }
    *ppenumFormatEtc = nullptr;
    return E_NOTIMPL;
  }

  STDMETHOD(DAdvise)
  (FORMATETC* pformatetc, DWORD advf, IAdviseSink* pAdvSink, DWORD* pdwConnection) override {
    if (pdwConnection == nullptr) {
      return E_POINTER;
    }
    *pdwConnection = 0;
    if (pformatetc == nullptr || pAdvSink == nullptr) {
      return E_POINTER;
    }
    T& control = Control();
    CComPtr<IDataAdviseHolder>& pHolder = control.m_spDataAdviseHolder;
    const HRESULT hr = pHolder != nullptr ? S_OK : ::CreateDataAdviseHolder(&pHolder);
    return FAILED(hr) ? hr : pHolder->Advise(this, pformatetc, advf, pAdvSink, pdwConnection);
  }
  STDMETHOD(DUnadvise)(DWORD dwConnection) override {
    IDataAdviseHolder* const pHolder = Control().m_spDataAdviseHolder;
    return pHolder == nullptr ? OLE_E_NOCONNECTION : pHolder->Unadvise(dwConnection);
  }
  /// Null with S_OK: nobody is connected.
  STDMETHOD(EnumDAdvise)(IEnumSTATDATA** ppenumAdvise) override {
    if (ppenumAdvise == nullptr) {
      return E_POINTER;
    }
    *ppenumAdvise = nullptr;
    IDataAdviseHolder* const pHolder = Control().m_spDataAdviseHolder;
    return pHolder == nullptr ? S_OK : pHolder->EnumAdvise(ppenumAdvise);
  }

 private:
  HRESULT DrawMetafile(const FORMATETC* pformatetcIn, STGMEDIUM* pmedium) {
    T& control = Control();
    const SIZE sizeHimetric = control.m_sizeExtent;
    SIZE sizeUnits;
    AtlHiMetricToPixel(&sizeHimetric, &sizeUnits);
    const RECTL rcBounds = {0, 0, sizeUnits.cx, sizeUnits.cy};
    const HGLOBAL hPict = detail::MakeMetafilePict(sizeUnits, sizeHimetric, [&](HDC hdc) {
      ATL_DRAWINFO di = detail::MakeDrawInfo(hdc, &rcBounds);
      di.lindex = pformatetcIn->lindex;
      di.ptd = pformatetcIn->ptd;
      di.prcWBounds = &rcBounds;
      return control.OnDrawAdvanced(di);
    });
    if (hPict == nullptr) {
      return E_FAIL;
    }
    pmedium->tymed = TYMED_MFPICT;
    pmedium->hMetaFilePict = hPict;
    return S_OK;
  }
  T& Control() noexcept { return *static_cast<T*>(this); }
};

}  // namespace ATL
