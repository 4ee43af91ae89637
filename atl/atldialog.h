#pragma once

#include <atlwinimpl.h>

namespace ATL {

/// The dialog procedure of CAxDialogImpl.
template <class TBase = CWindow>
class ATL_NO_VTABLE CDialogImplBaseT : public CWindowImplRoot<TBase> {
 public:
  /// Receives the first message of a dialog (for example WM_SETFONT), and with it the handle.
  static INT_PTR CALLBACK StartDialogProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    auto* const pThis = static_cast<CDialogImplBaseT*>(_AtlWinModule.ExtractCreateWndData());
    if (pThis == nullptr) {
      return FALSE;
    }
    pThis->BindWindow(hWnd, pThis);
    ::SetWindowLongPtr(hWnd, DWLP_DLGPROC, reinterpret_cast<LONG_PTR>(&DialogProc));
    return DialogProc(hWnd, uMsg, wParam, lParam);
  }
  static INT_PTR CALLBACK DialogProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    auto* const pThis = static_cast<CDialogImplBaseT*>(_AtlWinModule.FindWindowObject(hWnd));
    if (pThis == nullptr) {
      return FALSE;
    }
    INT_PTR nResult = FALSE;
    LRESULT lResult = 0;
    if (pThis->ProcessWindowMessage(hWnd, uMsg, wParam, lParam, lResult, 0)) {
      nResult = ReportResult(hWnd, uMsg, lResult);
    }
    if (uMsg == WM_NCDESTROY) {
      pThis->UnbindWindow();
    }
    return nResult;
  }

  /// Ends DoModal with the result nRetCode.
  BOOL EndDialog(int nRetCode) noexcept {
    ATLASSERT(this->IsWindow());
    return ::EndDialog(this->m_hWnd, nRetCode);
  }

 protected:
  /// Returns -1, and sets the last error, when the dialog cannot be created.
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
  /// Some messages have their result as the procedure's; all others in DWLP_MSGRESULT.
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

}  // namespace ATL
