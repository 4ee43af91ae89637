#include "download/module_keep_alive.h"

#include <gtest/gtest.h>

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

TEST(ModuleKeepAlive, WaitThatIsRefusedKeepsTheModuleForGood) {
  const LONG before = g_module.GetLockCount();
  KeepModuleUntilThreadEnds(nullptr);
  EXPECT_EQ(g_module.GetLockCount(), before + 1);
  g_module.Unlock();  // for the tests that follow
}

}  // namespace
