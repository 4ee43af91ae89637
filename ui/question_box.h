#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Identifiers of the question box's buttons, which are also its results.
enum CustomMessageBoxResult {
  kMessageBoxButton1 = IDYES,     // 6
  kMessageBoxButton2 = IDNO,      // 7
  kMessageBoxButton3 = IDCANCEL,  // 2, also Escape and the close box
  kMessageBoxButton4 = IDABORT,   // 3
  kMessageBoxRefused = -2,        // not shown: a box of this module is open already
};

/// Shows a modal question box with button labels of the caller.
///
/// `title` and `text`: null is the same as empty. `iconId`: number of a system icon, such as 32514
/// for IDI_QUESTION. `button1` to `button4`: an empty label leaves the button out. `checkLabel`: an
/// empty one leaves the check box out. `checkState`: initial and final state of the check box, 0 or
/// 1; when null, the initial state is the final one of the previous box.
///
/// Returns the identifier of the command that closed the box: a CustomMessageBoxResult, or any
/// other WM_COMMAND identifier that was sent to it. Returns 0 when the owner was destroyed while
/// the box was open; the result of DialogBoxIndirectParam when the box cannot be shown (-1, or 0
/// when the owner is not a window); and kMessageBoxRefused at once while another box of this module
/// is open, on any thread. Throws CAtlException (E_OUTOFMEMORY). User-interface threads only.
int ShowCustomMessageBox(HWND owner, LPCWSTR title, LPCWSTR text, UINT iconId,
                         const CStringW& button1, const CStringW& button2, const CStringW& button3,
                         const CStringW& button4, const CStringW& checkLabel, LONG* checkState);
