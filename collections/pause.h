#pragma once

#include <windows.h>

// The pauses of the pipeline, in milliseconds: between the steps of a stage, between chunks (which
// caps a transfer at about 100 KB a second), and for a line that the user is to read.

inline constexpr DWORD kShortPauseMs = 100;
inline constexpr DWORD kReadingPauseMs = 700;
