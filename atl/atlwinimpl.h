#pragma once

#include <atlmsgmap.h>
#include <atlwindow.h>
#include <atlwinmodule.h>
#include <olectl.h>

namespace ATL {

/// Base of every class that handles the messages of a window of its own. All members belong to the
/// window's thread.
template <class TBase = CWindow>
class ATL_NO_VTABLE CWindowImplRoot : public TBase, public CMessageMap {
 public:
  CWindowImplRoot() noexcept = default;
  CWindowImplRoot(const CWindowImplRoot&) = delete;
  CWindowImplRoot& operator=(const CWindowImplRoot&) = delete;
  /// Destroy the window first. If it is still there, it goes on without this object.
  virtual ~CWindowImplRoot() { _AtlWinModule.RemoveWindow(&m_link); }

  /// The message being processed; null outside of processing.
  const _ATL_MSG* GetCurrentMessage() const noexcept { return m_pCurrentMsg; }
  /// The object may be gone on return: OnFinalMessage may have deleted it.
  BOOL DestroyWindow() noexcept {
    ATLASSERT(this->IsWindow());
    return ::DestroyWindow(this->m_hWnd);
  }

  /// FALSE for a message that is no reflected one.
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
  /// Makes a message the current one for the duration of its processing.
  class CCurrentMessage {
   public:
    CCurrentMessage(CWindowImplRoot& root, const _ATL_MSG& msg) noexcept
        : m_root(root), m_pOuter(std::exchange(root.m_pCurrentMsg, &msg)) {}
    ~CCurrentMessage() { m_root.m_pCurrentMsg = m_pOuter; }
    CCurrentMessage(const CCurrentMessage&) = delete;
    CCurrentMessage& operator=(const CCurrentMessage&) = delete;

   private:
    CWindowImplRoot& m_root;
    const _ATL_MSG* const m_pOuter;
  };

  /// Connects object and window, on the first message that the window gets.
  void BindWindow(HWND hWnd, void* pObject) {
    this->m_hWnd = hWnd;
    _AtlWinModule.AddWindow(&m_link, hWnd, pObject);
  }
  /// Separates them, on its last one.
  void UnbindWindow() {
    _AtlWinModule.RemoveWindow(&m_link);
    this->m_hWnd = nullptr;
    m_bDestroyed = true;
  }
  /// True once, when the window is gone and no handler of this object is running any more, be it
  /// the one that destroyed the window: the time for OnFinalMessage.
  bool TakeFinalMessage() noexcept {
    return m_pCurrentMsg == nullptr && std::exchange(m_bDestroyed, false);
  }

 private:
  CWindowLink m_link;
  const _ATL_MSG* m_pCurrentMsg = nullptr;
  bool m_bDestroyed = false;
};

/// Window styles as a type: those given at creation win.
template <DWORD t_dwStyle = 0, DWORD t_dwExStyle = 0>
class CWinTraits {
 public:
  static DWORD GetWndStyle(DWORD dwStyle) noexcept { return dwStyle == 0 ? t_dwStyle : dwStyle; }
  static DWORD GetWndExStyle(DWORD dwExStyle) noexcept {
    return dwExStyle == 0 ? t_dwExStyle : dwExStyle;
  }
};
using CControlWinTraits = CWinTraits<WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS, 0>;
using CNullTraits = CWinTraits<0, 0>;

/// The window procedure of CWindowImpl.
template <class TBase = CWindow, class TWinTraits = CControlWinTraits>
class ATL_NO_VTABLE CWindowImplBaseT : public CWindowImplRoot<TBase> {
 public:
  static DWORD GetWndStyle(DWORD dwStyle) noexcept { return TWinTraits::GetWndStyle(dwStyle); }
  static DWORD GetWndExStyle(DWORD dwExStyle) noexcept {
    return TWinTraits::GetWndExStyle(dwExStyle);
  }

  virtual WNDPROC GetWindowProc() { return WindowProc; }
  /// Called when the window is gone and its last message has been processed; may delete this.
  virtual void OnFinalMessage(HWND /*hWnd*/) {}

  /// Takes the very first message of a window, which tells its handle.
  static LRESULT CALLBACK StartWindowProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    auto* const pThis = static_cast<CWindowImplBaseT*>(_AtlWinModule.ExtractCreateWndData());
    if (pThis == nullptr) {
      return ::DefWindowProc(hWnd, uMsg, wParam, lParam);
    }
    pThis->BindWindow(hWnd, pThis);
    const WNDPROC pProc = pThis->GetWindowProc();
    ::SetWindowLongPtr(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(pProc));
    return pProc(hWnd, uMsg, wParam, lParam);
  }
  static LRESULT CALLBACK WindowProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    auto* const pThis = static_cast<CWindowImplBaseT*>(_AtlWinModule.FindWindowObject(hWnd));
    if (pThis == nullptr) {
      return ::DefWindowProc(hWnd, uMsg, wParam, lParam);
    }
    LRESULT lResult = 0;
    {
      const _ATL_MSG msg(hWnd, uMsg, wParam, lParam);
      const typename CWindowImplRoot<TBase>::CCurrentMessage current(*pThis, msg);
      if (!pThis->ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult, 0)) {
        lResult = ::CallWindowProc(pThis->m_pfnSuperWindowProc, hWnd, uMsg, wParam, lParam);
      }
      if (uMsg == WM_NCDESTROY) {
        pThis->UnbindWindow();
      }
    }
    if (pThis->TakeFinalMessage()) {
      pThis->OnFinalMessage(hWnd);
    }
    return lResult;
  }

  /// Default processing of the current message, for handlers that want its result.
  LRESULT DefWindowProc() {
    const _ATL_MSG* const pMsg = this->GetCurrentMessage();
    return pMsg == nullptr ? 0 : DefWindowProc(pMsg->message, pMsg->wParam, pMsg->lParam);
  }
  LRESULT DefWindowProc(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    return ::CallWindowProc(m_pfnSuperWindowProc, this->m_hWnd, uMsg, wParam, lParam);
  }

  WNDPROC m_pfnSuperWindowProc = ::DefWindowProc;

 protected:
  HWND Create(HWND hWndParent, _U_RECT rect, LPCTSTR szWindowName, DWORD dwStyle, DWORD dwExStyle,
              _U_MENUorID MenuOrID, ATOM atom, LPVOID lpCreateParam) {
    ATLASSERT(this->m_hWnd == nullptr);
    if (atom == 0) {
      return nullptr;
    }
    const RECT& rc = rect.m_lpRect == nullptr ? TBase::rcDefault : *rect.m_lpRect;
    const CCreateWndScope announced(this);
    return ::CreateWindowEx(dwExStyle, reinterpret_cast<LPCTSTR>(static_cast<UINT_PTR>(atom)),
                            szWindowName, dwStyle, rc.left, rc.top, AtlExtent(rc.left, rc.right),
                            AtlExtent(rc.top, rc.bottom), hWndParent, MenuOrID.m_hMenu,
                            _AtlBaseModule.GetModuleInstance(), lpCreateParam);
  }
};

/// A window of class T's own window class (DECLARE_WND_CLASS) with T's message map.
template <class T, class TBase = CWindow, class TWinTraits = CControlWinTraits>
// NOLINTNEXTLINE(bugprone-crtp-constructor-accessibility): T may be a template between
class ATL_NO_VTABLE CWindowImpl : public CWindowImplBaseT<TBase, TWinTraits> {
 public:
  static CWndClassInfo& GetWndClassInfo() {
    static CWndClassInfo wc = AtlWndClass(nullptr, CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS,
                                          COLOR_WINDOW, CWindowImpl::StartWindowProc);
    return wc;
  }
  static LPCTSTR GetWndCaption() noexcept { return nullptr; }

  /// Null when the window cannot be created. A style of 0 means the traits' style.
  HWND Create(HWND hWndParent, _U_RECT rect = nullptr, LPCTSTR szWindowName = nullptr,
              DWORD dwStyle = 0, DWORD dwExStyle = 0, _U_MENUorID MenuOrID = 0U,
              LPVOID lpCreateParam = nullptr) {
    const ATOM atom = T::GetWndClassInfo().Register(&this->m_pfnSuperWindowProc);
    return CWindowImplBaseT<TBase, TWinTraits>::Create(
        hWndParent, rect, szWindowName == nullptr ? T::GetWndCaption() : szWindowName,
        T::GetWndStyle(dwStyle), T::GetWndExStyle(dwExStyle), MenuOrID, atom, lpCreateParam);
  }
};

}  // namespace ATL

/// The window class of a CWindowImpl; a null name makes one up.
#define DECLARE_WND_CLASS(WndClassName) \
  DECLARE_WND_CLASS_EX(WndClassName, CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS, COLOR_WINDOW)
#define DECLARE_WND_CLASS_EX(WndClassName, style, bkgnd)                                          \
  static ATL::CWndClassInfo& GetWndClassInfo() {                                                  \
    static ATL::CWndClassInfo wc = ATL::AtlWndClass(WndClassName, style, bkgnd, StartWindowProc); \
    return wc;                                                                                    \
  }
