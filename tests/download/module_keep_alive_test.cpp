#include "download/module_keep_alive.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/import_patch.h"
#include "tests/support/test_module.h"
#include "tests/support/user.h"

namespace {

CTestModule g_module;

DWORD WINAPI WaitForEvent(void* event) { return WaitForSingleObject(event, INFINITE); }

/// A thread that lives until told to end.
class CWaitingThread {
 public:
  CWaitingThread()
      : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
        m_thread(CreateThread(nullptr, 0, &WaitForEvent, m_event, 0, nullptr)) {}
  ~CWaitingThread() { End(); }

  HANDLE Handle() const { return m_thread; }
  void End() {
    SetEvent(m_event);
    WaitForSingleObject(m_thread, INFINITE);
  }

 private:
  CHandle m_event;
  CHandle m_thread;
};

void AwaitLockCount(LONG count) {
  WaitUntil("the lock count to come back", [=] { return g_module.GetLockCount() == count; });
}

TEST(ModuleKeepAlive, ModuleIsKeptWhileTheThreadRuns) {
  const LONG before = g_module.GetLockCount();
  ASSERT_EQ(g_module.DllCanUnloadNow(), S_OK);
  CWaitingThread thread;
  KeepModuleUntilThreadEnds(thread.Handle());
  EXPECT_EQ(g_module.GetLockCount(), before + 1);
  EXPECT_EQ(g_module.DllCanUnloadNow(), S_FALSE);
  thread.End();
  AwaitLockCount(before);
  EXPECT_EQ(g_module.DllCanUnloadNow(), S_OK);
}

TEST(ModuleKeepAlive, CallersHandleMayGoAtOnce) {
  const LONG before = g_module.GetLockCount();
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE thread = CreateThread(nullptr, 0, &WaitForEvent, event, 0, nullptr);
  KeepModuleUntilThreadEnds(thread);
  CloseHandle(thread);
  EXPECT_EQ(g_module.GetLockCount(), before + 1);
  SetEvent(event);
  AwaitLockCount(before);
  CloseHandle(event);
}

TEST(ModuleKeepAlive, ThreadThatHasEndedIsNoReasonToStay) {
  const LONG before = g_module.GetLockCount();
  CWaitingThread thread;
  thread.End();
  KeepModuleUntilThreadEnds(thread.Handle());
  AwaitLockCount(before);
}

TEST(ModuleKeepAlive, ManyThreadsAreCountedOneByOne) {
  const LONG before = g_module.GetLockCount();
  CWaitingThread threads[40];
  for (const CWaitingThread& thread : threads) {
    KeepModuleUntilThreadEnds(thread.Handle());
  }
  EXPECT_EQ(g_module.GetLockCount(), before + 40);
  for (CWaitingThread& thread : threads) {
    thread.End();
  }
  AwaitLockCount(before);
}

TEST(ModuleKeepAlive, RefusalKeepsTheModuleForGood) {
  const LONG before = g_module.GetLockCount();
  static int waits;
  waits = 0;
  const CImportPatch wait(
      "kernel32.dll", "CreateThreadpoolWait",
      +[](PTP_WAIT_CALLBACK, void*, PTP_CALLBACK_ENVIRON) -> PTP_WAIT {
        ++waits;
        return nullptr;
      });
  KeepModuleUntilThreadEnds(nullptr);
  EXPECT_EQ(g_module.GetLockCount(), before + 1);
  const CWaitingThread thread;
  {
    const CImportPatch reference(
        "kernel32.dll", "GetModuleHandleExW", +[](DWORD, LPCWSTR, HMODULE*) { return FALSE; });
    KeepModuleUntilThreadEnds(thread.Handle());
  }
  EXPECT_EQ(g_module.GetLockCount(), before + 2);
  EXPECT_EQ(waits, 0) << "nothing would free the module behind it";
  KeepModuleUntilThreadEnds(thread.Handle());
  EXPECT_EQ(g_module.GetLockCount(), before + 3);
  EXPECT_EQ(waits, 1);
  for (int i = 0; i < 3; ++i) {
    g_module.Unlock();  // for the tests that follow
  }
}

TEST(ModuleKeepAlive, ModuleObjectMayGoBeforeTheThread) {
  static DWORD caller;
  static CHandle ended;
  static decltype(&CloseHandle) close;
  caller = GetCurrentThreadId();
  ended.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CImportPatch patch(
      "kernel32.dll", "CloseHandle", +[](HANDLE handle) -> BOOL {
        const BOOL result = close(handle);
        if (GetCurrentThreadId() != caller) {
          SetEvent(ended);  // the callback's last step
        }
        return result;
      });
  close = patch.Original<decltype(CloseHandle)>();
  CWaitingThread thread;
  ATL::CAtlModule* const module = std::exchange(ATL::_pAtlModule, nullptr);
  KeepModuleUntilThreadEnds(thread.Handle());
  thread.End();
  EXPECT_EQ(WaitForSingleObject(ended, 20000), WAIT_OBJECT_0);
  ATL::_pAtlModule = module;
}

}  // namespace
