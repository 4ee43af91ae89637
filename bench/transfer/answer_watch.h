#pragma once

#include <windows.h>

#include <atomic>

#include "bench/support/stopwatch.h"
#include "base/scoped_handle.h"
#include "download/atomic_handle.h"

/// A browser's window, of the thread that makes the object, and a second thread that asks it all
/// the time for an answer: how long it takes is how long the browser's thread served no messages.
class CAnswerWatch {
 public:
  /// Begins to ask.
  CAnswerWatch();
  ~CAnswerWatch();
  CAnswerWatch(const CAnswerWatch&) = delete;
  CAnswerWatch& operator=(const CAnswerWatch&) = delete;

  /// Waits for a message, or a question, and serves it.
  void ServeOneMessage() const;

  /// Ends the questions. The longest time that one of them waited, in seconds. Throws
  /// CMeasurementError when there were too few to tell.
  double LongestSilence();

 private:
  static unsigned __stdcall AskAllTheTime(void* self);
  void Stop();

  HWND m_window;
  std::atomic<bool> m_running{true};
  int m_questions = 0;   // by the asking thread, until it has ended
  double m_longest = 0;  // likewise
  CScopedHandle<CFileTraits> m_thread;
};
