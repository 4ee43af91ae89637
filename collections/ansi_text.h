#pragma once

#include <atlbase.h>
#include <atlstr.h>

// Text in the system's ANSI code page, whatever the thread's locale is: the string classes' own
// conversions follow the thread, and a text would not come back as it went.

/// The characters that `size` bytes stand for. Throws CAtlException: E_OUTOFMEMORY.
CStringW AnsiToWide(const char* bytes, int size);

/// The same for a text that ends at its first zero byte; null is no text.
CStringW AnsiToWide(const char* text);

/// The bytes that stand for the characters, zero ones among them. Throws CAtlException:
/// E_OUTOFMEMORY.
CStringA WideToAnsi(const CStringW& text);
