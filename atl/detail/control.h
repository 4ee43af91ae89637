#pragma once

#include "control_activation.h"
#include "control_base.h"
#include "control_window.h"

namespace ATL {

/// Base class of an ActiveX control T: its state, its window and the window's messages. The
/// interfaces of the control are further base classes of T.
template <class T, class WinBase = CWindowImpl<T>>
class ATL_NO_VTABLE CComControl : public CComControlBase, public WinBase {
 public:
  CComControl() noexcept : CComControlBase(WinBase::m_hWnd) {}
  CComControl(const CComControl&) = delete;
  CComControl& operator=(const CComControl&) = delete;
  /// A container may release a control without closing it.
  ~CComControl() override {
    LeaveContainer();
    if (this->m_hWnd != nullptr) {
      ::DestroyWindow(this->m_hWnd);
    }
  }

  HRESULT ControlQueryInterface(const IID& iid, void** ppv) override {
    return static_cast<T*>(this)->_InternalQueryInterface(iid, ppv);
  }
  HWND CreateControlWindow(HWND hWndParent, RECT& rcPos) override {
    return static_cast<T*>(this)->Create(hWndParent, rcPos);
  }

  // clang-format off
  BEGIN_MSG_MAP(CComControl)
    MESSAGE_HANDLER(WM_PAINT, CComControlBase::OnPaint)
    MESSAGE_HANDLER(WM_SETFOCUS, CComControlBase::OnSetFocus)
    MESSAGE_HANDLER(WM_KILLFOCUS, CComControlBase::OnKillFocus)
    MESSAGE_HANDLER(WM_MOUSEACTIVATE, CComControlBase::OnMouseActivate)
  END_MSG_MAP()
  // clang-format on
};

}  // namespace ATL

/// In a control's class: its OLEMISC_ flags.
#define DECLARE_OLEMISC_STATUS(status) \
  static DWORD _GetMiscStatus() noexcept { return status; }
/// In a control's class: its VIEWSTATUS_ flags.
#define DECLARE_VIEW_STATUS(status) \
  static DWORD _GetViewStatus() noexcept { return status; }
