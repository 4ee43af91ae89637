#pragma once

#include "control_base.h"

namespace ATL {

/// How a container handles active control T. The interface for controls without a window is there
/// as browsers ask for it; the control has one.
template <class T>
class ATL_NO_VTABLE IOleInPlaceObjectWindowlessImpl : public IOleInPlaceObjectWindowless {
 public:
  STDMETHOD(GetWindow)(HWND* phwnd) override { return Control().GetControlWindow(phwnd); }
  STDMETHOD(ContextSensitiveHelp)(BOOL /*fEnterMode*/) override { return E_NOTIMPL; }
  STDMETHOD(InPlaceDeactivate)() override { return Control().DeactivateInPlace(); }
  STDMETHOD(UIDeactivate)() override { return Control().DeactivateUI(); }
  STDMETHOD(SetObjectRects)(LPCRECT prcPos, LPCRECT prcClip) override {
    return Control().SetControlRects(prcPos, prcClip);
  }
  STDMETHOD(ReactivateAndUndo)() override { return E_NOTIMPL; }
  /// S_FALSE: the container does the default processing.
  STDMETHOD(OnWindowMessage)
  (UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* plResult) override {
    if (plResult == nullptr) {
      return E_POINTER;
    }
    *plResult = 0;
    T& control = Control();
    return control.ProcessWindowMessage(control.m_hWndCD, msg, wParam, lParam, *plResult) ? S_OK
                                                                                          : S_FALSE;
  }
  STDMETHOD(GetDropTarget)(IDropTarget** ppDropTarget) override {
    if (ppDropTarget == nullptr) {
      return E_POINTER;
    }
    *ppDropTarget = nullptr;
    return E_NOTIMPL;
  }

 private:
  T& Control() noexcept { return *static_cast<T*>(this); }
};

/// What the container's frame tells the control that has the user interface.
template <class T>
class ATL_NO_VTABLE IOleInPlaceActiveObjectImpl : public IOleInPlaceActiveObject {
 public:
  STDMETHOD(GetWindow)(HWND* phwnd) override {
    return static_cast<T*>(this)->GetControlWindow(phwnd);
  }
  STDMETHOD(ContextSensitiveHelp)(BOOL /*fEnterMode*/) override { return E_NOTIMPL; }
  /// The control uses no keys: they are offered to the site, which may use them for the form.
  STDMETHOD(TranslateAccelerator)(LPMSG pMsg) override {
    if (pMsg == nullptr) {
      return E_POINTER;
    }
    CComPtr<IOleControlSite> pSite;
    const HRESULT hr = static_cast<T*>(this)->InternalGetSite(__uuidof(IOleControlSite),
                                                              reinterpret_cast<void**>(&pSite));
    return SUCCEEDED(hr) && pSite->TranslateAccelerator(pMsg, KeyModifiers()) == S_OK ? S_OK
                                                                                      : S_FALSE;
  }
  STDMETHOD(OnFrameWindowActivate)(BOOL /*fActivate*/) override { return S_OK; }
  STDMETHOD(OnDocWindowActivate)(BOOL /*fActivate*/) override { return S_OK; }
  STDMETHOD(ResizeBorder)
  (LPCRECT /*prcBorder*/, IOleInPlaceUIWindow* /*pUIWindow*/, BOOL /*fFrameWindow*/) override {
    return S_OK;
  }
  STDMETHOD(EnableModeless)(BOOL /*fEnable*/) override { return S_OK; }

 private:
  // The values of KEYMODIFIERS, which mingw-w64's headers leave out.
  static constexpr DWORD kShift = 1;
  static constexpr DWORD kControl = 2;
  static constexpr DWORD kAlt = 4;

  static DWORD KeyModifiers() noexcept {
    const auto pressed = [](int nKey, DWORD dwModifier) {
      return ::GetKeyState(nKey) < 0 ? dwModifier : 0UL;
    };
    return pressed(VK_SHIFT, kShift) | pressed(VK_CONTROL, kControl) | pressed(VK_MENU, kAlt);
  }
};

}  // namespace ATL
