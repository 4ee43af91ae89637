#pragma once

#include <atlwin.h>

namespace ATL {

/// A dialog made from the template T::IDD, with T's message map. The template may hold windows
/// only: ActiveX controls are not hosted, and a template with one cannot be created.
template <class T, class TBase = CWindow>
// NOLINTNEXTLINE(bugprone-crtp-constructor-accessibility): T may be a template between
class ATL_NO_VTABLE CAxDialogImpl : public CDialogImplBaseT<TBase> {
 public:
  /// The code given to EndDialog, or -1 when the dialog cannot be created.
  INT_PTR DoModal(HWND hWndParent = ::GetActiveWindow(), LPARAM dwInitParam = 0) {
    return this->RunModal(T::IDD, hWndParent, dwInitParam);
  }
  HWND Create(HWND hWndParent, LPARAM dwInitParam = 0) {
    return this->CreateModeless(T::IDD, hWndParent, dwInitParam);
  }

  BEGIN_MSG_MAP(CAxDialogImpl)
  MESSAGE_HANDLER(WM_INITDIALOG, OnInitDialog)
  END_MSG_MAP()

  /// Base initialisation, to be called first by a T that handles WM_INITDIALOG itself. Hosted
  /// controls would be set up here. Leaves the message unhandled and returns TRUE (default focus).
  LRESULT OnInitDialog(UINT /*uMsg*/, WPARAM /*wParam*/, LPARAM /*lParam*/, BOOL& bHandled) {
    bHandled = FALSE;
    return TRUE;
  }
};

}  // namespace ATL
