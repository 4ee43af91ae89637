#pragma once

#include <atlbase.h>
#include <atlmsgmap.h>
#include <atlwindow.h>
#include <olectl.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace ATL {

/// A registered window class, unregistered with the module, which has its procedure. Its name
/// contains the address of this object, which no other class has, in any module.
struct CWndClassInfo {
  /// Throws CAtlException when the class cannot be registered.
  explicit CWndClassInfo(WNDPROC pProc) {
    ::wsprintf(m_szName, TEXT("ATL:%p"), static_cast<void*>(this));
    WNDCLASSEX wc = {};
    wc.cbSize = sizeof(wc);
    wc.style = CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS;
    wc.lpfnWndProc = pProc;
    wc.hInstance = _AtlBaseModule.GetModuleInstance();
    wc.hCursor = ::LoadCursor(nullptr, IDC_ARROW);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW) + 1);
    wc.lpszClassName = m_szName;
    // A window that exists when the module is unloaded keeps its class registered. If the module is
    // loaded again at the same address, the class has this name and an invalid procedure.
    ::UnregisterClass(m_szName, wc.hInstance);
    if (::RegisterClassEx(&wc) == 0) {
      AtlThrowLastWin32();
    }
  }
  CWndClassInfo(const CWndClassInfo&) = delete;
  CWndClassInfo& operator=(const CWndClassInfo&) = delete;
  ~CWndClassInfo() { ::UnregisterClass(m_szName, _AtlBaseModule.GetModuleInstance()); }

  TCHAR m_szName[32] = {};
};

/// Base of classes that handle the messages of a window. For the window's thread. The window's user
/// data is the address of its object.
template <class TBase = CWindow>
class CWindowImplRoot : public TBase, public CMessageMap {
 public:
  CWindowImplRoot() noexcept = default;
  CWindowImplRoot(const CWindowImplRoot&) = delete;
  CWindowImplRoot& operator=(const CWindowImplRoot&) = delete;
  /// The window should be destroyed before; if not, it has the default procedure from now on.
  virtual ~CWindowImplRoot() {
    if (this->m_hWnd != nullptr) {
      ::SetWindowLongPtr(this->m_hWnd, GWLP_USERDATA, 0);
    }
  }

  BOOL DestroyWindow() noexcept {
    ATLASSERT(this->IsWindow());
    return ::DestroyWindow(this->m_hWnd);
  }

  /// Returns FALSE for messages other than reflected ones.
  static BOOL DefaultReflectionHandler(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam,
                                       LRESULT& lResult) noexcept {
    static constexpr UINT kReflected[] = {
        OCM_COMMAND,         OCM_CTLCOLORBTN,    OCM_CTLCOLOREDIT,      OCM_CTLCOLORDLG,
        OCM_CTLCOLORLISTBOX, OCM_CTLCOLORMSGBOX, OCM_CTLCOLORSCROLLBAR, OCM_CTLCOLORSTATIC,
        OCM_DRAWITEM,        OCM_MEASUREITEM,    OCM_DELETEITEM,        OCM_VKEYTOITEM,
        OCM_CHARTOITEM,      OCM_COMPAREITEM,    OCM_HSCROLL,           OCM_VSCROLL,
        OCM_PARENTNOTIFY,    OCM_NOTIFY};
    if (std::ranges::find(kReflected, uMsg) == std::end(kReflected)) {
      return FALSE;
    }
    lResult = ::DefWindowProc(hWnd, uMsg - OCM__BASE, wParam, lParam);
    return TRUE;
  }

 protected:
  /// Makes this the object of a new window.
  void BindWindow(HWND hWnd) noexcept {
    this->m_hWnd = hWnd;
    ::SetWindowLongPtr(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  }
  /// Passes a message to the window's object; FALSE without one. The object loses the window with
  /// its last message.
  static BOOL Dispatch(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT& lResult) {
    auto* const pThis = reinterpret_cast<CWindowImplRoot*>(::GetWindowLongPtr(hWnd, GWLP_USERDATA));
    if (pThis == nullptr) {
      return FALSE;
    }
    const BOOL bHandled = pThis->ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult, 0);
    if (uMsg == WM_NCDESTROY) {
      ::SetWindowLongPtr(hWnd, GWLP_USERDATA, 0);
      pThis->m_hWnd = nullptr;
    }
    return bHandled;
  }
};

/// A child window with T's message map. T has its own window class.
template <class T, class TBase = CWindow>
// NOLINTNEXTLINE(bugprone-crtp-constructor-accessibility): T may be a template between
class CWindowImpl : public CWindowImplRoot<TBase> {
 public:
  /// Registers the class when the first window is created, after a failure again. Any thread.
  static CWndClassInfo& GetWndClassInfo() {
    static CWndClassInfo wc(WindowProc);
    return wc;
  }

  /// Creates a visible window at `rect`, in the parent's coordinates. Returns null when it fails.
  HWND Create(HWND hWndParent, const RECT& rect) noexcept {
    ATLASSERT(this->m_hWnd == nullptr);
    HWND hWnd = nullptr;
    detail::CallGuarded([&] {
      hWnd = ::CreateWindow(T::GetWndClassInfo().m_szName, nullptr,
                            WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS, rect.left,
                            rect.top, rect.right - rect.left, rect.bottom - rect.top, hWndParent,
                            nullptr, _AtlBaseModule.GetModuleInstance(), this);
      return S_OK;
    });
    return hWnd;
  }

 private:
  static LRESULT CALLBACK WindowProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_NCCREATE) {
      const auto* const pCreate = reinterpret_cast<const CREATESTRUCT*>(lParam);
      static_cast<CWindowImpl*>(pCreate->lpCreateParams)->BindWindow(hWnd);
    }
    LRESULT lResult = 0;
    return CWindowImpl::Dispatch(hWnd, uMsg, wParam, lParam, lResult)
               ? lResult
               : ::DefWindowProc(hWnd, uMsg, wParam, lParam);
  }
};

/// The dialog procedure of CAxDialogImpl.
template <class TBase = CWindow>
class CDialogImplBaseT : public CWindowImplRoot<TBase> {
 public:
  /// Ends DoModal with the result nRetCode.
  BOOL EndDialog(int nRetCode) noexcept {
    ATLASSERT(this->IsWindow());
    return ::EndDialog(this->m_hWnd, nRetCode);
  }

 protected:
  /// WM_INITDIALOG brings the object, which sees no earlier message.
  static INT_PTR CALLBACK DialogProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_INITDIALOG) {
      reinterpret_cast<CDialogImplBaseT*>(std::exchange(lParam, 0))->BindWindow(hWnd);
    }
    LRESULT lResult = 0;
    return CDialogImplBaseT::Dispatch(hWnd, uMsg, wParam, lParam, lResult)
               ? ReportResult(hWnd, uMsg, lResult)
               : FALSE;
  }

 private:
  /// Some messages have their result as the procedure's; all others in DWLP_MSGRESULT.
  static INT_PTR ReportResult(HWND hWnd, UINT uMsg, LRESULT lResult) noexcept {
    static constexpr UINT kDirect[] = {WM_COMPAREITEM,  WM_VKEYTOITEM,        WM_CHARTOITEM,
                                       WM_INITDIALOG,   WM_QUERYDRAGICON,     WM_CTLCOLORMSGBOX,
                                       WM_CTLCOLOREDIT, WM_CTLCOLORLISTBOX,   WM_CTLCOLORBTN,
                                       WM_CTLCOLORDLG,  WM_CTLCOLORSCROLLBAR, WM_CTLCOLORSTATIC};
    if (std::ranges::find(kDirect, uMsg) != std::end(kDirect)) {
      return lResult;
    }
    ::SetWindowLongPtr(hWnd, DWLP_MSGRESULT, lResult);
    return TRUE;
  }
};

}  // namespace ATL
