#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/patience.h"

// What a person does with the dialogs of this process: waits for them, reads them, clicks. Called
// from a thread beside the one that is inside the modal dialog (CParallel). Waits poll, as another
// thread's windows signal nothing; when the time is up they fail the test and answer null or false.

/// Waits for a visible, enabled dialog with exactly this title, also one whose thread serves no
/// messages. Null after the time is up.
HWND WaitForDialog(const std::wstring& title, DWORD timeoutMs = PatienceMs());

/// Whether such a dialog is there now.
HWND FindDialog(const std::wstring& title);

/// All visible dialogs (class #32770) of this process now.
std::vector<HWND> VisibleDialogs();

/// Waits until the window is gone or hidden.
bool WaitUntilGone(HWND window, DWORD timeoutMs = PatienceMs());

/// Waits until `condition` holds, polling. `what` names it in the failure.
bool WaitUntil(const char* what, const std::function<bool()>& condition,
               DWORD timeoutMs = PatienceMs());

/// Clicks the button with this identifier.
void Click(HWND dialog, int id);

/// Presses the close box.
void Close(HWND window);

std::wstring TextOf(HWND window);
std::wstring ChildText(HWND dialog, int id);

/// Text of a system message box.
std::wstring MessageText(HWND box);

/// Waits for the system's save dialog, types `path` (nothing when empty) and presses Save.
void SaveAs(const std::wstring& path);
