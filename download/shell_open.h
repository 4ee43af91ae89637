#pragma once

#include <windows.h>

/// Opens `file` through the shell, as a double-click does, with `parameters` (may be null) for a
/// program. `owner` (may be null) owns the shell's messages. Ignores the result, as the shell shows
/// its own message (Quirk 13, Quirk 67). Dispatches messages meanwhile.
void OpenInShell(HWND owner, LPCWSTR file, LPCWSTR parameters);
