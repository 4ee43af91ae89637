#pragma once

#include <windows.h>

// Pauses of the collection pipeline: a short one between steps and between the chunks of a transfer
// (which limits it to about 100 KB a second), and one that leaves the user time to read a line.

inline constexpr DWORD kShortPauseMs = 100;
inline constexpr DWORD kReadingPauseMs = 700;
