// The download dialog's message map, driven directly. The window is no dialog, so that messages can
// be sent that come after the dialog's end.

#include <gtest/gtest.h>
#include <windows.h>

#include <process.h>
#include <wininet.h>

#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/download/download_fixture.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/interruption.h"

namespace {

using Ends = std::vector<INT_PTR>;

class ProgressDialogMessages : public SteppedDownloadFixture {
 protected:
  ProgressDialogMessages() { m_dialog->m_hWnd = m_window; }
  ~ProgressDialogMessages() override {
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

TEST_F(ProgressDialogMessages, OpeningIsHandledSoThatTheSystemSetsTheFocus) {
  const CImportSpy<&_beginthreadex> start("msvcrt.dll", "_beginthreadex",
                                          [](auto...) { return 0; });
  EXPECT_EQ(Send(WM_INITDIALOG, 0, *m_dialog), std::pair(true, LRESULT{TRUE}));
  EXPECT_EQ(Messages().size(), 1u);
}

TEST_F(ProgressDialogMessages, ResultsAreHandledAndTheQuestionOfTheSameNumberIsNot) {
  static_assert(DM_GETDEFID == WM_USER);
  EXPECT_FALSE(IsHandled(DM_GETDEFID, 0));
  EXPECT_TRUE(m_peer.IsRunning());
  EXPECT_EQ(Results(), Ends());
  EXPECT_TRUE(IsHandled(WM_USER, 3));
  EXPECT_EQ(Results(), Ends{3});
}

TEST_F(ProgressDialogMessages, ResultIsDeliveredWhereverTheWorkerPutsTheFileBack) {
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

int g_looks;  // at the clock
const CInterruption* g_worker;

TEST_F(ProgressDialogMessages, WriteThatOutlastsTheWaitSaysDeliveredOnlyIfTheFileWas) {
  // The wait is over at the second look. From there on the worker may put the file back.
  const CImportPatch clock(
      "kernel32.dll", "GetTickCount64", +[]() -> ULONGLONG {
        if (++g_looks == 2) {
          g_worker->Arm();
        }
        return g_looks * 1000ULL;
      });
  constexpr int kBehindTheLastLook = 200;
  for (int instructions = 1; instructions < kBehindTheLastLook; ++instructions) {
    const auto dialog = Make(m_url);
    dialog->m_hWnd = m_window;
    CProgressDialogPeer peer{*dialog};
    const HANDLE taken = BeginWrite(peer);
    const CInterruption worker(instructions, [&] { peer.EndWrite(taken); });
    g_worker = &worker;
    g_looks = 0;
    Send(WM_USER, kDownloadDelivered, *dialog);
    EXPECT_TRUE(worker.WasReached()) << instructions;
    const bool isDelivered = m_sandbox.Files() == Files{L"Lesson.qdk"};
    ASSERT_EQ(Results().back(), isDelivered ? 1 : 3) << instructions;
    EXPECT_TRUE(isDelivered || g_looks == 2) << "the disk is waited for once";
    peer.CloseFile();
    DeleteFileW(DestPath().c_str());
    DeleteFileW(TempPath().c_str());
    dialog->m_hWnd = nullptr;
  }
  EXPECT_EQ(Results().front(), 1) << "put back before the last look";
  EXPECT_EQ(Results().back(), 3) << "put back behind it";
}

TEST_F(ProgressDialogMessages, SecondResultChangesNothing) {
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

TEST_F(ProgressDialogMessages, DestructionIsLeftToTheSystemWithAResultOfOne) {
  EXPECT_EQ(Send(WM_DESTROY, 0, *m_dialog), std::pair(false, LRESULT{1}));
}

TEST_F(ProgressDialogMessages, NothingElseIsHandled) {
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

TEST_F(ProgressDialogMessages, CancelSignalsClosesDeletesAndEndsInThisOrder) {
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
