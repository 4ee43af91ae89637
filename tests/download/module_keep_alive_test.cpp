#include "download/module_keep_alive.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/import_spy.h"
#include "tests/support/test_module.h"
#include "tests/support/user.h"

namespace {

CTestModule g_module;

DWORD WINAPI WaitForEvent(void* event) { return WaitForSingleObject(event, INFINITE); }

/// A thread that runs until `End`.
class CWaitingThread {
 public:
  ~CWaitingThread() { End(); }

  /// Keeps the module for the thread. The caller's handle is closed at once.
  void Keep() const {
    HANDLE handle = nullptr;
    DuplicateHandle(GetCurrentProcess(), m_thread, GetCurrentProcess(), &handle, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    KeepModuleUntilThreadEnds(handle);
    CloseHandle(handle);
  }
  void End() {
    SetEvent(m_event);
    WaitForSingleObject(m_thread, INFINITE);
  }

 private:
  const CHandle m_event{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  const CHandle m_thread{CreateThread(nullptr, 0, &WaitForEvent, m_event, 0, nullptr)};
};

class ModuleKeepAlive : public testing::Test {
 protected:
  LONG LocksTaken() const { return g_module.GetLockCount() - m_before; }
  void AwaitUnlock() const {
    WaitUntil("the lock count to come back", [this] { return LocksTaken() == 0; });
  }

  const LONG m_before = g_module.GetLockCount();
};

TEST_F(ModuleKeepAlive, ModuleIsKeptUntilEachThreadHasEnded) {
  CWaitingThread threads[40];
  for (const CWaitingThread& thread : threads) {
    thread.Keep();
  }
  EXPECT_EQ(LocksTaken(), 40);
  for (CWaitingThread& thread : threads) {
    thread.End();
  }
  AwaitUnlock();
  threads[0].Keep();  // for a thread that has ended
  AwaitUnlock();
}

TEST_F(ModuleKeepAlive, FailureKeepsTheModuleForGood) {
  const CImportSpy<&CreateThreadpoolWait> wait("kernel32.dll", "CreateThreadpoolWait",
                                               [](auto...) { return nullptr; });
  KeepModuleUntilThreadEnds(nullptr);
  EXPECT_EQ(LocksTaken(), 1);
  const CWaitingThread thread;
  {
    const CImportSpy<&GetModuleHandleExW> reference("kernel32.dll", "GetModuleHandleExW",
                                                    [](auto...) { return FALSE; });
    thread.Keep();
  }
  EXPECT_EQ(LocksTaken(), 2);
  EXPECT_TRUE(wait.Calls().empty()) << "nothing would free the module behind it";
  thread.Keep();
  EXPECT_EQ(LocksTaken(), 3);
  EXPECT_EQ(wait.Calls().size(), 1u);
  while (LocksTaken() > 0) {
    g_module.Unlock();  // for the tests that follow
  }
}

TEST_F(ModuleKeepAlive, ModuleObjectMayGoBeforeTheThread) {
  const DWORD caller = GetCurrentThreadId();
  const CHandle ended(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle", [&](HANDLE handle) {
    const BOOL result = close.CallOriginal(handle);
    if (GetCurrentThreadId() != caller) {
      SetEvent(ended);  // the callback's last step
    }
    return result;
  });
  CWaitingThread thread;
  ATL::CAtlModule* const module = std::exchange(ATL::_pAtlModule, nullptr);
  thread.Keep();
  thread.End();
  EXPECT_EQ(WaitForSingleObject(ended, 20000), WAIT_OBJECT_0);
  ATL::_pAtlModule = module;
}

}  // namespace
