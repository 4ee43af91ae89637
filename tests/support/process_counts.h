#pragma once

#include <cstddef>

// What this process holds now, for tests that look for leaks.

int CountHandles();
int CountThreads();
/// Windows of this process, hidden ones and children too.
int CountWindows();
/// Fonts, device contexts and other objects of the graphics system.
int CountGdiObjects();
/// Blocks in use in all heaps.
int CountHeapBlocks();

/// Bytes of committed memory.
size_t CommittedMemory();
