#pragma once

#include <atlbase.h>
#include <atlstr.h>

// Message boxes of the product; `format` has one %s, for `subject`.

/// Tells the user something.
void ShowNotice(HWND owner, LPCWSTR format, const CStringW& subject);

/// Warns the user and asks Yes or No. True for Yes.
bool ConfirmWarning(HWND owner, LPCWSTR format, const CStringW& subject);
