// Memory that runs out, and a thread that cannot start, anywhere in a lesson's way from the event
// to the file.

#include <exdispid.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <commdlg.h>
#include <process.h>
#include <shellapi.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <vector>

#include "download/progress_dialog.h"
#include "download/temp_files.h"
#include "tests/browser/install_information.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/browser/navigation_event.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/faults/browser_party.h"
#include "tests/faults/failing_allocations.h"
#include "tests/faults/quick_cut.h"
#include "tests/faults/run_checks.h"
#include "tests/support/http_pattern.h"
#include "tests/support/http_server.h"
#include "tests/support/import_patch.h"
#include "tests/support/lookup_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/scripted_path.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

namespace {

using Mode = CFailingAllocations::Mode;

constexpr int kOpenButton = 6;
constexpr int kSaveButton = 7;
constexpr wchar_t kPromptTitle[] = L"File Download";
constexpr wchar_t kSavedFile[] = L"saved.folivo";
constexpr uint64_t kSeed = 20;
constexpr size_t kPattern = 300000;
constexpr int kQuickStep = 17;

std::string LessonBytes() { return kLessonHead + PatternBytes(kSeed, 0, kPattern); }

// What stands in for the system takes no memory: it may be out.

std::atomic<int> g_messages;
std::atomic<int> g_launches;
wchar_t g_savePath[MAX_PATH];

int WINAPI CountMessage(HWND, LPCWSTR, LPCWSTR, UINT) {
  ++g_messages;
  return IDOK;
}

BOOL WINAPI CountLaunch(SHELLEXECUTEINFOW*) {
  ++g_launches;
  return TRUE;
}

BOOL WINAPI ChoosePath(OPENFILENAMEW* dialog) {
  lstrcpynW(dialog->lpstrFile, g_savePath, static_cast<int>(dialog->nMaxFile));
  return TRUE;
}

bool g_threadsFail;
decltype(&_beginthreadex) g_begin;

uintptr_t BeginOrFail(void* security, unsigned stack, _beginthreadex_proc_type function,
                      void* argument, unsigned flags, unsigned* id) {
  if (g_threadsFail) {
    errno = EAGAIN;
    return 0;
  }
  return g_begin(security, stack, function, argument, flags, id);
}

/// Presses a button of the question, if that comes, until told to end.
class CAnsweringUser {
 public:
  explicit CAnsweringUser(int button)
      : m_ended(CreateEventW(nullptr, TRUE, FALSE, nullptr)), m_thread([this, button] {
          while (WaitForSingleObject(m_ended, 10) == WAIT_TIMEOUT) {
            if (const HWND question = FindDialog(kPromptTitle)) {
              PostMessageW(question, WM_COMMAND, static_cast<WPARAM>(button), 0);
            }
          }
        }) {}
  ~CAnsweringUser() { SetEvent(m_ended); }
  CAnsweringUser(const CAnsweringUser&) = delete;
  CAnsweringUser& operator=(const CAnsweringUser&) = delete;

 private:
  const CHandle m_ended;
  const CParallel m_thread;
};

class LessonMemoryFaults : public testing::Test {
 protected:
  LessonMemoryFaults()
      : m_message("user32.dll", "MessageBoxW", &CountMessage),
        m_launch("shell32.dll", "ShellExecuteExW", &CountLaunch),
        m_saveDialog("GetSaveFileNameW", &ChoosePath) {
    lstrcpynW(g_savePath, (m_sandbox / kSavedFile).c_str(), MAX_PATH);
  }
  ~LessonMemoryFaults() override { SetTempBaseFolder(CStringW()); }

  /// One navigation to a lesson, with `invoke` around the event. True when it was cancelled.
  bool Navigate(int button, const std::function<void(const std::function<void()>&)>& invoke) {
    g_messages = g_launches = 0;
    const ScriptedPath path(m_server, HttpAnswer().Bytes(kLessonHead).Pattern(kSeed, kPattern));
    const CBrowserParty browser;
    CNavigationEvent event(path.Url(L"a.folivo"));
    const CAnsweringUser user(button);
    HRESULT result = E_FAIL;
    const std::function<void()> navigate = [&] {
      try {
        result = browser.helper.Fire(DISPID_BEFORENAVIGATE2, event.Params());
      } catch (...) {
        result = E_UNEXPECTED;
      }
    };
    CallGuardedDialog([&] {
      invoke(navigate);
      return 0;
    });
    EXPECT_EQ(result, S_OK) << "nothing is thrown out of the event";
    EXPECT_TRUE(event.FlagIntact());
    return event.Cancelled();
  }

  /// What is left is the whole lesson, where it was to be put, or nothing; it goes too. True when
  /// the lesson is there.
  bool ExpectAllOrNothing(int button) const {
    const std::vector<std::wstring> files = m_sandbox.Files();
    EXPECT_LE(files.size(), 1u);
    for (const std::wstring& file : files) {
      EXPECT_TRUE(button == kSaveButton ? file == kSavedFile : file.ends_with(L"\\a.folivo"))
          << file;
      EXPECT_TRUE(ReadFileBytes(m_sandbox / file) == LessonBytes());
      DeleteFileW((m_sandbox / file).c_str());
    }
    EXPECT_LE(g_messages, 1);
    return !files.empty();
  }

  void RunOutOfMemory(Mode mode, int button) {
    const CFailingAllocations allocations;
    bool failed = true;
    const CRunSteps steps = RunSteps(kQuickStep);
    int n = steps.first;
    for (; failed && !HasFailure(); n += steps.step) {
      SCOPED_TRACE(n);
      m_checks.Run([&] {
        const bool cancelled = Navigate(button, [&](const std::function<void()>& navigate) {
          failed = allocations.Run(mode, n, navigate);
        });
        const bool isThere = ExpectAllOrNothing(button);
        EXPECT_TRUE(cancelled || !isThere);
        EXPECT_LE(g_launches, button == kOpenButton && isThere ? 1 : 0);
        if (!failed) {
          EXPECT_TRUE(cancelled && isThere) << "with enough memory";
          EXPECT_EQ(g_messages, 0);
        }
      });
    }
    std::printf("fewer than %d allocations\n", n);
  }

  const CTempSandbox m_sandbox;
  const CInstallInformation m_information;
  const CIeFrameDouble m_ieFrame;
  const HttpTestServer m_server;
  CRunChecks m_checks;

 private:
  const CImportPatch m_message;
  const CImportPatch m_launch;
  const CLookupPatch m_saveDialog;
};

TEST_F(LessonMemoryFaults, OneAllocationThatFailsOnTheWayToOpen) {
  RunOutOfMemory(Mode::kOnce, kOpenButton);
}

TEST_F(LessonMemoryFaults, OneAllocationThatFailsOnTheWayToSave) {
  RunOutOfMemory(Mode::kOnce, kSaveButton);
}

TEST_F(LessonMemoryFaults, MemoryThatStaysOutOnTheWayToOpen) {
  RunOutOfMemory(Mode::kForGood, kOpenButton);
}

TEST_F(LessonMemoryFaults, MemoryThatStaysOutOnTheWayToSave) {
  RunOutOfMemory(Mode::kForGood, kSaveButton);
}

TEST_F(LessonMemoryFaults, DialogWithoutMemorySaysSoOnceAndFails) {
  const CFailingAllocations allocations;
  int failures = 0;
  for (const Mode mode : {Mode::kOnce, Mode::kForGood}) {
    bool failed = true;
    for (int n = 1; failed && !HasFailure(); ++n) {
      SCOPED_TRACE(n);
      m_checks.Run([&] {
        g_messages = 0;
        const ScriptedPath path(m_server, HttpAnswer().Bytes(kLessonHead).Pattern(kSeed, kPattern));
        INT_PTR result = 0;
        {
          const CProgressDialog::Ptr dialog = CProgressDialog::Create(
              path.Url(L"a.folivo").c_str(), (m_sandbox / L"temporary.folivo").c_str(), nullptr);
          ASSERT_TRUE(dialog->PeekContent(L".folivo"));
          dialog->SetTarget(CFilePath((m_sandbox / kSavedFile).c_str()), nullptr);
          CallGuardedDialog([&] {
            failed = allocations.Run(mode, n, [&] { result = dialog->DoModal(nullptr); });
            return 0;
          });
        }
        failures += result == kDownloadFailed;
        EXPECT_TRUE(result == kDownloadFailed || result == kDownloadDelivered) << result;
        EXPECT_EQ(g_messages, result == kDownloadFailed ? 1 : 0);
        EXPECT_EQ(ExpectAllOrNothing(kSaveButton), result == kDownloadDelivered);
      });
    }
  }
  EXPECT_GT(failures, 0);
}

TEST_F(LessonMemoryFaults, ThreadThatCannotStartIsToldOnceAndLeavesNothing) {
  const CImportPatch patch("msvcrt.dll", "_beginthreadex", &BeginOrFail);
  g_begin = patch.Original<decltype(_beginthreadex)>();
  for (const int button : {kOpenButton, kSaveButton}) {
    m_checks.Run([&] {
      // The pre-check needs none: the question comes all the same.
      const bool cancelled = Navigate(button, [&](const std::function<void()>& navigate) {
        g_threadsFail = true;
        navigate();
        g_threadsFail = false;
      });
      EXPECT_TRUE(cancelled);
      EXPECT_EQ(g_messages, 1);
      EXPECT_EQ(g_launches, 0);
      EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
    });
  }
}

}  // namespace
