#pragma once

#include <atlbase.h>
#include <gtest/gtest.h>
#include <wininet.h>

#include <atomic>

#include "tests/support/import_patch.h"

/// Holds the worker of a running dialog inside its third read until that is let fail. One at a
/// time.
class CFailingRead {
 public:
  CFailingRead() : m_patch("wininet.dll", "InternetReadFile", &Read) {
    s_read = m_patch.Original<decltype(InternetReadFile)>();
    s_reads = 0;
    s_reached.Close();
    s_reached.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    s_fails.Close();
    s_fails.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    s_worker.Close();
  }

  static void WaitUntilReached() { Await(s_reached); }
  static void FailAndWaitForTheWorker() {
    SetEvent(s_fails);
    Await(s_worker);
  }

 private:
  static void Await(HANDLE object) { EXPECT_EQ(WaitForSingleObject(object, 20000), WAIT_OBJECT_0); }
  static BOOL WINAPI Read(HINTERNET request, LPVOID buffer, DWORD size, LPDWORD count) {
    if (++s_reads != 3) {
      return s_read(request, buffer, size, count);
    }
    s_worker.Attach(OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId()));
    SetEvent(s_reached);
    Await(s_fails);
    return FALSE;
  }

  static inline decltype(&InternetReadFile) s_read;
  static inline std::atomic<int> s_reads;
  static inline CHandle s_reached;
  static inline CHandle s_fails;
  static inline CHandle s_worker;
  CImportPatch m_patch;
};
