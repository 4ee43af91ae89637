#pragma once

#include <atlwinimpl.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace ATL {

/// The dialog procedure of CAxDialogImpl.
template <class TBase = CWindow>
class ATL_NO_VTABLE CDialogImplBaseT : public CWindowImplRoot<TBase> {
 public:
  /// Ends DoModal with the result nRetCode.
  BOOL EndDialog(int nRetCode) noexcept {
    ATLASSERT(this->IsWindow());
    return ::EndDialog(this->m_hWnd, nRetCode);
  }

 protected:
  /// Returns -1, and sets the last error, when the dialog cannot be created.
  INT_PTR RunModal(UINT nTemplate, HWND hWndParent) {
    ATLASSERT(this->m_hWnd == nullptr);
    return ::DialogBoxParam(_AtlBaseModule.GetResourceInstance(), MAKEINTRESOURCE(nTemplate),
                            hWndParent, DialogProc, reinterpret_cast<LPARAM>(this));
  }
  HWND CreateModeless(UINT nTemplate, HWND hWndParent) {
    ATLASSERT(this->m_hWnd == nullptr);
    return ::CreateDialogParam(_AtlBaseModule.GetResourceInstance(), MAKEINTRESOURCE(nTemplate),
                               hWndParent, DialogProc, reinterpret_cast<LPARAM>(this));
  }

 private:
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
