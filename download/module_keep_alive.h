#pragma once

#include <windows.h>

/// Keeps this module loaded, and locked against DllCanUnloadNow, until `thread` has ended.
///
/// A thread cannot free the module whose code it runs. So the system's thread pool waits for its
/// end and then frees the module (FreeLibraryWhenCallbackReturns). The caller keeps ownership of
/// `thread`. When the wait cannot be set up, the module stays loaded until the process ends.
void KeepModuleUntilThreadEnds(HANDLE thread);
