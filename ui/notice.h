#pragma once

#include <atlbase.h>
#include <atlstr.h>

// Message boxes with the product's name as caption. `format` has one %s, for `subject`.

/// Shows a message in MessageBoxW's `style` and returns its answer. Throws CAtlException
/// (E_OUTOFMEMORY).
int ShowFormatted(HWND owner, UINT style, LPCWSTR format, const CStringW& subject);

/// Shows a message with an OK button.
void ShowNotice(HWND owner, LPCWSTR format, const CStringW& subject);

/// Shows a warning with the buttons Yes and No. Returns true for Yes.
bool ConfirmWarning(HWND owner, LPCWSTR format, const CStringW& subject);
