#pragma once

#include <windows.h>

/// Keeps this module loaded, and its lock count up, until `thread` has ended.
///
/// A thread cannot do that for itself: it runs the module's code to its very last instruction. So a
/// pool thread waits for its end and frees the module from outside. The caller keeps ownership of
/// `thread`. When the system refuses the wait, the module stays for the rest of the process.
void KeepModuleUntilThreadEnds(HANDLE thread);
