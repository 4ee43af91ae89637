// Memory that runs out, and a thread that cannot start, anywhere in a lesson's way from the event
// to the file.

#include <commdlg.h>
#include <process.h>
#include <shellapi.h>

#include <atomic>
#include <cerrno>
#include <functional>

#include "download/progress_dialog.h"
#include "tests/faults/event_faults.h"
#include "tests/faults/failing_allocations.h"
#include "tests/support/import_spy.h"
#include "tests/support/lookup_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr wchar_t kSavedFile[] = L"saved.qdk";

std::atomic<int> g_launches;
wchar_t g_savePath[MAX_PATH];

class LessonMemoryFaults : public EventFaults {
 protected:
  LessonMemoryFaults() { lstrcpynW(g_savePath, (m_sandbox / kSavedFile).c_str(), MAX_PATH); }

  using Invoke = std::function<void(const std::function<void()>& navigate)>;

  /// One navigation to a lesson, with `invoke` around the event. True when it was cancelled.
  bool Navigate(int button, const Invoke& invoke) const {
    g_launches = 0;
    const ScriptedPath path(m_server, Lesson());
    const CBrowserParty browser;
    CNavigationEvent event(path.Url(L"a.qdk"));
    HRESULT result = E_FAIL;
    const CHandle ended(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    CParallel user([&] {  // The question may not come.
      while (WaitForSingleObject(ended, 10) == WAIT_TIMEOUT) {
        if (const HWND question = FindDialog(kPromptTitle)) {
          PostMessageW(question, WM_COMMAND, static_cast<WPARAM>(button), 0);
        }
      }
    });
    invoke([&] {
      try {
        result = browser.helper.Fire(DISPID_BEFORENAVIGATE2, event.Params());
      } catch (...) {
        result = E_UNEXPECTED;
      }
    });
    SetEvent(ended);
    EXPECT_EQ(result, S_OK) << "nothing is thrown out of the event";
    EXPECT_TRUE(event.FlagIntact());
    return event.Cancelled();
  }

  /// What is left is the whole lesson, where it was to be put, or nothing. Deletes the file
  /// afterwards. True when the lesson is there.
  bool ExpectAllOrNothing(int button) const {
    const Files files = m_sandbox.Files();
    EXPECT_LE(files.size(), 1u);
    for (const std::wstring& file : files) {
      EXPECT_TRUE(button == kSaveButton ? file == kSavedFile : file.ends_with(L"\\a.qdk")) << file;
      EXPECT_TRUE(ReadFileBytes(m_sandbox / file) == LessonBytes());
      DeleteFileW((m_sandbox / file).c_str());
    }
    return !files.empty();
  }

 private:
  // What stands in for the system takes no memory: it may be out.
  const CMessageCount m_messages;
  const CImportPatch m_launch{"shell32.dll", "ShellExecuteExW", +[](SHELLEXECUTEINFOW*) -> BOOL {
                                ++g_launches;
                                return TRUE;
                              }};
  const CLookupPatch m_saveDialog{"GetSaveFileNameW", +[](OPENFILENAMEW* dialog) -> BOOL {
                                    lstrcpynW(dialog->lpstrFile, g_savePath,
                                              static_cast<int>(dialog->nMaxFile));
                                    return TRUE;
                                  }};
};

TEST_F(LessonMemoryFaults, EventDeliversTheWholeLessonOrNothing) {
  for (const int button : {kOpenButton, kSaveButton}) {
    RunOutOfMemory(Checks(), [&](const Fail& fail) {
      bool failed = false;
      const bool cancelled =
          Navigate(button, [&](const auto& navigate) { failed = fail(navigate); });
      const bool isThere = ExpectAllOrNothing(button);
      const int messages = CMessageCount::Take();
      EXPECT_LE(messages, 1);
      EXPECT_TRUE(cancelled || !isThere);
      EXPECT_LE(g_launches, button == kOpenButton && isThere ? 1 : 0);
      EXPECT_TRUE(failed || (isThere && messages == 0)) << "with enough memory";
      return failed;
    });
  }
}

TEST_F(LessonMemoryFaults, DialogWithoutMemoryFailsWithOneMessage) {
  int failures = 0;
  const auto cell = [&](const Fail& fail) {
    const ScriptedPath path(m_server, Lesson());
    CProgressDialog::Ptr dialog = CProgressDialog::Create(
        path.Url(L"a.qdk").c_str(), (m_sandbox / L"temporary.qdk").c_str(), nullptr);
    EXPECT_TRUE(dialog->PeekContent(L".qdk"));
    dialog->SetTarget(CFilePath((m_sandbox / kSavedFile).c_str()), nullptr);
    INT_PTR result = 0;
    const bool failed = fail([&] { result = dialog->DoModal(nullptr); });
    dialog.reset();
    failures += result == kDownloadFailed;
    EXPECT_TRUE(result == kDownloadFailed || result == kDownloadDelivered) << result;
    EXPECT_EQ(CMessageCount::Take(), result == kDownloadFailed ? 1 : 0);
    EXPECT_EQ(ExpectAllOrNothing(kSaveButton), result == kDownloadDelivered);
    return failed;
  };
  RunOutOfMemory(Checks(), cell, 1);
  EXPECT_GT(failures, 0);
}

TEST_F(LessonMemoryFaults, ThreadThatCannotStartGivesOneMessageAndLeavesNothing) {
  bool isOut = false;
  const CImportSpy<&_beginthreadex> begin("msvcrt.dll", "_beginthreadex", [&](auto... arguments) {
    errno = EAGAIN;
    return isOut ? 0 : begin.CallOriginal(arguments...);
  });
  for (const int button : {kOpenButton, kSaveButton}) {
    Checks().Run([&] {
      // The pre-check needs none: the question comes all the same.
      EXPECT_TRUE(Navigate(button, [&](const auto& navigate) {
        isOut = true;
        navigate();
        isOut = false;
      }));
      EXPECT_EQ(CMessageCount::Take(), 1);
      EXPECT_EQ(g_launches, 0);
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

}  // namespace
