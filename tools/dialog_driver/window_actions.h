// What the dialog driver does to other processes' windows.
#pragma once

#include <windows.h>

#include <string>

/// The outcome of an action.
enum class ActionResult {
  kDone,
  kNoWindow,    // the dialog does not exist (any more)
  kNoControl,   // the dialog has no control of that id
  kNotUsable,   // the control stayed hidden or disabled: a person could not have used it
  kNoAnswer,    // the message could not be posted, or the window did not answer
  kNotTaken,    // the control answered, but does not hold the text
  kStillThere,  // the window did not go in time
};

/// Text for a person who reads the driver's error output.
const wchar_t* Describe(ActionResult result);

/// Clicks a control of a dialog. Waits up to `timeout` milliseconds for it to be visible and
/// enabled. The click is posted: a button that opens a modal dialog does not hold the caller up.
ActionResult Click(HWND dialog, int id, DWORD timeout);

/// Puts text into a control, once that is visible and enabled (`timeout` in milliseconds), and
/// checks that it is there.
ActionResult SetControlText(HWND dialog, int id, const std::wstring& text, DWORD timeout);

/// Presses and releases a key in a control of a dialog, or in the dialog itself when id is 0.
ActionResult PressKey(HWND dialog, int id, WORD virtualKey);

/// Posts the command of a button or menu entry, whether or not there is a control for it.
ActionResult SendCommand(HWND dialog, int id);

/// Asks a window to close, as its close box does. Does not wait for it to go.
ActionResult RequestClose(HWND window);

/// Waits up to `timeout` milliseconds until the window has gone.
ActionResult WaitGone(HWND window, DWORD timeout);
