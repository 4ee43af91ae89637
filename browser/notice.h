#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Tells the user something in a message box of the product; `format` has one %s, for `subject`.
void ShowNotice(HWND owner, LPCWSTR format, const CStringW& subject);
