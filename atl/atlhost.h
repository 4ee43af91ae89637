#pragma once

#include <atlwinimpl.h>

namespace ATL {

/// A dialog with the template T::IDD and T's message map. Does not host ActiveX controls: a dialog
/// whose template has one cannot be created.
template <class T, class TBase = CWindow>
// NOLINTNEXTLINE(bugprone-crtp-constructor-accessibility): T may be a template between
class CAxDialogImpl : public CDialogImplBaseT<TBase> {
 public:
  /// Returns the code of EndDialog, or -1, with the last error set, when the dialog cannot be
  /// created.
  INT_PTR DoModal(HWND hWndParent = ::GetActiveWindow()) {
    ATLASSERT(this->m_hWnd == nullptr);
    return ::DialogBoxParam(_AtlBaseModule.GetResourceInstance(), MAKEINTRESOURCE(T::IDD),
                            hWndParent, this->DialogProc,
                            reinterpret_cast<LPARAM>(static_cast<CDialogImplBaseT<TBase>*>(this)));
  }
  HWND Create(HWND hWndParent) {
    ATLASSERT(this->m_hWnd == nullptr);
    return ::CreateDialogParam(
        _AtlBaseModule.GetResourceInstance(), MAKEINTRESOURCE(T::IDD), hWndParent, this->DialogProc,
        reinterpret_cast<LPARAM>(static_cast<CDialogImplBaseT<TBase>*>(this)));
  }

  BEGIN_MSG_MAP(CAxDialogImpl)
  MESSAGE_HANDLER(WM_INITDIALOG, OnInitDialog)
  END_MSG_MAP()

  /// Initialises hosted controls, of which there are none; a T that handles WM_INITDIALOG calls
  /// this first. Clears bHandled and returns TRUE: the default focus.
  LRESULT OnInitDialog(UINT /*uMsg*/, WPARAM /*wParam*/, LPARAM /*lParam*/, BOOL& bHandled) {
    bHandled = FALSE;
    return TRUE;
  }
};

}  // namespace ATL
