// Stopping a download that is under way: the dialog ends at once whatever server and disk do, and
// nothing is left in the end.

#include <gtest/gtest.h>
#include <windows.h>

#include <shlwapi.h>
#include <wininet.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "tests/download/download_fixture.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/interruption.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/run_dialog.h"
#include "tests/support/user.h"

namespace {

class ProgressDialogStop : public SteppedDownloadFixture {
 protected:
  static void ExpectClosed(const CProgressDialogPeer& peer) {
    EXPECT_FALSE(peer.IsRunning());
    EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(peer.Request(), nullptr);
    EXPECT_EQ(peer.Session(), nullptr);
  }
};

TEST_F(ProgressDialogStop, ServerThatNeverAnswersHoldsNobodyUp) {
  const std::string point(http_point::kBeforeHeaders);
  const ScriptedPath path(m_server, Lesson(1000).Hold(point));
  std::weak_ptr<CProgressDialog> watched;
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    watched = dialog->weak_from_this();
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      EXPECT_TRUE(path.WaitForHeld(point));
      Click(window, IDCANCEL);
      WaitUntilGone(window, 10000);
    });
    EXPECT_EQ(result, 2);
    EXPECT_FALSE(CProgressDialogPeer{*dialog}.HasThread());
    ExpectClosed({*dialog});
  }
  EXPECT_FALSE(watched.expired()) << "the worker still uses it";
  EXPECT_EQ(LocksTaken(), 1);
  // The name is free again, and another download may use it.
  m_sandbox.Write(L"temporary.qdk", "another download");
  path.AllowAll();
  AwaitWorkers();
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(ReadFileBytes(TempPath()), "another download");
  EXPECT_TRUE(Messages().empty());
  EXPECT_TRUE(TakePostedResults().empty());
}

decltype(&CreateFileW) g_createFile;
const CInterruption* g_dialogThread;
bool g_isBeforeCreation;

TEST_F(ProgressDialogStop, FileIsDeletedWhereverItsCreationMeetsCancelOrTheDialogsEnd) {
  // Not by spies, which allocate: the dialog's thread may interrupt an allocation.
  const CImportPatch create(
      "kernel32.dll", "CreateFileW",
      +[](LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD creation,
          DWORD attributes, HANDLE model) -> HANDLE {
        if (g_isBeforeCreation) {
          g_dialogThread->WasReached();  // ends the count
        }
        const HANDLE file =
            g_createFile(path, access, share, security, creation, attributes, model);
        if (!g_isBeforeCreation) {
          g_dialogThread->Arm();
        }
        return file;
      });
  g_createFile = create.Original<decltype(CreateFileW)>();
  // The dialog's wait for the file, on this same thread, is over at once.
  const CImportPatch clock(
      "kernel32.dll", "GetTickCount64", +[]() -> ULONGLONG {
        static ULONGLONG now = 0;
        return now += 1000;
      });
  for (const bool isBeforeCreation : {true, false}) {
    g_isBeforeCreation = isBeforeCreation;
    bool isReached = true;
    int instructions = 1;
    for (; isReached && !HasFatalFailure(); ++instructions) {
      const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
      CProgressDialogPeer peer{*dialog};
      const CInterruption dialogThread(instructions, [&] {
        if (isBeforeCreation) {
          LRESULT result = 0;
          dialog->ProcessWindowMessage(nullptr, WM_COMMAND, IDCANCEL, 0, result);
        } else {
          peer.Abandon();
        }
      });
      g_dialogThread = &dialogThread;
      if (isBeforeCreation) {
        dialogThread.Arm();
      }
      peer.CreateTempFile();
      isReached = dialogThread.WasReached();
      if (isBeforeCreation || !isReached) {
        peer.Abandon();
      }
      peer.RunWorker();  // its end
      ASSERT_EQ(m_sandbox.Files(), Files()) << isBeforeCreation << " " << instructions;
    }
    EXPECT_GT(instructions, 10);
  }
}

/// The worker is held inside its write, as by a dead disk. From then on the disk holds whoever
/// looks for the file.
TEST_F(ProgressDialogStop, DiskThatNeverAnswersIsLeftToTheWorker) {
  const CLaunchRecorder shell;
  // The second finishes the download, and its worker is to be joined.
  for (const WORD command : {IDCANCEL, IDC_OPEN_FILE}) {
    const CTestEvent reached;
    const CTestEvent answer;
    const CImportSpy<&WriteFile> write("kernel32.dll", "WriteFile", [&](auto... arguments) {
      reached.Set();
      answer.Wait();
      return write.CallOriginal(arguments...);
    });
    const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW", [&](LPCWSTR path) {
      if (path == TempPath()) {
        answer.Wait();
      }
      return exists.CallOriginal(path);
    });
    {
      const auto dialog = Make(m_url);
      const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
        reached.Wait();
        PostMessageW(window, WM_COMMAND, MAKEWPARAM(command, 0), 0);
      });
      EXPECT_EQ(result, command == IDCANCEL ? 2 : 3) << "nothing was delivered";
    }
    answer.Set();
    AwaitWorkers();
    EXPECT_TRUE(m_sandbox.Files().empty());
  }
  EXPECT_TRUE(Messages().empty());
}

TEST_F(ProgressDialogStop, OkOnlyEndsTheDialogAndItsWorkerReportsNothing) {
  const CFailingRead read;
  const ScriptedPath path(m_server, Lesson(1000000));
  const auto dialog = Make(path.Url(L"a.qdk"), GetDesktopWindow());
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    read.WaitUntilReached();
    PostMessageW(window, WM_COMMAND, IDOK, 0);
  });
  EXPECT_EQ(result, 1);
  const CProgressDialogPeer peer{*dialog};
  EXPECT_TRUE(peer.HasThread());
  EXPECT_NE(peer.File(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
  read.FailAndWaitForTheWorker();
  EXPECT_TRUE(Messages().empty());
}

}  // namespace
