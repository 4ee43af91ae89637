// Waiting for what another process's windows do: no event tells of it, so it is looked for.
#pragma once

#include <windows.h>

constexpr DWORD kPollInterval = 30;  // milliseconds

/// Evaluates the condition at once and then every 30 ms until it holds (true) or `timeout`
/// milliseconds have passed (false).
template <class Condition>
bool PollUntil(DWORD timeout, Condition condition) {
  const ULONGLONG start = GetTickCount64();
  while (!condition()) {
    if (GetTickCount64() - start >= timeout) {
      return false;
    }
    Sleep(kPollInterval);
  }
  return true;
}
