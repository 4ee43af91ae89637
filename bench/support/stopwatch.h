#pragma once

#include <windows.h>

/// Tells the time since it was made.
class CStopwatch {
 public:
  /// In seconds.
  double Elapsed() const {
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(Now() - m_start) / static_cast<double>(frequency.QuadPart);
  }

 private:
  static LONGLONG Now() {
    LARGE_INTEGER now = {};
    QueryPerformanceCounter(&now);
    return now.QuadPart;
  }

  LONGLONG m_start = Now();
};
