#pragma once

#include <cstddef>

// What this process holds now, for tests that look for leaks.

int CountHandles();
int CountThreads();

/// Bytes of committed memory.
size_t CommittedMemory();
