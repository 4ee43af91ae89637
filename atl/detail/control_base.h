#pragma once

// The state of an ActiveX control, and what does not depend on its class: activation in place
// (control_activation.h), focus (control_focus.h), drawing (control_drawing.h) and notifications to
// the container.

#include <atlcomcli.h>
#include <atlwin.h>
#include <olectl.h>

#include "draw_info.h"
#include "himetric.h"

namespace ATL {

/// Members are public, as the Impl classes of a control's interfaces work on them. All belong to
/// the control's thread. Sizes are in hundredths of a millimetre, rectangles in pixels.
class ATL_NO_VTABLE CComControlBase {
 public:
  /// h: the member that will hold the control's window.
  explicit CComControlBase(HWND& h) noexcept : m_hWndCD(h) {}
  CComControlBase(const CComControlBase&) = delete;
  CComControlBase& operator=(const CComControlBase&) = delete;
  virtual ~CComControlBase() = default;

  // What the control's class decides.
  virtual HRESULT ControlQueryInterface(const IID& iid, void** ppv) = 0;
  virtual HWND CreateControlWindow(HWND hWndParent, RECT& rcPos) = 0;
  /// Draws the control into di.prcBounds.
  virtual HRESULT OnDraw(ATL_DRAWINFO& /*di*/) { return S_OK; }
  /// Prepares the device context for OnDraw: pixels, with the origin in the upper left corner.
  inline virtual HRESULT OnDrawAdvanced(ATL_DRAWINFO& di);

  // Whether there is something to save.
  void SetDirty(BOOL bDirty) noexcept { m_bRequiresSave = bDirty != FALSE; }

  // The site in the container
  /// Replaces the site, also by none. Keeps the site in place as long as the control is active.
  inline void SetControlSite(IOleClientSite* pClientSite);
  /// Forgets the container without a call to it: the control is being destroyed.
  inline void LeaveContainer();
  /// Asks the site for an interface.
  inline HRESULT InternalGetSite(REFIID riid, void** ppUnkSite);
  inline HRESULT GetAmbientProperty(DISPID dispid, VARIANT& var);
  inline HRESULT GetAmbientUserMode(BOOL& bUserMode);
  /// Lets the container show the properties of the control, which has no pages of its own.
  inline HRESULT DoVerbProperties(LPCRECT prcPosRect, HWND hwndParent);

  // Activation in place
  static BOOL DoesVerbUIActivate(LONG iVerb) noexcept {
    return iVerb == OLEIVERB_UIACTIVATE || iVerb == OLEIVERB_PRIMARY;
  }
  /// Takes the control to the state that the verb asks for. The site says where the window goes.
  inline HRESULT InPlaceActivate(LONG iVerb, const RECT* prcPosRect = nullptr);
  inline HRESULT DeactivateInPlace();
  inline HRESULT DeactivateUI();
  /// Gives or takes the keyboard focus; TRUE when that is how it is now.
  inline BOOL SetControlFocus(BOOL bGrab);
  /// Moves the control's window and cuts off what is outside prcClip. Parent's coordinates.
  inline HRESULT SetControlRects(LPCRECT prcPos, LPCRECT prcClip);
  /// E_FAIL while there is no window.
  inline HRESULT GetControlWindow(HWND* phwnd) const noexcept;

  // Drawing
  inline void GetZoomInfo(ATL_DRAWINFO& di) const noexcept;

  // Notifications
  inline HRESULT SendOnDataChange(DWORD advf = 0);
  inline HRESULT SendOnViewChange(DWORD dwAspect, LONG lindex = -1);
  inline HRESULT SendOnClose();
  inline HRESULT SendOnSave();

  // Message handlers
  inline LRESULT OnPaint(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
  inline LRESULT OnSetFocus(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
  inline LRESULT OnKillFocus(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
  inline LRESULT OnMouseActivate(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);

  CComPtr<IOleClientSite> m_spClientSite;
  CComQIPtr<IDispatch> m_spAmbientDispatch;
  /// Really an IOleInPlaceSiteEx only with m_bInPlaceSiteEx, else an IOleInPlaceSite. Null until
  /// the first activation.
  CComPtr<IOleInPlaceSiteEx> m_spInPlaceSite;
  CComPtr<IOleAdviseHolder> m_spOleAdviseHolder;
  CComPtr<IDataAdviseHolder> m_spDataAdviseHolder;
  CComPtr<IAdviseSink> m_spAdviseSink;  // of the view
  DWORD m_dwViewAspects = 0;            // what IViewObject::SetAdvise was given with it
  DWORD m_dwViewAdvf = 0;

  HWND& m_hWndCD;
  /// Two inches square until the container says something else.
  SIZE m_sizeExtent = {2 * detail::kHimetricPerInch, 2 * detail::kHimetricPerInch};
  const SIZE m_sizeNatural = m_sizeExtent;
  RECT m_rcPos = {};  // in the container's window
  short m_nFreezeEvents = 0;

  // State
  unsigned m_bInPlaceSiteEx : 1 = FALSE;
  unsigned m_bInPlaceActive : 1 = FALSE;
  unsigned m_bUIActive : 1 = FALSE;
  unsigned m_bUsingWindowRgn : 1 = FALSE;  // part of the window is cut off
  unsigned m_bRequiresSave : 1 = FALSE;

  /// Classes that need a window say so in their constructor. Here every control gets one.
  unsigned m_bWindowOnly : 1 = FALSE;

 private:
  class CWindowContext;

  inline HRESULT NegotiateSite();
  inline HRESULT EnterInPlaceState(IOleInPlaceSiteEx* pSite);
  inline HRESULT ShowControlWindow(IOleInPlaceSiteEx* pSite, RECT& rcPos);
  inline HRESULT UIActivate(IOleInPlaceSiteEx* pSite, const CWindowContext& context);
  inline void TellFocus(BOOL bGotFocus);
  /// A reference for the time of a message: the system that sends it has none, and the container
  /// may release its last one inside of a call.
  inline CComPtr<IUnknown> HoldSelf();
};

inline HRESULT CComControlBase::InternalGetSite(REFIID riid, void** ppUnkSite) {
  if (ppUnkSite == nullptr) {
    return E_POINTER;
  }
  *ppUnkSite = nullptr;
  const CComPtr<IOleClientSite> pSite = m_spClientSite;
  return pSite == nullptr ? E_FAIL : pSite->QueryInterface(riid, ppUnkSite);
}

inline HRESULT CComControlBase::GetAmbientProperty(DISPID dispid, VARIANT& var) {
  const CComPtr<IDispatch> pAmbient = m_spAmbientDispatch;
  if (pAmbient == nullptr) {
    return E_FAIL;
  }
  DISPPARAMS none = {};
  return pAmbient->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &var,
                          nullptr, nullptr);
}

inline HRESULT CComControlBase::GetAmbientUserMode(BOOL& bUserMode) {
  CComVariant value;
  HRESULT hr = GetAmbientProperty(DISPID_AMBIENT_USERMODE, value);
  if (SUCCEEDED(hr)) {
    hr = value.ChangeType(VT_BOOL);
  }
  if (SUCCEEDED(hr)) {
    bUserMode = value.boolVal != VARIANT_FALSE;
  }
  return hr;
}

inline HRESULT CComControlBase::DoVerbProperties(LPCRECT /*prcPosRect*/, HWND /*hwndParent*/) {
  CComPtr<IOleControlSite> pSite;
  const HRESULT hr = InternalGetSite(__uuidof(IOleControlSite), reinterpret_cast<void**>(&pSite));
  return FAILED(hr) ? hr : pSite->ShowPropertyFrame();
}

inline HRESULT CComControlBase::SendOnDataChange(DWORD advf) {
  if (m_spDataAdviseHolder == nullptr) {
    return S_OK;
  }
  CComPtr<IDataObject> pDataObject;
  const HRESULT hr =
      ControlQueryInterface(__uuidof(IDataObject), reinterpret_cast<void**>(&pDataObject));
  return FAILED(hr) ? hr : m_spDataAdviseHolder->SendOnDataChange(pDataObject, 0, advf);
}

inline HRESULT CComControlBase::SendOnViewChange(DWORD dwAspect, LONG lindex) {
  if (m_spAdviseSink == nullptr || (m_dwViewAspects & dwAspect) == 0) {
    return S_OK;
  }
  // The sink may replace itself, and one that asked for a single call is forgotten before it.
  const CComPtr<IAdviseSink> pSink = m_spAdviseSink;
  if ((m_dwViewAdvf & ADVF_ONLYONCE) != 0) {
    m_spAdviseSink.Release();
  }
  pSink->OnViewChange(dwAspect, lindex);
  return S_OK;
}

inline HRESULT CComControlBase::SendOnClose() {
  return m_spOleAdviseHolder == nullptr ? S_OK : m_spOleAdviseHolder->SendOnClose();
}

inline HRESULT CComControlBase::SendOnSave() {
  return m_spOleAdviseHolder == nullptr ? S_OK : m_spOleAdviseHolder->SendOnSave();
}

}  // namespace ATL
