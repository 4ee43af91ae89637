// Stopping a download that is under way: the dialog ends at once whatever server and disk do, and
// nothing is left in the end.

#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>
#include <shlwapi.h>
#include <wininet.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/download/failing_read.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/interruption.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

/// How long a cancelled dialog may take to be gone, on a busy machine.
constexpr DWORD kAtOnceMs = 10000;

const std::string kNoAnswer(http_point::kBeforeHeaders);

class CancelledDownload : public DownloadTest {
 protected:
  /// Runs a dialog and cancels it once the server holds `point`.
  void CancelAt(
      CProgressDialog& dialog, const ScriptedPath& path, const std::string& point,
      void (*cancel)(HWND) = [](HWND window) { Click(window, IDCANCEL); }) {
    const INT_PTR result = RunDialog(dialog, [&](HWND window) {
      EXPECT_TRUE(path.WaitForHeld(point));
      cancel(window);
      WaitUntilGone(window, kAtOnceMs);
    });
    EXPECT_EQ(result, 2);
  }

  CMessageRecorder m_messages;
};

TEST_F(CancelledDownload, ServerThatNeverAnswersHoldsNobodyUp) {
  const ScriptedPath path(m_server, Lesson(1000).Hold(kNoAnswer));
  std::weak_ptr<CProgressDialog> watched;
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    watched = dialog->weak_from_this();
    CancelAt(*dialog, path, kNoAnswer);
    const CProgressDialogPeer peer{*dialog};
    EXPECT_FALSE(peer.HasThread());
    EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(peer.Request(), nullptr);
    EXPECT_EQ(peer.Session(), nullptr);
  }
  EXPECT_FALSE(watched.expired()) << "the worker still uses it";
  EXPECT_EQ(LocksTaken(), 1);
  path.AllowAll();
  EXPECT_TRUE(path.WaitForEnd());
  AwaitWorkers();
  EXPECT_TRUE(watched.expired());
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(CancelledDownload, EveryWayToCancelDeletesTheFileOfAStalledBody) {
  const std::string inTheBody = http_point::BodyByte(400000);
  void (*const ways[])(HWND) = {
      [](HWND window) { Click(window, IDCANCEL); },
      [](HWND window) { Close(window); },
      [](HWND window) { PostMessageW(window, WM_KEYDOWN, VK_ESCAPE, 1); },
  };
  m_sandbox.Write(L"Lesson.qdk", "old");
  for (const auto way : ways) {
    const ScriptedPath path(m_server, Lesson(1000000).Hold(inTheBody));
    const auto dialog = Make(path.Url(L"a.qdk"));
    CancelAt(*dialog, path, inTheBody, way);
    EXPECT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"});
    EXPECT_EQ(ReadFileBytes(DestPath()), "old");
    path.AllowAll();
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(CancelledDownload, WorkerThatIsLeftBehindNeverCreatesAFile) {
  const HttpAnswer answers[] = {Lesson(100000), HttpAnswer().Status(404),
                                HttpAnswer().Bytes("no lesson")};
  for (HttpAnswer answer : answers) {
    const ScriptedPath path(m_server, answer.Hold(kNoAnswer));
    CancelAt(*Make(path.Url(L"a.qdk")), path, kNoAnswer);
    // The name is free again, and another download may use it.
    m_sandbox.Write(L"temporary.qdk", "another download");
    path.AllowAll();
    AwaitWorkers();
    EXPECT_EQ(ReadFileBytes(TempPath()), "another download");
    DeleteFileW(TempPath().c_str());
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

class StoppedDownload : public DownloadTest {};

TEST_F(StoppedDownload, ClosesFileThenRequestThenSessionOnce) {
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  CProgressDialogPeer peer{*dialog};
  const std::vector<std::tuple<HINTERNET>> expected = {{peer.Request()}, {peer.Session()}};
  const HANDLE openFile = peer.File();
  const CImportSpy<&CloseHandle> file("kernel32.dll", "CloseHandle", [&](HANDLE handle) {
    EXPECT_FALSE(peer.IsRunning()) << "stopped before anything is closed";
    return file.CallOriginal(handle);
  });
  const CImportSpy<&InternetCloseHandle> internet(
      "wininet.dll", "InternetCloseHandle", [&](HINTERNET handle) {
        EXPECT_EQ(file.Calls(), (std::vector<std::tuple<HANDLE>>{{openFile}}));
        return internet.CallOriginal(handle);
      });
  for (int i = 0; i < 2; ++i) {
    peer.StopDownload();
    EXPECT_FALSE(peer.IsRunning());
    EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(peer.Request(), nullptr);
    EXPECT_EQ(peer.Session(), nullptr);
  }
  EXPECT_EQ(internet.Calls(), expected);
}

TEST_F(StoppedDownload, FileThatWasJustCreatedIsDeletedWhereverTheDialogIsAbandoned) {
  const CInterruption* interruption = nullptr;
  const CImportSpy<&CreateFileW> create("kernel32.dll", "CreateFileW", [&](auto... arguments) {
    const HANDLE file = create.CallOriginal(arguments...);
    interruption->Arm();
    return file;
  });
  // The dialog's wait for the file, on this same thread, is over at once.
  const CImportPatch clock(
      "kernel32.dll", "GetTickCount64", +[]() -> ULONGLONG {
        static ULONGLONG now = 0;
        return now += 1000;
      });
  bool isReached = true;
  int instructions = 1;
  for (; isReached && !HasFatalFailure(); ++instructions) {
    const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
    CProgressDialogPeer peer{*dialog};
    const CInterruption dialogThread(instructions, [&] { peer.Abandon(); });
    interruption = &dialogThread;
    peer.CreateTempFile();
    isReached = dialogThread.WasReached();
    peer.SetRunning(false);
    peer.RunWorker();  // its end
    ASSERT_EQ(m_sandbox.Files().empty(), isReached) << instructions;
  }
  EXPECT_GT(instructions, 10);
}

/// The worker is held inside one system call, as by a dead disk. From then on
/// the disk holds whoever looks for the file, or deletes it.
TEST_F(StoppedDownload, DiskThatNeverAnswersIsLeftToTheWorker) {
  CMessageRecorder messages;
  const CLaunchRecorder shell;
  for (const bool inTheWrite : {false, true}) {
    // The second finishes the download, and its worker is to be joined.
    for (const WORD command : {IDCANCEL, IDC_OPEN_FILE}) {
      const CTestEvent reached;
      const CTestEvent answer;
      const auto hold = [&](bool isReached) {
        if (isReached) {
          reached.Set();
          answer.Wait();
        }
      };
      const auto holdLater = [&](LPCWSTR path) { hold(path == TempPath() && reached.IsSet()); };
      const CImportSpy<&CreateFileW> create(
          "kernel32.dll", "CreateFileW", [&](LPCWSTR path, DWORD access, auto... others) {
            hold(!inTheWrite && path == TempPath() && access == GENERIC_WRITE);
            return create.CallOriginal(path, access, others...);
          });
      const CImportSpy<&WriteFile> write("kernel32.dll", "WriteFile", [&](auto... arguments) {
        hold(inTheWrite);
        return write.CallOriginal(arguments...);
      });
      const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW",
                                                [&](LPCWSTR path) {
                                                  holdLater(path);
                                                  return exists.CallOriginal(path);
                                                });
      const CImportSpy<&DeleteFileW> remove("kernel32.dll", "DeleteFileW", [&](LPCWSTR path) {
        holdLater(path);
        return remove.CallOriginal(path);
      });
      const ScriptedPath path(m_server, Lesson(1000));
      {
        const auto dialog = Make(path.Url(L"a.qdk"));
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
  }
  EXPECT_TRUE(messages.Take().empty());
}

TEST_F(StoppedDownload, WorkerWhoseDialogHasGoneReportsNothing) {
  CMessageRecorder messages;
  const CFailingRead read;
  const ScriptedPath path(m_server, Lesson(1000000));
  const auto dialog = Make(path.Url(L"a.qdk"), GetDesktopWindow());
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    read.WaitUntilReached();
    PostMessageW(window, WM_COMMAND, IDOK, 0);
  });
  EXPECT_EQ(result, 1);
  read.FailAndWaitForTheWorker();
  EXPECT_TRUE(messages.Take().empty());
}

}  // namespace
