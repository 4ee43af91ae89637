// Stopping a download that is under way.

#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>
#include <shlwapi.h>
#include <wininet.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/download/failing_read.h"
#include "tests/support/import_patch.h"
#include "tests/support/interruption.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

class StoppedDownload : public DownloadTest {};

std::vector<HINTERNET> g_closedInternet;
bool g_fileWasClosedFirst;
std::vector<bool> g_runningWhenClosed;
CProgressDialog* g_stopped;
HANDLE g_file;
decltype(&CloseHandle) g_closeHandle;
decltype(&InternetCloseHandle) g_closeInternet;

TEST_F(StoppedDownload, ClosesFileThenRequestThenSessionOnce) {
  const ScriptedPath path(m_server, Lesson(1000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  CProgressDialogPeer peer{*dialog};
  const std::vector<HINTERNET> expected = {peer.Request(), peer.Session()};
  g_file = peer.File();
  g_stopped = dialog.get();
  g_closedInternet.clear();
  g_runningWhenClosed.clear();
  const CImportPatch filePatch(
      "kernel32.dll", "CloseHandle", +[](HANDLE handle) -> BOOL {
        g_runningWhenClosed.push_back(CProgressDialogPeer{*g_stopped}.IsRunning());
        return g_closeHandle(handle);
      });
  g_closeHandle = filePatch.Original<BOOL WINAPI(HANDLE)>();
  const CImportPatch patch(
      "wininet.dll", "InternetCloseHandle", +[](HINTERNET handle) -> BOOL {
        DWORD flags = 0;
        g_fileWasClosedFirst = !GetHandleInformation(g_file, &flags);
        g_closedInternet.push_back(handle);
        return g_closeInternet(handle);
      });
  g_closeInternet = patch.Original<BOOL WINAPI(HINTERNET)>();
  for (int i = 0; i < 2; ++i) {
    peer.StopDownload();
    EXPECT_FALSE(peer.IsRunning());
    EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(peer.Request(), nullptr);
    EXPECT_EQ(peer.Session(), nullptr);
  }
  EXPECT_TRUE(g_fileWasClosedFirst);
  EXPECT_EQ(g_closedInternet, expected);
  EXPECT_EQ(g_runningWhenClosed, std::vector<bool>{false}) << "stopped before anything is closed";
}

decltype(&CreateFileW) g_createFile;
const CInterruption* g_interruption;

TEST_F(StoppedDownload, FileThatIsJustMadeIsDeletedWhereverTheDialogIsAbandoned) {
  const CImportPatch patch(
      "kernel32.dll", "CreateFileW",
      +[](LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD creation,
          DWORD attributes, HANDLE model) -> HANDLE {
        const HANDLE file =
            g_createFile(path, access, share, security, creation, attributes, model);
        g_interruption->Arm();
        return file;
      });
  g_createFile = patch.Original<decltype(CreateFileW)>();
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
    g_interruption = &dialogThread;
    peer.CreateTempFile();
    isReached = dialogThread.WasReached();
    peer.SetRunning(false);
    peer.RunWorker();  // its end
    ASSERT_EQ(m_sandbox.Files().empty(), isReached) << instructions;
  }
  EXPECT_GT(instructions, 10);
}

/// Holds the worker of a running dialog inside one system call, as a dead disk does. From then on
/// it holds whoever looks for the file, or deletes it.
class CDeadDisk {
 public:
  enum Call { kCreate, kWrite };

  CDeadDisk(Call call, std::wstring file)
      : m_create("kernel32.dll", "CreateFileW", &Create),
        m_write("kernel32.dll", "WriteFile", &Write),
        m_exists("shlwapi.dll", "PathFileExistsW", &Exists),
        m_attributes("kernel32.dll", "SetFileAttributesW", &SetAttributes),
        m_delete("kernel32.dll", "DeleteFileW", &Delete) {
    s_create = m_create.Original<decltype(CreateFileW)>();
    s_write = m_write.Original<decltype(WriteFile)>();
    s_exists = m_exists.Original<decltype(PathFileExistsW)>();
    s_attributes = m_attributes.Original<decltype(SetFileAttributesW)>();
    s_delete = m_delete.Original<decltype(DeleteFileW)>();
    s_call = call;
    s_file = std::move(file);
    s_reached.Close();
    s_answer.Close();
    s_reached.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    s_answer.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  }

  static void WaitUntilReached() {
    EXPECT_EQ(WaitForSingleObject(s_reached, 20000), WAIT_OBJECT_0);
  }
  static void Answer() { SetEvent(s_answer); }

 private:
  static void Hold() {
    SetEvent(s_reached);
    EXPECT_EQ(WaitForSingleObject(s_answer, 20000), WAIT_OBJECT_0)
        << "the dialog waits for the disk";
  }
  static void HoldIfDead(LPCWSTR path) {
    if (path == s_file && WaitForSingleObject(s_reached, 0) == WAIT_OBJECT_0) {
      Hold();
    }
  }
  static BOOL WINAPI Exists(LPCWSTR path) {
    HoldIfDead(path);
    return s_exists(path);
  }
  static BOOL WINAPI SetAttributes(LPCWSTR path, DWORD attributes) {
    HoldIfDead(path);
    return s_attributes(path, attributes);
  }
  static BOOL WINAPI Delete(LPCWSTR path) {
    HoldIfDead(path);
    return s_delete(path);
  }
  static HANDLE WINAPI Create(LPCWSTR path, DWORD access, DWORD share,
                              LPSECURITY_ATTRIBUTES security, DWORD creation, DWORD attributes,
                              HANDLE model) {
    if (s_call == kCreate && path == s_file && access == GENERIC_WRITE) {
      Hold();
    }
    return s_create(path, access, share, security, creation, attributes, model);
  }
  static BOOL WINAPI Write(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                           LPOVERLAPPED overlapped) {
    if (s_call == kWrite) {
      Hold();
    }
    return s_write(file, data, size, written, overlapped);
  }

  static inline decltype(&CreateFileW) s_create;
  static inline decltype(&WriteFile) s_write;
  static inline decltype(&PathFileExistsW) s_exists;
  static inline decltype(&SetFileAttributesW) s_attributes;
  static inline decltype(&DeleteFileW) s_delete;
  static inline Call s_call;
  static inline std::wstring s_file;
  static inline CHandle s_reached;
  static inline CHandle s_answer;
  CImportPatch m_create;
  CImportPatch m_write;
  CImportPatch m_exists;
  CImportPatch m_attributes;
  CImportPatch m_delete;
};

TEST_F(StoppedDownload, DiskThatNeverAnswersIsLeftToTheWorker) {
  CMessageRecorder messages;
  const CImportPatch shell(
      "shell32.dll", "ShellExecuteExW", +[](SHELLEXECUTEINFOW*) -> BOOL { return TRUE; });
  for (const CDeadDisk::Call call : {CDeadDisk::kCreate, CDeadDisk::kWrite}) {
    // The second finishes the download, and its worker is to be joined.
    for (const WORD command : {IDCANCEL, IDC_OPEN_FILE}) {
      const ScriptedPath path(m_server, Lesson(1000));
      const CDeadDisk disk(call, TempPath());
      {
        const auto dialog = Make(path.Url(L"a.qdk"));
        const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
          CDeadDisk::WaitUntilReached();
          PostMessageW(window, WM_COMMAND, MAKEWPARAM(command, 0), 0);
        });
        EXPECT_EQ(result, command == IDCANCEL ? 2 : 3) << "nothing was delivered";
      }
      CDeadDisk::Answer();
      WaitUntil("the worker's end", [this] { return LocksTaken() == 0; });
      EXPECT_TRUE(m_sandbox.Files().empty());
    }
  }
  EXPECT_TRUE(messages.Take().empty());
}

TEST_F(StoppedDownload, WorkerWhoseDialogHasGoneSaysNothing) {
  CMessageRecorder messages;
  const CFailingRead read;
  const ScriptedPath path(m_server, Lesson(1000000));
  const auto dialog = Make(path.Url(L"a.qdk"), GetDesktopWindow());
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    CFailingRead::WaitUntilReached();
    PostMessageW(window, WM_COMMAND, IDOK, 0);
  });
  EXPECT_EQ(result, 1);
  CFailingRead::FailAndWaitForTheWorker();
  EXPECT_TRUE(messages.Take().empty());
}

}  // namespace
