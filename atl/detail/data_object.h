#pragma once

#include "control_base.h"

namespace ATL {

namespace detail {

/// Converts a size in hundredths of a millimetre to pixels of the screen.
inline SIZE PixelsFromHimetric(SIZE size) noexcept {
  const HDC hdc = ::GetDC(nullptr);
  const SIZE pixels = {::MulDiv(size.cx, ::GetDeviceCaps(hdc, LOGPIXELSX), 2540),
                       ::MulDiv(size.cy, ::GetDeviceCaps(hdc, LOGPIXELSY), 2540)};
  ::ReleaseDC(nullptr, hdc);
  return pixels;
}

/// Returns a METAFILEPICT of the size `sizeHimetric` with the picture that `draw` draws, in
/// coordinates up to `sizeUnits`; null when that fails.
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

/// Control T as data: a metafile with its picture. The other methods return E_NOTIMPL, as
/// documented.
template <class T>
class IDataObjectImpl : public IDataObject {
 public:
  /// Returns CF_METAFILEPICT; the caller calls ReleaseStgMedium.
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
    T& control = Control();
    const SIZE sizeUnits = detail::PixelsFromHimetric(control.m_sizeExtent);
    const RECTL rcBounds = {0, 0, sizeUnits.cx, sizeUnits.cy};
    const HGLOBAL hPict = detail::MakeMetafilePict(sizeUnits, control.m_sizeExtent, [&](HDC hdc) {
      ATL_DRAWINFO di = {hdc, &rcBounds};
      return control.OnDrawAdvanced(di);
    });
    if (hPict == nullptr) {
      return E_FAIL;
    }
    pmedium->tymed = TYMED_MFPICT;
    pmedium->hMetaFilePict = hPict;
    return S_OK;
  }
  STDMETHOD(GetDataHere)(FORMATETC* /*pformatetc*/, STGMEDIUM* /*pmedium*/) override {
    return E_NOTIMPL;
  }
  STDMETHOD(QueryGetData)(FORMATETC* /*pformatetc*/) override { return E_NOTIMPL; }
  STDMETHOD(GetCanonicalFormatEtc)
  (FORMATETC* /*pformatectIn*/, FORMATETC* pformatetcOut) override {
    return detail::SetResult(pformatetcOut, {}, E_NOTIMPL);
  }
  STDMETHOD(SetData)
  (FORMATETC* /*pformatetc*/, STGMEDIUM* /*pmedium*/, BOOL /*fRelease*/) override {
    return E_NOTIMPL;
  }
  STDMETHOD(EnumFormatEtc)(DWORD /*dwDirection*/, IEnumFORMATETC** ppenumFormatEtc) override {
    return detail::SetResult(ppenumFormatEtc, nullptr, E_NOTIMPL);
  }

  STDMETHOD(DAdvise)
  (FORMATETC* pformatetc, DWORD advf, IAdviseSink* pAdvSink, DWORD* pdwConnection) override {
    if (FAILED(detail::SetResult(pdwConnection, 0))) {
      return E_POINTER;
    }
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
  /// S_OK and null without connections.
  STDMETHOD(EnumDAdvise)(IEnumSTATDATA** ppenumAdvise) override {
    const HRESULT hr = detail::SetResult(ppenumAdvise, nullptr);
    IDataAdviseHolder* const pHolder = Control().m_spDataAdviseHolder;
    return FAILED(hr) || pHolder == nullptr ? hr : pHolder->EnumAdvise(ppenumAdvise);
  }

 private:
  T& Control() noexcept { return *static_cast<T*>(this); }
};

}  // namespace ATL
