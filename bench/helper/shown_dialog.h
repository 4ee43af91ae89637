#pragma once

#include <windows.h>

#include "bench/support/stopwatch.h"

/// Waits, from within this thread's message loop, for the next dialog or message box: the time from
/// this object's making until it is on the screen and takes its first message; then cancels it.
/// One object at a time.
class CShownDialog {
 public:
  CShownDialog();
  ~CShownDialog();
  CShownDialog(const CShownDialog&) = delete;
  CShownDialog& operator=(const CShownDialog&) = delete;

  /// In seconds. Throws CMeasurementError when there was no dialog.
  double TimeUntilShown() const;

 private:
  static LRESULT CALLBACK OnSent(int code, WPARAM wParam, LPARAM lParam);
  static LRESULT CALLBACK OnTaken(int code, WPARAM wParam, LPARAM lParam);

  const HHOOK m_sentHook;
  const HHOOK m_takenHook;
  HWND m_dialog = nullptr;
  double m_time = 0;
  const CStopwatch m_stopwatch;  // last: starts when everything else is ready
};
