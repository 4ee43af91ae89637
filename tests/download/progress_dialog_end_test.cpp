// The download dialog's messages and its end, also under a download that is under way: the dialog
// ends at once whatever server and disk do, and nothing is left in the end.

#include <gtest/gtest.h>
#include <windows.h>

#include <process.h>
#include <shlwapi.h>
#include <wininet.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/download/download_fixture.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/interruption.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/run_dialog.h"
#include "tests/support/user.h"

namespace {

class ProgressDialogEnd : public SteppedDownloadFixture {};

TEST_F(ProgressDialogEnd, ServerThatNeverAnswersHoldsNobodyUp) {
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
    const CProgressDialogPeer peer{*dialog};
    EXPECT_FALSE(peer.HasThread() || peer.IsRunning());
    EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(peer.Request(), nullptr);
    EXPECT_EQ(peer.Session(), nullptr);
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

TEST_F(ProgressDialogEnd, FileIsDeletedWhereverItsCreationMeetsCancelOrTheDialogsEnd) {
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

TEST_F(ProgressDialogEnd, FailureHasAnOwnerWhereverItMeetsTheWindowsEnd) {
  constexpr int kInstructions = 400;  // past the look at the owner
  const CStringW subject = L"a";
  size_t shown = 0;
  for (int i = 1; i <= kInstructions; ++i) {
    m_peer.SetRunning(true);
    m_peer.SetWindow(GetDesktopWindow());
    const CInterruption dialogThread(i, [this] {
      m_peer.SetRunning(false);
      m_peer.SetWindow(nullptr);
    });
    dialogThread.Arm();
    EXPECT_FALSE(m_peer.ReportFailure(L"%s", subject));
    ASSERT_TRUE(dialogThread.WasReached());
    const std::vector<CShownMessage> messages = m_messages.Take();
    shown = messages.size();
    ASSERT_TRUE(messages.empty() || messages[0].owner != nullptr) << i;
    ASSERT_TRUE(i != 1 || messages.empty());
  }
  EXPECT_EQ(shown, 1u);
}

/// The worker is held inside its write, as by a dead disk. From then on the disk holds whoever
/// looks for the file.
TEST_F(ProgressDialogEnd, DiskThatNeverAnswersIsLeftToTheWorker) {
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

TEST_F(ProgressDialogEnd, OkOnlyEndsTheDialogAndItsWorkerReportsNothing) {
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

using Ends = std::vector<INT_PTR>;

/// The message map, driven directly. The window is no dialog, so that messages can be sent that
/// come after the dialog's end.
class ProgressDialogEndMessages : public SteppedDownloadFixture {
 protected:
  ProgressDialogEndMessages() { m_dialog->m_hWnd = m_window; }
  ~ProgressDialogEndMessages() override {
    m_dialog->m_hWnd = nullptr;
    DestroyWindow(m_window);
  }

  /// Whether the dialog handles the message, and with which result.
  std::pair<bool, LRESULT> Send(UINT message, WPARAM wParam, CProgressDialog& dialog) const {
    LRESULT result = 4711;
    const BOOL handled = dialog.ProcessWindowMessage(m_window, message, wParam, 0, result);
    return {handled != FALSE, result};
  }
  bool IsHandled(UINT message, WPARAM wParam) const {
    return Send(message, wParam, *m_dialog).first;
  }

  /// The results that the dialog was ended with.
  Ends Results() const {
    Ends results;
    for (const auto& [window, result] : m_end.Calls()) {
      results.push_back(result);
    }
    return results;
  }

  /// Has a worker write to the file: the file is out of the dialog's reach until `EndWrite`.
  HANDLE BeginWrite(CProgressDialogPeer& peer) const {
    peer.SetFile(
        CreateFileW(TempPath().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    return peer.BeginWrite();
  }

  const CImportSpy<&EndDialog> m_end{"user32.dll", "EndDialog", [](auto...) { return TRUE; }};
  const HWND m_window = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                        nullptr, nullptr);
};

TEST_F(ProgressDialogEndMessages, OpeningIsHandledSoThatTheSystemSetsTheFocus) {
  const CImportSpy<&_beginthreadex> start("msvcrt.dll", "_beginthreadex",
                                          [](auto...) { return 0; });
  EXPECT_EQ(Send(WM_INITDIALOG, 0, *m_dialog), std::pair(true, LRESULT{TRUE}));
  EXPECT_EQ(Messages().size(), 1u);
}

TEST_F(ProgressDialogEndMessages, ResultsAreHandledAndWmUserWithZeroIsNot) {
  static_assert(DM_GETDEFID == WM_USER);
  EXPECT_FALSE(IsHandled(DM_GETDEFID, 0));
  EXPECT_TRUE(m_peer.IsRunning());
  EXPECT_EQ(Results(), Ends());
  EXPECT_TRUE(IsHandled(WM_USER, 3));
  EXPECT_EQ(Results(), Ends{3});
}

TEST_F(ProgressDialogEndMessages, ResultIsDeliveredWhereverTheWorkerPutsTheFileBack) {
  // The dialog pauses without a system call, so that all its instructions are counted.
  const CImportPatch pause("kernel32.dll", "SwitchToThread", +[]() -> BOOL { return FALSE; });
  constexpr int kBehindTheFirstLooks = 150;
  for (int instructions = 1; instructions < kBehindTheFirstLooks; ++instructions) {
    const HANDLE taken = BeginWrite(m_peer);
    const CInterruption worker(instructions, [&] { m_peer.EndWrite(taken); });
    worker.Arm();
    Send(WM_USER, kDownloadDelivered, *m_dialog);
    ASSERT_TRUE(worker.WasReached()) << instructions;
    ASSERT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"}) << instructions;
    DeleteFileW(DestPath().c_str());
  }
}

// From the look at the clock that ends the wait to behind the last look for the file.
#ifdef NDEBUG
constexpr int kInstructionsOfTheStop = 200;
#else
constexpr int kInstructionsOfTheStop = 600;
#endif

/// The clock of a wait that is over at its second look, where `atTheSecond` is called.
class CWaitOfTwoLooks {
 public:
  explicit CWaitOfTwoLooks(std::function<void()> atTheSecond) {
    s_looks = 0;
    s_atTheSecond = std::move(atTheSecond);
  }
  ~CWaitOfTwoLooks() { s_atTheSecond = nullptr; }
  CWaitOfTwoLooks(const CWaitOfTwoLooks&) = delete;
  CWaitOfTwoLooks& operator=(const CWaitOfTwoLooks&) = delete;

  static int Looks() { return s_looks; }

 private:
  static inline int s_looks;
  static inline std::function<void()> s_atTheSecond;

  // Not a spy, which allocates: the worker may interrupt an allocation.
  const CImportPatch m_clock{"kernel32.dll", "GetTickCount64", +[]() -> ULONGLONG {
                               if (++s_looks == 2) {
                                 s_atTheSecond();
                               }
                               return s_looks * 1000ULL;
                             }};
};

TEST_F(ProgressDialogEndMessages, WriteLongerThanTheWaitReturnsFailedUnlessDelivered) {
  for (int instructions = 1; instructions < kInstructionsOfTheStop; ++instructions) {
    const auto dialog = Make(m_url);
    dialog->m_hWnd = m_window;
    CProgressDialogPeer peer{*dialog};
    const HANDLE taken = BeginWrite(peer);
    const CInterruption worker(instructions, [&] { peer.EndWrite(taken); });
    const CWaitOfTwoLooks wait([&] { worker.Arm(); });
    Send(WM_USER, kDownloadDelivered, *dialog);
    EXPECT_TRUE(worker.WasReached()) << instructions;
    const bool isDelivered = m_sandbox.Files() == Files{L"Lesson.qdk"};
    ASSERT_EQ(Results().back(), isDelivered ? 1 : 3) << instructions;
    EXPECT_TRUE(isDelivered || CWaitOfTwoLooks::Looks() == 2) << "the disk is waited for once";
    peer.CloseFile();
    DeleteFileW(DestPath().c_str());
    DeleteFileW(TempPath().c_str());
    dialog->m_hWnd = nullptr;
  }
  EXPECT_EQ(Results().front(), 1) << "put back before the last look";
  EXPECT_EQ(Results().back(), 3) << "put back after it";
}

TEST_F(ProgressDialogEndMessages, SecondResultChangesNothing) {
  for (const INT_PTR code : {1, 3}) {
    const auto dialog = Make(m_url);
    dialog->m_hWnd = m_window;
    CProgressDialogPeer peer{*dialog};
    peer.RunWorker();
    EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
    Send(WM_USER, code, *dialog);
    EXPECT_EQ(m_sandbox.Files(), code == 1 ? Files{L"Lesson.qdk"} : Files());
    EXPECT_EQ(ReadFileBytes(DestPath()), code == 1 ? LessonBytes(5000) : "");
    EXPECT_FALSE(peer.IsRunning());
    EXPECT_EQ(peer.Session(), nullptr);
    DeleteFileW(DestPath().c_str());
    m_sandbox.Write(L"temporary.qdk", "another download");
    Send(WM_USER, 1, *dialog);
    EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
    EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>());
    DeleteFileW(TempPath().c_str());
    dialog->m_hWnd = nullptr;
  }
  EXPECT_EQ(Results(), (Ends{1, 1, 3, 1}));
}

TEST_F(ProgressDialogEndMessages, FileThatIsPutBackDuringTheWaitIsDeliveredWhereverItsWorkerEnds) {
  for (int i = 1; i < kInstructionsOfTheStop; ++i) {
    const auto dialog = Make(m_url);
    dialog->m_hWnd = m_window;
    CProgressDialogPeer peer{*dialog};
    const HANDLE taken = BeginWrite(peer);
    std::optional<CBlockingCallGate::CCall> call(peer.Gate());
    const CInterruption worker(i, [&] {
      call.reset();
      if (peer.Gate().IsLeftBehind()) {
        peer.CloseLateHandles();
      }
    });
    const CWaitOfTwoLooks wait([&] {
      peer.EndWrite(taken);  // still inside its call
      worker.Arm();
    });
    Send(WM_USER, kDownloadDelivered, *dialog);
    ASSERT_TRUE(worker.WasReached()) << i;
    ASSERT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"}) << i;
    DeleteFileW(DestPath().c_str());
    dialog->m_hWnd = nullptr;
  }
}

TEST_F(ProgressDialogEndMessages, CloseOfACompleteDialogPostsItsResultAndMarksItFinished) {
  while (m_peer.Step()) {
  }
  ASSERT_TRUE(m_peer.IsComplete());
  EXPECT_FALSE(m_peer.IsFinished());
  const CImportSpy<&PostMessageW> post("user32.dll", "PostMessageW", [&](auto...) {
    EXPECT_TRUE(m_peer.IsFinished());
    return TRUE;
  });
  EXPECT_TRUE(IsHandled(WM_COMMAND, IDCANCEL));
  EXPECT_EQ(post.Calls(),
            (std::vector<std::tuple<HWND, UINT, WPARAM, LPARAM>>{{m_window, WM_USER, 1, 0}}));
  EXPECT_EQ(Results(), Ends());
}

TEST_F(ProgressDialogEndMessages, NothingElseIsHandled) {
  const std::set<UINT> own = {WM_INITDIALOG, WM_COMMAND, WM_USER, WM_DESTROY};
  const std::set<UINT> commands = {IDOK, IDCANCEL, IDC_OPEN_FILE, IDC_OPEN_FOLDER};
  for (UINT value = 0; value <= 0xFFFF; ++value) {
    ASSERT_TRUE(own.contains(value) || !IsHandled(value, 1)) << value;
    ASSERT_TRUE(commands.contains(value) || !IsHandled(WM_COMMAND, value)) << value;
    for (const UINT command : commands) {  // with other notifications
      ASSERT_TRUE(value == 0 || !IsHandled(WM_COMMAND, MAKEWPARAM(command, value))) << value;
    }
  }
  EXPECT_EQ(Results(), Ends());
}

TEST_F(ProgressDialogEndMessages, CancelSignalsClosesDeletesAndEndsInThisOrder) {
  m_peer.BeginPeek();
  ASSERT_TRUE(m_peer.Step());
  const HANDLE openFile = m_peer.File();
  const std::vector<std::tuple<HINTERNET>> expected = {{m_peer.Request()}, {m_peer.Session()}};
  const CImportSpy<&CloseHandle> file("kernel32.dll", "CloseHandle", [&](HANDLE handle) {
    EXPECT_TRUE(m_peer.IsPeekSignalled());
    EXPECT_FALSE(m_peer.IsRunning()) << "stopped before anything is closed";
    return file.CallOriginal(handle);
  });
  const CImportSpy<&InternetCloseHandle> internet(
      "wininet.dll", "InternetCloseHandle", [&](HINTERNET handle) {
        EXPECT_EQ(file.Calls(), (std::vector<std::tuple<HANDLE>>{{openFile}}));
        EXPECT_FALSE(m_sandbox.Files().empty());
        return internet.CallOriginal(handle);
      });
  const CImportSpy<&EndDialog> end("user32.dll", "EndDialog", [&](HWND, INT_PTR result) {
    EXPECT_EQ(result, 2);
    EXPECT_TRUE(m_sandbox.Files().empty());
    return TRUE;
  });
  EXPECT_TRUE(IsHandled(WM_COMMAND, IDCANCEL));
  m_peer.StopDownload();  // once more: nothing is left to close
  EXPECT_EQ(internet.Calls(), expected);
  EXPECT_EQ(end.Calls().size(), 1u);
}

}  // namespace
