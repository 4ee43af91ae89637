#pragma once

#include <windows.h>

// Pauses of the collection pipeline: a short one between steps and between the chunks of a
// transfer, and one that leaves the user time to read a line. Quirk 94: they limit a transfer to
// about 100 KB a second.

inline constexpr DWORD kShortPauseMs = 100;
inline constexpr DWORD kReadingPauseMs = 700;
