// Stopping a download that is under way.

#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>
#include <shlwapi.h>
#include <wininet.h>

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

namespace {

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

/// Holds the worker of a running dialog inside one system call, as a dead disk does, until
/// `Answer`. From then on it holds whoever looks for the file, or deletes it.
class CDeadDisk {
 public:
  enum Call { kCreate, kWrite };

  CDeadDisk(Call call, const std::wstring& file)
      : m_create("kernel32.dll", "CreateFileW",
                 [=, this](LPCWSTR path, DWORD access, auto... others) {
                   if (call == kCreate && path == file && access == GENERIC_WRITE) {
                     Hold();
                   }
                   return m_create.CallOriginal(path, access, others...);
                 }),
        m_write("kernel32.dll", "WriteFile",
                [=, this](auto... arguments) {
                  if (call == kWrite) {
                    Hold();
                  }
                  return m_write.CallOriginal(arguments...);
                }),
        m_exists("shlwapi.dll", "PathFileExistsW",
                 [=, this](LPCWSTR path) {
                   HoldOnceReached(path == file);
                   return m_exists.CallOriginal(path);
                 }),
        m_attributes("kernel32.dll", "SetFileAttributesW",
                     [=, this](LPCWSTR path, DWORD attributes) {
                       HoldOnceReached(path == file);
                       return m_attributes.CallOriginal(path, attributes);
                     }),
        m_delete("kernel32.dll", "DeleteFileW", [=, this](LPCWSTR path) {
          HoldOnceReached(path == file);
          return m_delete.CallOriginal(path);
        }) {}

  void WaitUntilReached() const { m_reached.Wait(); }
  void Answer() const { m_answer.Set(); }

 private:
  void Hold() const {
    m_reached.Set();
    m_answer.Wait();
  }
  void HoldOnceReached(bool isTheFile) const {
    if (isTheFile && m_reached.IsSet()) {
      m_answer.Wait();
    }
  }

  CTestEvent m_reached;
  CTestEvent m_answer;
  const CImportSpy<&CreateFileW> m_create;
  const CImportSpy<&WriteFile> m_write;
  const CImportSpy<&PathFileExistsW> m_exists;
  const CImportSpy<&SetFileAttributesW> m_attributes;
  const CImportSpy<&DeleteFileW> m_delete;
};

TEST_F(StoppedDownload, DiskThatNeverAnswersIsLeftToTheWorker) {
  CMessageRecorder messages;
  const CLaunchRecorder shell;
  for (const CDeadDisk::Call call : {CDeadDisk::kCreate, CDeadDisk::kWrite}) {
    // The second finishes the download, and its worker is to be joined.
    for (const WORD command : {IDCANCEL, IDC_OPEN_FILE}) {
      const ScriptedPath path(m_server, Lesson(1000));
      const CDeadDisk disk(call, TempPath());
      {
        const auto dialog = Make(path.Url(L"a.qdk"));
        const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
          disk.WaitUntilReached();
          PostMessageW(window, WM_COMMAND, MAKEWPARAM(command, 0), 0);
        });
        EXPECT_EQ(result, command == IDCANCEL ? 2 : 3) << "nothing was delivered";
      }
      disk.Answer();
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
