#pragma once

#include <windows.h>
#include <wininet.h>

#include <atomic>
#include <functional>

#include "tests/support/import_spy.h"

/// A place in the product's transfer at which something else is to happen.
enum class Place {
  kBeforeOpen,     // it is about to open its session
  kBetweenChunks,  // it pauses, and something has been written
  kLastWrite,      // it is about to write the body's last bytes
  kEndShown,       // a worker is showing that the body is complete
  kResultPosted,   // a worker has posted its result to the dialog
  kMessageShown,   // it shows a message, which is answered when the action returns
  kDialogEnding,   // it has told its dialog to end
};

/// Runs an action, once, when a transfer of this program comes to a place, on the thread that does.
class CPlaceHook {
 public:
  /// `bodySize`: of the one transfer that is made while the hook lives.
  CPlaceHook(Place place, size_t bodySize, std::function<void()> action);
  ~CPlaceHook();
  CPlaceHook(const CPlaceHook&) = delete;
  CPlaceHook& operator=(const CPlaceHook&) = delete;

  /// Whether the transfer came there.
  bool WasReached() const { return !m_isArmed; }

 private:
  void ReachIf(bool isThere, Place place);
  bool IsWorker() const { return GetCurrentThreadId() != m_dialogThread; }

  const Place m_place;
  const size_t m_bodySize;
  const std::function<void()> m_action;
  const DWORD m_dialogThread = GetCurrentThreadId();
  std::atomic<bool> m_isArmed = true;
  std::atomic<size_t> m_written = 0;

  const CImportSpy<&InternetOpenW> m_open;
  const CImportSpy<&Sleep> m_sleep;
  const CImportSpy<&WriteFile> m_write;
  const CImportSpy<&EnableWindow> m_enable;
  const CImportSpy<&PostMessageW> m_post;
  const CImportSpy<&MessageBoxW> m_message;
  const CImportSpy<&EndDialog> m_end;
};

/// Holds a thread where it is until it is let go; after a minute the test fails and it goes on.
class CHeldThread {
 public:
  CHeldThread();
  ~CHeldThread();
  CHeldThread(const CHeldThread&) = delete;
  CHeldThread& operator=(const CHeldThread&) = delete;

  /// On the thread to hold.
  void Hold() const;
  /// On another one.
  void WaitUntilHeld() const;
  void LetGo() const { SetEvent(m_letGo); }

 private:
  const HANDLE m_held;
  const HANDLE m_letGo;
};
