#pragma once

// The part of an ActiveX control that does not depend on its class. Activation is in
// control_activation.h, focus and drawing in control.h.

#include <atlcomcli.h>
#include <atlwin.h>
#include <olectl.h>

/// A request to draw a control.
struct ATL_DRAWINFO {
  HDC hdcDraw;
  LPCRECTL prcBounds;  // where to draw, in units of hdcDraw
};

namespace ATL {

/// Members are public for the Impl classes of the control's interfaces. For the control's thread.
/// Sizes are in hundredths of a millimetre, rectangles in pixels.
class CComControlBase {
 public:
  /// h: the member for the control's window.
  explicit CComControlBase(HWND& h) noexcept : m_hWndCD(h) {}
  CComControlBase(const CComControlBase&) = delete;
  CComControlBase& operator=(const CComControlBase&) = delete;
  virtual ~CComControlBase() = default;

  virtual HRESULT ControlQueryInterface(const IID& iid, void** ppv) = 0;
  virtual HWND CreateControlWindow(HWND hWndParent, RECT& rcPos) = 0;
  /// Draws the control into di.prcBounds.
  virtual HRESULT OnDraw(ATL_DRAWINFO& /*di*/) { return S_OK; }
  /// Calls OnDraw with a device context whose units are pixels and whose origin is the upper left
  /// corner, except a metafile's, and restores it.
  inline virtual HRESULT OnDrawAdvanced(ATL_DRAWINFO& di);

  void SetDirty(BOOL bDirty) noexcept { m_bRequiresSave = bDirty != FALSE; }

  // The site in the container
  /// Replaces the site; null removes it. An active control keeps its in-place site.
  void SetControlSite(IOleClientSite* pClientSite) {
    m_spClientSite = pClientSite;
    m_spAmbientDispatch = static_cast<IUnknown*>(pClientSite);
    if (!m_bInPlaceActive) {
      ReleaseInPlaceSite();
    }
  }
  void ReleaseInPlaceSite() {
    m_spInPlaceSite.Release();
    m_bInPlaceSiteEx = FALSE;
  }
  /// Releases the container without calling it: the control is being destroyed.
  void LeaveContainer() {
    m_bUIActive = FALSE;
    m_bInPlaceActive = FALSE;
    m_spInPlaceSite.Release();
    m_spAmbientDispatch.Release();
    m_spClientSite.Release();
  }
  /// Queries the site for an interface. Holds the site during the call, as the container may
  /// replace it.
  HRESULT InternalGetSite(REFIID riid, void** ppUnkSite) {
    if (FAILED(detail::SetResult(ppUnkSite, nullptr))) {
      return E_POINTER;
    }
    const CComPtr<IOleClientSite> pSite = m_spClientSite;
    return pSite == nullptr ? E_FAIL : pSite->QueryInterface(riid, ppUnkSite);
  }
  HRESULT GetAmbientUserMode(BOOL& bUserMode) {
    const CComPtr<IDispatch> pAmbient = m_spAmbientDispatch;
    if (pAmbient == nullptr) {
      return E_FAIL;
    }
    CComVariant value;
    DISPPARAMS none = {};
    HRESULT hr = pAmbient->Invoke(DISPID_AMBIENT_USERMODE, IID_NULL, LOCALE_USER_DEFAULT,
                                  DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr);
    if (SUCCEEDED(hr)) {
      hr = value.ChangeType(VT_BOOL);
    }
    if (SUCCEEDED(hr)) {
      bUserMode = value.boolVal != VARIANT_FALSE;
    }
    return hr;
  }
  /// The container shows the properties: the control has no property pages.
  HRESULT DoVerbProperties(LPCRECT /*prcPosRect*/, HWND /*hwndParent*/) {
    CComPtr<IOleControlSite> pSite;
    const HRESULT hr = QueryControlSite(&pSite);
    return FAILED(hr) ? hr : pSite->ShowPropertyFrame();
  }
  HRESULT QueryControlSite(IOleControlSite** ppSite) {
    return InternalGetSite(__uuidof(IOleControlSite), reinterpret_cast<void**>(ppSite));
  }

  // Activation in place
  /// Changes the state as the verb requires. The site defines the window's position.
  inline HRESULT InPlaceActivate(LONG iVerb, const RECT* prcPosRect = nullptr);
  inline HRESULT DeactivateInPlace();
  inline HRESULT DeactivateUI();
  /// Moves the control's window and hides what is outside prcClip; both in the parent's
  /// coordinates.
  inline HRESULT SetControlRects(LPCRECT prcPos, LPCRECT prcClip);
  /// E_FAIL without a window.
  HRESULT GetControlWindow(HWND* phwnd) const noexcept {
    return detail::SetResult(phwnd, m_hWndCD, m_hWndCD == nullptr ? E_FAIL : S_OK);
  }

  // Notifications
  HRESULT SendOnDataChange(DWORD advf = 0) {
    if (m_spDataAdviseHolder == nullptr) {
      return S_OK;
    }
    CComPtr<IDataObject> pDataObject;
    const HRESULT hr =
        ControlQueryInterface(__uuidof(IDataObject), reinterpret_cast<void**>(&pDataObject));
    return FAILED(hr) ? hr : m_spDataAdviseHolder->SendOnDataChange(pDataObject, 0, advf);
  }
  HRESULT SendOnViewChange(DWORD dwAspect, LONG lindex = -1) {
    if (m_spAdviseSink == nullptr || (m_dwViewAspects & dwAspect) == 0) {
      return S_OK;
    }
    // The sink may replace itself during the call.
    const CComPtr<IAdviseSink> pSink = m_spAdviseSink;
    if ((m_dwViewAdvf & ADVF_ONLYONCE) != 0) {
      m_spAdviseSink.Release();
    }
    pSink->OnViewChange(dwAspect, lindex);
    return S_OK;
  }
  HRESULT SendOnClose() {
    return m_spOleAdviseHolder == nullptr ? S_OK : m_spOleAdviseHolder->SendOnClose();
  }
  HRESULT SendOnSave() {
    return m_spOleAdviseHolder == nullptr ? S_OK : m_spOleAdviseHolder->SendOnSave();
  }

  // Message handlers
  inline LRESULT OnPaint(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
  inline LRESULT OnSetFocus(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
  inline LRESULT OnKillFocus(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
  inline LRESULT OnMouseActivate(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);

  CComPtr<IOleClientSite> m_spClientSite;
  CComQIPtr<IDispatch> m_spAmbientDispatch;
  /// An IOleInPlaceSiteEx only if m_bInPlaceSiteEx, otherwise an IOleInPlaceSite. Null before the
  /// first activation.
  CComPtr<IOleInPlaceSiteEx> m_spInPlaceSite;
  CComPtr<IOleAdviseHolder> m_spOleAdviseHolder;
  CComPtr<IDataAdviseHolder> m_spDataAdviseHolder;
  CComPtr<IAdviseSink> m_spAdviseSink;  // of IViewObject::SetAdvise, with its other arguments
  DWORD m_dwViewAspects = 0;
  DWORD m_dwViewAdvf = 0;

  HWND& m_hWndCD;
  /// Two inches square until the container changes it.
  SIZE m_sizeExtent = {5080, 5080};
  const SIZE m_sizeNatural = m_sizeExtent;
  RECT m_rcPos = {};  // in the container's window

  unsigned m_bInPlaceSiteEx : 1 = FALSE;
  unsigned m_bInPlaceActive : 1 = FALSE;
  unsigned m_bUIActive : 1 = FALSE;
  unsigned m_bUsingWindowRgn : 1 = FALSE;  // a part of the window is hidden
  unsigned m_bRequiresSave : 1 = FALSE;

  /// Set by classes that need a window. Here every control has one.
  unsigned m_bWindowOnly : 1 = FALSE;

 private:
  class CWindowContext;

  inline HRESULT NegotiateSite();
  inline HRESULT EnterInPlaceState(IOleInPlaceSiteEx* pSite);
  inline HRESULT ShowControlWindow(IOleInPlaceSiteEx* pSite, RECT& rcPos);
  inline HRESULT UIActivate(IOleInPlaceSiteEx* pSite, const CWindowContext& context);
  inline void ReportFocus(BOOL bGotFocus);
  /// Returns a reference to hold during a message: its sender has none, and the container may
  /// release its last one in a call.
  CComPtr<IUnknown> HoldSelf() {
    CComPtr<IUnknown> pSelf;
    ControlQueryInterface(IID_IUnknown, reinterpret_cast<void**>(&pSelf));
    return pSelf;
  }
};

}  // namespace ATL
