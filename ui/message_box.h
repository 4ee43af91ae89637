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

/// Shows a modal question box whose buttons carry the caller's own words.
///
/// `title` and `text`: null counts as empty. `iconId`: a system icon (IDI_QUESTION's number).
/// `button1` to `button4`: an empty label means that there is no such button. `checkLabel`: empty
/// means no check box. `checkState`: start and end state of the check box (0 or 1); null starts
/// with the state that the last box left.
///
/// Returns the command that closed the box: a CustomMessageBoxResult, or whatever other command
/// reached it. Without a command it returns 0 when the owner was destroyed while the box was open,
/// and what the system's DialogBoxIndirectParam returns when it cannot show the box: -1, or 0 for
/// an owner that is no window. kMessageBoxRefused at once while a box of this module is open, on
/// whatever thread. Throws CAtlException (E_OUTOFMEMORY). User-interface threads only.
int ShowCustomMessageBox(HWND owner, LPCWSTR title, LPCWSTR text, UINT iconId,
                         const CStringW& button1, const CStringW& button2, const CStringW& button3,
                         const CStringW& button4, const CStringW& checkLabel, LONG* checkState);
