#pragma once

#include <cstddef>

// What this process holds now, for tests that look for leaks.

int CountHandles();
int CountThreads();
/// Blocks in use in all heaps.
int CountHeapBlocks();

/// Bytes of committed memory.
size_t CommittedMemory();
