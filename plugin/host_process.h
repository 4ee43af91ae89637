#pragma once

#include <windows.h>

/// Whether a process of the executable `path` must not load this module. That is so for the shell:
/// it loads helper objects too, and would keep the file in use until the user logs off.
bool IsRefusedHost(LPCWSTR path);

/// The same for the current process.
bool IsRefusedHostProcess();
