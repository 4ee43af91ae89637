// Cancelling at random moments, again and again, against a server that stalls and lets go later.
// ./run test --seed repeats a run; FOLIVO_STRESS_ROUNDS changes how many downloads there are.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/download/download_fixture.h"
#include "tests/support/deferred_close.h"
#include "tests/support/message_recorder.h"
#include "tests/support/process_counts.h"
#include "tests/support/run_dialog.h"
#include "tests/support/run_seed.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

constexpr int kDefaultRounds = 50;  // 300 in a full run
constexpr int kWarmUpRounds = 20;
constexpr size_t kStalledAtOnce = 16;
constexpr int kBodySize = 400000;
constexpr int kBytesPerSecond = 200000;  // far after the latest click, on a busy machine too
constexpr int kLongestDelayMs = 60;
constexpr ULONGLONG kAtOnceMs = 10000;

// What the process may hold more than after the warm-up: the system's pool keeps a few threads.
constexpr int kHandleSlack = 40;
constexpr int kThreadSlack = 6;
constexpr size_t kMemorySlack = 16 * 1024 * 1024;

class CancelStress : public DownloadFixture {
 protected:
  uint64_t Random(uint64_t below) { return m_random() % below; }

  /// Where the server stalls: before it answers, at the body's begin, or somewhere in it.
  std::string RandomPoint() {
    const uint64_t choice = Random(4);
    return choice == 0 ? std::string(http_point::kBeforeHeaders)
                       : http_point::BodyByte(choice == 1 ? 0 : Random(kBodySize));
  }

  void RunRound() {
    // After a pre-check the worker goes on with a request that has delivered its head already.
    const bool peeks = Random(2) == 0;
    const std::string point =
        peeks ? http_point::BodyByte(4096 + Random(kBodySize - 4096)) : RandomPoint();
    // A quarter flows, so that it is cut off in a read that is just getting its bytes.
    const HttpAnswer answer =
        Random(4) == 0 ? Lesson(kBodySize).Rate(kBytesPerSecond) : Lesson(kBodySize).Hold(point);
    m_stalled.push_back(std::make_unique<ScriptedPath>(m_server, answer));
    // Each download has a temporary file of its own: the workers left behind overlap.
    const std::wstring name = L"temporary" + std::to_wstring(m_made++) + L".qdk";
    CProgressDialog::Ptr dialog = CProgressDialog::Create(m_stalled.back()->Url(L"a.qdk").c_str(),
                                                          (m_sandbox / name).c_str(), nullptr);
    CProgressDialogPeer{*dialog}.SetExtension(L".qdk");
    if (peeks) {
      ASSERT_TRUE(dialog->PeekContent(L".qdk"));
    }
    const auto delay = static_cast<DWORD>(Random(kLongestDelayMs));
    ULONGLONG cancelled = 0;
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      Sleep(delay);  // The random moment.
      cancelled = GetTickCount64();
      PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
    });
    m_slowest = std::max(m_slowest, GetTickCount64() - cancelled);
    EXPECT_EQ(result, 2);
    dialog.reset();
    if (m_stalled.size() >= kStalledAtOnce) {
      LetGo();
    }
  }

  /// The server lets go: the workers left behind come back from their reads, and end.
  void LetGo() {
    for (const auto& path : m_stalled) {
      path->AllowAll();
    }
    m_stalled.clear();
    WaitUntil("the workers' ends", [this] { return LocksTaken() == 0; });
  }

  const CDeferredClose m_deferredClose;
  std::mt19937 m_random{RunSeed()};
  std::vector<std::unique_ptr<ScriptedPath>> m_stalled;
  CMessageRecorder m_messages;
  ULONGLONG m_slowest = 0;
  int m_made = 0;
};

TEST_F(CancelStress, LeavesNothingBehind) {
  const char* const wanted = std::getenv("FOLIVO_STRESS_ROUNDS");
  const int rounds = wanted != nullptr ? std::atoi(wanted) : kDefaultRounds;
  std::printf("%d rounds\n", rounds);
  for (int i = 0; i < kWarmUpRounds; ++i) {
    RunRound();
  }
  LetGo();
  const int handles = CountHandles();
  const int threads = CountThreads();
  const size_t memory = CommittedMemory();

  m_slowest = 0;
  for (int i = 0; i < rounds && !HasFatalFailure(); ++i) {
    RunRound();
  }
  LetGo();

  std::printf(
      "slowest end after Cancel %llu ms; handles %d -> %d, threads %d -> %d, "
      "committed memory %zu -> %zu KiB\n",
      m_slowest, handles, CountHandles(), threads, CountThreads(), memory / 1024,
      CommittedMemory() / 1024);
  EXPECT_LT(m_slowest, kAtOnceMs);
  EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
  EXPECT_LE(CountHandles(), handles + kHandleSlack);
  EXPECT_LE(CountThreads(), threads + kThreadSlack);
  EXPECT_LE(CommittedMemory(), memory + kMemorySlack);
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_TRUE(TakePostedResults().empty());
  EXPECT_TRUE(m_sandbox.Files().empty()) << "temporary files left";
}

}  // namespace
