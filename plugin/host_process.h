#pragma once

#include <windows.h>

/// Whether the process of the executable `path` must not host the module: the shell, which loads
/// helper objects as the browser does, but has no use for this one.
bool IsRefusedHost(LPCWSTR path);

/// The same for the process that is loading the module.
bool IsRefusedHostProcess();
