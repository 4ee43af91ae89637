#include "tests/faults/run_checks.h"

#include <atlbase.h>
#include <gtest/gtest.h>

#include "tests/support/parallel.h"
#include "tests/support/process_counts.h"
#include "tests/support/user.h"

namespace {

constexpr int kRounds = 4;
constexpr DWORD kLongestDialogMs = 120000;
constexpr UINT kHungDialogExitCode = 97;

}  // namespace

void CRunChecks::Run(const std::function<void()>& cell) {
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  int before = CountHandles();
  const int first = before;
  for (int round = 0; round < kRounds; ++round) {
    cell();
    EXPECT_TRUE(m_threads.WaitForEnds()) << "a thread still runs";
    EXPECT_TRUE(WaitUntil("the module's locks to go",
                          [=] { return ATL::_pAtlModule->GetLockCount() == locks; }));
    EXPECT_TRUE(VisibleDialogs().empty());
    const int after = CountHandles();
    if (after <= before || testing::Test::HasFailure()) {
      return;
    }
    before = after;
  }
  ADD_FAILURE() << "handles left by each run: " << first << " -> " << before;
}

INT_PTR CallGuardedDialog(const std::function<INT_PTR()>& modal) {
  const CHandle ended(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  CParallel guard([&] {
    if (WaitForSingleObject(ended, kLongestDialogMs) != WAIT_OBJECT_0) {
      ADD_FAILURE() << "the dialog does not end";
      TerminateProcess(GetCurrentProcess(), kHungDialogExitCode);
    }
  });
  const INT_PTR result = modal();
  SetEvent(ended);
  guard.Join();
  return result;
}
