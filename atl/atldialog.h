#pragma once

#include <atlwinimpl.h>

namespace ATL {

/// The dialog procedure of CDialogImpl and CAxDialogImpl.
template <class TBase = CWindow>
class ATL_NO_VTABLE CDialogImplBaseT : public CWindowImplRoot<TBase> {
 public:
  virtual DLGPROC GetDialogProc() { return DialogProc; }
  /// Called when the window is gone and its last message has been processed; may delete this.
  virtual void OnFinalMessage(HWND /*hWnd*/) {}

  /// Takes the very first message of a dialog (WM_SETFONT, say), which tells its handle.
  static INT_PTR CALLBACK StartDialogProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    auto* const pThis = static_cast<CDialogImplBaseT*>(_AtlWinModule.ExtractCreateWndData());
    if (pThis == nullptr) {
      return FALSE;
    }
    pThis->BindWindow(hWnd, pThis);
    const DLGPROC pProc = pThis->GetDialogProc();
    ::SetWindowLongPtr(hWnd, DWLP_DLGPROC, reinterpret_cast<LONG_PTR>(pProc));
    return pProc(hWnd, uMsg, wParam, lParam);
  }
  static INT_PTR CALLBACK DialogProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    auto* const pThis = static_cast<CDialogImplBaseT*>(_AtlWinModule.FindWindowObject(hWnd));
    if (pThis == nullptr) {
      return FALSE;
    }
    INT_PTR nResult = FALSE;
    {
      const _ATL_MSG msg(hWnd, uMsg, wParam, lParam);
      const typename CWindowImplRoot<TBase>::CCurrentMessage current(*pThis, msg);
      LRESULT lResult = 0;
      if (pThis->ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult, 0)) {
        nResult = ReportResult(hWnd, uMsg, lResult);
      }
      if (uMsg == WM_NCDESTROY) {
        pThis->UnbindWindow();
      }
    }
    if (pThis->TakeFinalMessage()) {
      pThis->OnFinalMessage(hWnd);
    }
    return nResult;
  }

  /// Default processing is what the dialog manager does when the dialog procedure returns FALSE.
  LRESULT DefWindowProc() noexcept { return 0; }

  /// Ends DoModal, which then returns nRetCode.
  BOOL EndDialog(int nRetCode) noexcept {
    ATLASSERT(this->IsWindow());
    return ::EndDialog(this->m_hWnd, nRetCode);
  }
  /// Dialog units to pixels.
  BOOL MapDialogRect(LPRECT lpRect) const noexcept { return ::MapDialogRect(this->m_hWnd, lpRect); }

 protected:
  /// Runs the template of the resource instance. -1 (and the last error) when there is no dialog.
  INT_PTR RunModal(UINT nTemplate, HWND hWndParent, LPARAM dwInitParam) {
    ATLASSERT(this->m_hWnd == nullptr);
    const CCreateWndScope announced(this);
    return ::DialogBoxParam(_AtlBaseModule.GetResourceInstance(), MAKEINTRESOURCE(nTemplate),
                            hWndParent, StartDialogProc, dwInitParam);
  }
  HWND CreateModeless(UINT nTemplate, HWND hWndParent, LPARAM dwInitParam) {
    ATLASSERT(this->m_hWnd == nullptr);
    const CCreateWndScope announced(this);
    return ::CreateDialogParam(_AtlBaseModule.GetResourceInstance(), MAKEINTRESOURCE(nTemplate),
                               hWndParent, StartDialogProc, dwInitParam);
  }

 private:
  /// A few messages take their result directly; for all others it is left in the window, and the
  /// dialog procedure says that it was handled.
  static INT_PTR ReportResult(HWND hWnd, UINT uMsg, LRESULT lResult) noexcept {
    switch (uMsg) {
      case WM_COMPAREITEM:
      case WM_VKEYTOITEM:
      case WM_CHARTOITEM:
      case WM_INITDIALOG:
      case WM_QUERYDRAGICON:
      case WM_CTLCOLORMSGBOX:
      case WM_CTLCOLOREDIT:
      case WM_CTLCOLORLISTBOX:
      case WM_CTLCOLORBTN:
      case WM_CTLCOLORDLG:
      case WM_CTLCOLORSCROLLBAR:
      case WM_CTLCOLORSTATIC:
        return lResult;
      default:
        ::SetWindowLongPtr(hWnd, DWLP_MSGRESULT, lResult);
        return TRUE;
    }
  }
};

/// A dialog made from the template T::IDD, with T's message map.
template <class T, class TBase = CWindow>
// NOLINTNEXTLINE(bugprone-crtp-constructor-accessibility): T may be a template between
class ATL_NO_VTABLE CDialogImpl : public CDialogImplBaseT<TBase> {
 public:
  /// The code given to EndDialog, or -1 when the dialog cannot be created.
  INT_PTR DoModal(HWND hWndParent = ::GetActiveWindow(), LPARAM dwInitParam = 0) {
    return this->RunModal(T::IDD, hWndParent, dwInitParam);
  }
  HWND Create(HWND hWndParent, LPARAM dwInitParam = 0) {
    return this->CreateModeless(T::IDD, hWndParent, dwInitParam);
  }
};

}  // namespace ATL
