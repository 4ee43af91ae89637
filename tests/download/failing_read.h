#pragma once

#include <atlbase.h>
#include <windows.h>
#include <wininet.h>

#include "tests/download/download_test.h"
#include "tests/support/import_spy.h"

/// Holds the worker of a running dialog inside its third read, which then
/// fails.
class CFailingRead {
 public:
  void WaitUntilReached() const { m_reached.Wait(); }
  void Fail() const { m_fails.Set(); }
  void FailAndWaitForTheWorker() const {
    Fail();
    EXPECT_EQ(WaitForSingleObject(m_worker, 20000), WAIT_OBJECT_0);
  }

 private:
  CTestEvent m_reached;
  CTestEvent m_fails;
  mutable CHandle m_worker;
  const CImportSpy<&InternetReadFile> m_read{
      "wininet.dll", "InternetReadFile", [this](auto... arguments) {
        if (m_read.Calls().size() != 3) {
          return m_read.CallOriginal(arguments...);
        }
        m_worker.Attach(OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId()));
        m_reached.Set();
        m_fails.Wait();
        return FALSE;
      }};
};
