#pragma once

#include "control_base.h"

namespace ATL {

/// The functions of active control T that the container calls. Browsers query for this interface of
/// controls without a window, though T has one.
template <class T>
class IOleInPlaceObjectWindowlessImpl : public IOleInPlaceObjectWindowless {
 public:
  STDMETHOD(GetWindow)(HWND* phwnd) override { return Control().GetControlWindow(phwnd); }
  STDMETHOD(ContextSensitiveHelp)(BOOL /*fEnterMode*/) override { return E_NOTIMPL; }
  STDMETHOD(InPlaceDeactivate)() override { return Control().DeactivateInPlace(); }
  STDMETHOD(UIDeactivate)() override { return Control().DeactivateUI(); }
  STDMETHOD(SetObjectRects)(LPCRECT prcPos, LPCRECT prcClip) override {
    return Control().SetControlRects(prcPos, prcClip);
  }
  STDMETHOD(ReactivateAndUndo)() override { return E_NOTIMPL; }
  /// S_FALSE: the container calls the default procedure.
  STDMETHOD(OnWindowMessage)
  (UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* plResult) override {
    if (FAILED(detail::SetResult(plResult, 0))) {
      return E_POINTER;
    }
    T& control = Control();
    return control.ProcessWindowMessage(control.m_hWndCD, msg, wParam, lParam, *plResult) ? S_OK
                                                                                          : S_FALSE;
  }
  STDMETHOD(GetDropTarget)(IDropTarget** ppDropTarget) override {
    return detail::SetResult(ppDropTarget, nullptr, E_NOTIMPL);
  }

 private:
  T& Control() noexcept { return *static_cast<T*>(this); }
};

/// The functions that the container's frame calls while the control's user interface is active.
template <class T>
class IOleInPlaceActiveObjectImpl : public IOleInPlaceActiveObject {
 public:
  STDMETHOD(GetWindow)(HWND* phwnd) override {
    return static_cast<T*>(this)->GetControlWindow(phwnd);
  }
  STDMETHOD(ContextSensitiveHelp)(BOOL /*fEnterMode*/) override { return E_NOTIMPL; }
  /// Passes all keys to the site: the control uses none.
  STDMETHOD(TranslateAccelerator)(LPMSG pMsg) override {
    if (pMsg == nullptr) {
      return E_POINTER;
    }
    CComPtr<IOleControlSite> pSite;
    const HRESULT hr = static_cast<T*>(this)->QueryControlSite(&pSite);
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
  /// Returns KEYMODIFIERS, which mingw-w64's headers do not have.
  static DWORD KeyModifiers() noexcept {
    const auto pressed = [](int nKey, DWORD dwModifier) {
      return ::GetKeyState(nKey) < 0 ? dwModifier : 0UL;
    };
    return pressed(VK_SHIFT, 1) | pressed(VK_CONTROL, 2) | pressed(VK_MENU, 4);
  }
};

}  // namespace ATL
