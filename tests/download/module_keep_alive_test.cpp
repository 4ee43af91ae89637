#include "download/module_keep_alive.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/import_spy.h"
#include "tests/support/test_module.h"
#include "tests/support/user.h"

namespace {

CTestModule g_module;

class ModuleKeepAlive : public testing::Test {
 protected:
  ~ModuleKeepAlive() override { EndThreads(); }

  /// Keeps the module for a new thread, which runs until `EndThreads`.
  void Keep() const {
    const auto wait = [](void* event) { return WaitForSingleObject(event, INFINITE); };
    const CHandle thread(CreateThread(nullptr, 0, wait, m_end, 0, nullptr));
    KeepModuleUntilThreadEnds(thread);
  }
  void EndThreads() const { SetEvent(m_end); }

  LONG LocksTaken() const { return g_module.GetLockCount() - m_before; }
  void AwaitUnlock() const {
    WaitUntil("the lock count to come back", [this] { return LocksTaken() == 0; });
  }

 private:
  const LONG m_before = g_module.GetLockCount();
  const CHandle m_end{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

TEST_F(ModuleKeepAlive, ModuleIsKeptUntilEachThreadHasEnded) {
  for (int i = 0; i < 40; ++i) {
    Keep();
  }
  EXPECT_EQ(LocksTaken(), 40);
  EndThreads();
  AwaitUnlock();
  Keep();  // for a thread that ends at once
  AwaitUnlock();
}

TEST_F(ModuleKeepAlive, FailureKeepsTheModuleForGood) {
  const CImportSpy<&CreateThreadpoolWait> wait("kernel32.dll", "CreateThreadpoolWait",
                                               [](auto...) { return nullptr; });
  KeepModuleUntilThreadEnds(nullptr);
  EXPECT_EQ(LocksTaken(), 1);
  {
    const CImportSpy<&GetModuleHandleExW> reference("kernel32.dll", "GetModuleHandleExW",
                                                    [](auto...) { return FALSE; });
    Keep();
  }
  EXPECT_EQ(LocksTaken(), 2);
  EXPECT_TRUE(wait.Calls().empty()) << "nothing would free the module after it";
  Keep();
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
  ATL::CAtlModule* const module = std::exchange(ATL::_pAtlModule, nullptr);
  Keep();
  EndThreads();
  EXPECT_EQ(WaitForSingleObject(ended, 20000), WAIT_OBJECT_0);
  ATL::_pAtlModule = module;
}

}  // namespace
