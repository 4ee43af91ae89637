#pragma once

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>
#include <wininet.h>

#include <atomic>
#include <functional>
#include <utility>

#include "tests/support/import_spy.h"
#include "tests/support/user.h"

/// A place in the product's transfer at which something else is to happen.
enum class Place {
  kBeforeOpen,     // it is about to open its session
  kBetweenChunks,  // it pauses, and something has been written
  kLastWrite,      // it is about to write the body's last bytes
  kEndShown,       // a worker is showing that the body is complete
  kResultPosted,   // a worker has posted its result to the dialog
};

/// Runs an action, once, when a transfer of this program comes to a place, on the thread that does.
class CPlaceHook {
 public:
  /// `bodySize`: of the one transfer that is made while the hook lives.
  CPlaceHook(Place place, size_t bodySize, std::function<void()> action)
      : m_place(place), m_bodySize(bodySize), m_action(std::move(action)) {}
  ~CPlaceHook() { m_isArmed = false; }
  CPlaceHook(const CPlaceHook&) = delete;
  CPlaceHook& operator=(const CPlaceHook&) = delete;

  /// Whether the transfer has reached the place.
  bool WasReached() const { return !m_isArmed; }

 private:
  void ReachIf(bool isThere, Place place) {
    if (isThere && m_place == place && m_isArmed.exchange(false)) {
      m_action();
    }
  }
  bool IsWorker() const { return GetCurrentThreadId() != m_dialogThread; }

  const Place m_place;
  const size_t m_bodySize;
  const std::function<void()> m_action;
  const DWORD m_dialogThread = GetCurrentThreadId();
  std::atomic<bool> m_isArmed = true;
  std::atomic<size_t> m_written = 0;

  const CImportSpy<&InternetOpenW> m_open{"wininet.dll", "InternetOpenW",
                                          [this](auto... arguments) {
                                            ReachIf(true, Place::kBeforeOpen);
                                            return m_open.CallOriginal(arguments...);
                                          }};
  const CImportSpy<&Sleep> m_sleep{"kernel32.dll", "Sleep", [this](DWORD milliseconds) {
                                     // After a lesson's chunk, or before an archive's.
                                     const bool isPause = milliseconds == 0 || milliseconds == 100;
                                     ReachIf(isPause && m_written != 0 && m_written < m_bodySize,
                                             Place::kBetweenChunks);
                                     m_sleep.CallOriginal(milliseconds);
                                   }};
  const CImportSpy<&WriteFile> m_write{
      "kernel32.dll", "WriteFile", [this](HANDLE file, LPCVOID data, DWORD size, auto... others) {
        ReachIf(m_written + size == m_bodySize, Place::kLastWrite);
        const BOOL succeeded = m_write.CallOriginal(file, data, size, others...);
        m_written += size;
        return succeeded;
      }};
  const CImportSpy<&EnableWindow> m_enable{"user32.dll", "EnableWindow",
                                           [this](HWND window, BOOL enable) {
                                             ReachIf(IsWorker() && enable, Place::kEndShown);
                                             return m_enable.CallOriginal(window, enable);
                                           }};
  const CImportSpy<&PostMessageW> m_post{
      "user32.dll", "PostMessageW", [this](HWND window, UINT message, auto... parameters) {
        const BOOL posted = m_post.CallOriginal(window, message, parameters...);
        ReachIf(IsWorker() && message == WM_USER, Place::kResultPosted);
        return posted;
      }};
};

/// Holds a thread where it is until it is let go; after a minute the test fails and it goes on.
class CHeldThread {
 public:
  /// On the thread to hold.
  void Hold() const {
    SetEvent(m_held);
    EXPECT_EQ(WaitForSingleObject(m_letGo, PatienceMs()), WAIT_OBJECT_0) << "never let go";
  }
  /// On another one.
  void WaitUntilHeld() const {
    EXPECT_EQ(WaitForSingleObject(m_held, PatienceMs()), WAIT_OBJECT_0) << "not reached";
  }
  void LetGo() const { SetEvent(m_letGo); }

 private:
  const CHandle m_held{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  const CHandle m_letGo{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};
