#pragma once

#include <atlbase.h>
#include <atlstr.h>

// Conversions by the system's ANSI code page (CP_ACP). The string classes' own conversions use the
// code page of the thread's locale, which may be another one.

/// Converts `size` bytes to wide characters. Throws CAtlException (E_OUTOFMEMORY).
CStringW AnsiToWide(const char* bytes, int size);

/// Converts a zero-terminated string; null is an empty one.
CStringW AnsiToWide(const char* text);

/// Converts the whole text to bytes, including any zero characters in it. Throws CAtlException
/// (E_OUTOFMEMORY).
CStringA WideToAnsi(const CStringW& text);
