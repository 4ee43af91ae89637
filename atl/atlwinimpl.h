#pragma once

#include <atlmsgmap.h>
#include <atlwindow.h>
#include <atlwinmodule.h>
#include <olectl.h>

namespace ATL {

/// Base of classes that handle the messages of a window. For the window's thread.
template <class TBase = CWindow>
class ATL_NO_VTABLE CWindowImplRoot : public TBase, public CMessageMap {
 public:
  CWindowImplRoot() noexcept = default;
  CWindowImplRoot(const CWindowImplRoot&) = delete;
  CWindowImplRoot& operator=(const CWindowImplRoot&) = delete;
  /// The window should be destroyed before; if not, it has the default procedure from now on.
  virtual ~CWindowImplRoot() { _AtlWinModule.RemoveWindow(&m_link); }

  BOOL DestroyWindow() noexcept {
    ATLASSERT(this->IsWindow());
    return ::DestroyWindow(this->m_hWnd);
  }

  /// Returns FALSE for messages other than reflected ones.
  static BOOL DefaultReflectionHandler(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam,
                                       LRESULT& lResult) noexcept {
    switch (uMsg) {
      case OCM_COMMAND:
      case OCM_CTLCOLORBTN:
      case OCM_CTLCOLOREDIT:
      case OCM_CTLCOLORDLG:
      case OCM_CTLCOLORLISTBOX:
      case OCM_CTLCOLORMSGBOX:
      case OCM_CTLCOLORSCROLLBAR:
      case OCM_CTLCOLORSTATIC:
      case OCM_DRAWITEM:
      case OCM_MEASUREITEM:
      case OCM_DELETEITEM:
      case OCM_VKEYTOITEM:
      case OCM_CHARTOITEM:
      case OCM_COMPAREITEM:
      case OCM_HSCROLL:
      case OCM_VSCROLL:
      case OCM_PARENTNOTIFY:
      case OCM_NOTIFY:
        lResult = ::DefWindowProc(hWnd, uMsg - OCM__BASE, wParam, lParam);
        return TRUE;
      default:
        return FALSE;
    }
  }

 protected:
  /// Called for the first message of the window.
  void BindWindow(HWND hWnd, void* pObject) {
    this->m_hWnd = hWnd;
    _AtlWinModule.AddWindow(&m_link, hWnd, pObject);
  }
  /// Called for the last one.
  void UnbindWindow() {
    _AtlWinModule.RemoveWindow(&m_link);
    this->m_hWnd = nullptr;
  }

 private:
  CWindowLink m_link;
};

/// The window procedure of CWindowImpl.
template <class TBase = CWindow>
class ATL_NO_VTABLE CWindowImplBaseT : public CWindowImplRoot<TBase> {
 public:
  /// Receives the first message of a window, and with it the handle.
  static LRESULT CALLBACK StartWindowProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    auto* const pThis = static_cast<CWindowImplBaseT*>(_AtlWinModule.ExtractCreateWndData());
    if (pThis == nullptr) {
      return ::DefWindowProc(hWnd, uMsg, wParam, lParam);
    }
    pThis->BindWindow(hWnd, pThis);
    ::SetWindowLongPtr(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&WindowProc));
    return WindowProc(hWnd, uMsg, wParam, lParam);
  }
  static LRESULT CALLBACK WindowProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    auto* const pThis = static_cast<CWindowImplBaseT*>(_AtlWinModule.FindWindowObject(hWnd));
    if (pThis == nullptr) {
      return ::DefWindowProc(hWnd, uMsg, wParam, lParam);
    }
    LRESULT lResult = 0;
    if (!pThis->ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult, 0)) {
      lResult = ::DefWindowProc(hWnd, uMsg, wParam, lParam);
    }
    if (uMsg == WM_NCDESTROY) {
      pThis->UnbindWindow();
    }
    return lResult;
  }
};

/// A child window with T's message map. T has its own window class.
template <class T, class TBase = CWindow>
// NOLINTNEXTLINE(bugprone-crtp-constructor-accessibility): T may be a template between
class ATL_NO_VTABLE CWindowImpl : public CWindowImplBaseT<TBase> {
 public:
  static CWndClassInfo& GetWndClassInfo() {
    static CWndClassInfo wc(CWindowImpl::StartWindowProc);
    return wc;
  }

  /// Creates a visible window at `rect`, in the parent's coordinates. Returns null when it fails.
  HWND Create(HWND hWndParent, const RECT& rect) {
    ATLASSERT(this->m_hWnd == nullptr);
    const ATOM atom = _AtlWinModule.RegisterClassOnce(T::GetWndClassInfo());
    if (atom == 0) {
      return nullptr;
    }
    const CCreateWndScope announced(this);
    return ::CreateWindow(reinterpret_cast<LPCTSTR>(static_cast<UINT_PTR>(atom)), nullptr,
                          WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS, rect.left,
                          rect.top, rect.right - rect.left, rect.bottom - rect.top, hWndParent,
                          nullptr, _AtlBaseModule.GetModuleInstance(), nullptr);
  }
};

}  // namespace ATL
