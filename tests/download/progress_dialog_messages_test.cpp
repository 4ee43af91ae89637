// The download dialog's message map, driven directly, and the shape of the
// object. The window is no dialog, so that messages can be sent that come after
// the dialog's end.

#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/interruption.h"
#include "tests/support/scripted_path.h"

namespace {

static_assert(
    std::is_base_of_v<ATL::CAxDialogImpl<CProgressDialog, ATL::CWindow>, CProgressDialog>);
static_assert(CProgressDialogPeer::kIsLockFree);

using Ends = std::vector<INT_PTR>;

class ProgressDialogMessages : public DownloadTest {
 protected:
  ProgressDialogMessages() { m_dialog->m_hWnd = m_window; }
  ~ProgressDialogMessages() override {
    m_dialog->m_hWnd = nullptr;
    DestroyWindow(m_window);
  }

  CProgressDialogPeer Peer() const { return {*m_dialog}; }

  /// Whether the dialog handles the message, and with which result.
  std::pair<bool, LRESULT> Send(UINT message, WPARAM wParam = 0) const {
    LRESULT result = 4711;
    const BOOL handled = m_dialog->ProcessWindowMessage(m_window, message, wParam, 0, result);
    return {handled != FALSE, result};
  }
  bool IsHandled(UINT message, WPARAM wParam = 0) const { return Send(message, wParam).first; }

  /// The results that the dialog was ended with.
  Ends Results() const {
    Ends results;
    for (const auto& [window, result] : m_end.Calls()) {
      results.push_back(result);
    }
    return results;
  }

  /// Downloads all of the lesson; its file is left open.
  void Download() const {
    Peer().RunWorker();
    EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
  }

  /// Has a worker write to the file: the file is out of the dialog's reach
  /// until `EndWrite`.
  HANDLE BeginWrite() const {
    const std::wstring file = m_sandbox.Write(L"temporary.qdk", "a chunk");
    Peer().SetFile(CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    return Peer().BeginWrite();
  }

  const ScriptedPath m_path{m_server, Lesson(1000)};
  const CImportSpy<&EndDialog> m_end{"user32.dll", "EndDialog", [](auto...) { return TRUE; }};
  const HWND m_window = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                        nullptr, nullptr);
  CProgressDialog::Ptr m_dialog = Make(m_path.Url(L"a.qdk"));
};

TEST_F(ProgressDialogMessages, ResultsAreHandledAndTheQuestionOfTheSameNumberIsNot) {
  static_assert(DM_GETDEFID == WM_USER);
  EXPECT_FALSE(IsHandled(DM_GETDEFID, 0));
  EXPECT_TRUE(Peer().IsRunning());
  EXPECT_TRUE(Results().empty());
  EXPECT_TRUE(IsHandled(WM_USER, 3));
  EXPECT_EQ(Results(), Ends{3});
}

TEST_F(ProgressDialogMessages, ResultIsDeliveredWhereverTheWorkerPutsTheFileBack) {
  // The dialog pauses without a system call, so that all its instructions are
  // counted.
  const CImportPatch pause("kernel32.dll", "SwitchToThread", +[]() -> BOOL { return FALSE; });
  constexpr int kBehindTheFirstLooks = 150;
  for (int instructions = 1; instructions < kBehindTheFirstLooks; ++instructions) {
    const HANDLE taken = BeginWrite();
    const CInterruption worker(instructions, [&] { Peer().EndWrite(taken); });
    worker.Arm();
    Send(WM_USER, kDownloadDelivered);
    ASSERT_TRUE(worker.WasReached()) << instructions;
    ASSERT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"}) << instructions;
    DeleteFileW(DestPath().c_str());
  }
}

TEST_F(ProgressDialogMessages, ResultIsDeliveredOnlyIfTheFileWasWhenAWriteTakesLong) {
  for (const size_t atLook : {2U, 3U, 4U, 5U}) {
    const auto dialog = std::exchange(m_dialog, Make(L"http://127.0.0.1:1/a.qdk"));
    dialog->m_hWnd = nullptr;
    m_dialog->m_hWnd = m_window;
    HANDLE taken = BeginWrite();
    const CImportSpy<&GetTickCount64> clock("kernel32.dll", "GetTickCount64", [&] {
      if (clock.Calls().size() == atLook) {
        Peer().EndWrite(std::exchange(taken, INVALID_HANDLE_VALUE));
      }
      return clock.Calls().size() * 1000ULL;
    });
    Send(WM_USER, kDownloadDelivered);
    const bool isDelivered = m_sandbox.Files() == Files{L"Lesson.qdk"};
    EXPECT_EQ(isDelivered, atLook == 2) << atLook << ": the disk is waited for once";
    EXPECT_EQ(Results().back(), isDelivered ? 1 : 3) << atLook;
    const CHandle left(taken != INVALID_HANDLE_VALUE ? taken : nullptr);
    DeleteFileW(DestPath().c_str());
  }
}

decltype(&CreateFileW) g_createFile;
const CInterruption* g_cancel;

TEST_F(ProgressDialogMessages, FileThatIsCreatedAfterCancelIsDeletedAlthoughTheDialogGoesFirst) {
  // Not by spies, which allocate: the dialog's thread may interrupt an
  // allocation.
  const CImportPatch create(
      "kernel32.dll", "CreateFileW",
      +[](LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD creation,
          DWORD attributes, HANDLE model) -> HANDLE {
        g_cancel->WasReached();  // ends the count
        return g_createFile(path, access, share, security, creation, attributes, model);
      });
  g_createFile = create.Original<decltype(CreateFileW)>();
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
    dialog->m_hWnd = m_window;
    CProgressDialogPeer peer{*dialog};
    const CInterruption dialogThread(instructions, [&] {
      LRESULT result = 0;
      dialog->ProcessWindowMessage(m_window, WM_COMMAND, IDCANCEL, 0, result);
    });
    g_cancel = &dialogThread;
    dialogThread.Arm();
    peer.CreateTempFile();
    isReached = dialogThread.WasReached();
    dialog->m_hWnd = nullptr;
    peer.Abandon();
    peer.RunWorker();  // its end
    ASSERT_EQ(m_sandbox.Files(), Files()) << instructions;
  }
  EXPECT_GT(instructions, 10);
}

TEST_F(ProgressDialogMessages, SecondResultDeliversNothing) {
  Download();
  Send(WM_USER, 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
  EXPECT_TRUE(DeleteFileW(DestPath().c_str()));
  m_sandbox.Write(L"temporary.qdk", "another download");
  Send(WM_USER, 1);
  EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
  EXPECT_EQ(Results(), (Ends{1, 1}));
}

TEST_F(ProgressDialogMessages, FailureDeletesTheFileAndASecondOneChangesNothing) {
  Download();
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(IsHandled(WM_USER, 3));
    EXPECT_TRUE(m_sandbox.Files().empty());
    EXPECT_FALSE(Peer().IsRunning());
    EXPECT_EQ(Peer().Session(), nullptr);
  }
  EXPECT_EQ(Results(), (Ends{3, 3}));
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(ProgressDialogMessages, DestructionIsLeftToTheSystemWithAResultOfOne) {
  EXPECT_EQ(Send(WM_DESTROY), std::pair(false, LRESULT{1}));
}

TEST_F(ProgressDialogMessages, NothingElseIsHandled) {
  const std::set<UINT> own = {WM_INITDIALOG, WM_COMMAND, WM_USER, WM_DESTROY};
  const std::set<WORD> commands = {IDOK, IDCANCEL, IDC_OPEN_FILE, IDC_OPEN_FOLDER};
  for (UINT value = 0; value <= 0xFFFF; ++value) {
    ASSERT_TRUE(own.contains(value) || !IsHandled(value, 1)) << value;
    const auto id = static_cast<WORD>(value);
    for (const WORD notification : {0, 1, 0x100, 0xFFFF}) {
      if (notification != 0 || !commands.contains(id)) {
        ASSERT_FALSE(IsHandled(WM_COMMAND, MAKEWPARAM(id, notification))) << id;
      }
    }
    for (const WORD command : commands) {
      ASSERT_TRUE(id == 0 || !IsHandled(WM_COMMAND, MAKEWPARAM(command, id))) << id;
    }
  }
  EXPECT_TRUE(Results().empty());
}

TEST_F(ProgressDialogMessages, CancelSignalsStopsDeletesAndEndsInThisOrder) {
  const CImportSpy<&InternetCloseHandle> stop("wininet.dll", "InternetCloseHandle",
                                              [&](HINTERNET handle) {
                                                EXPECT_TRUE(Peer().IsPeekSignalled());
                                                EXPECT_FALSE(m_sandbox.Files().empty());
                                                return stop.CallOriginal(handle);
                                              });
  const CImportSpy<&EndDialog> end("user32.dll", "EndDialog", [&](HWND, INT_PTR result) {
    EXPECT_EQ(result, 2);
    EXPECT_FALSE(Peer().IsRunning());
    EXPECT_TRUE(m_sandbox.Files().empty());
    return TRUE;
  });
  Peer().BeginPeek();
  ASSERT_TRUE(Peer().Step());
  EXPECT_TRUE(IsHandled(WM_COMMAND, IDCANCEL));
  EXPECT_EQ(stop.Calls().size(), 2u);
  EXPECT_EQ(end.Calls().size(), 1u);
}

HANDLE Duplicate(HANDLE handle) {
  HANDLE copy = nullptr;
  EXPECT_TRUE(DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &copy, 0, FALSE,
                              DUPLICATE_SAME_ACCESS));
  return copy;
}

class ProgressDialogObject : public DownloadTest {};

TEST_F(ProgressDialogObject, MembersStandInTheirOrder) {
  const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
  const auto addresses = CProgressDialogPeer{*dialog}.MemberAddresses();
  EXPECT_EQ(std::adjacent_find(addresses.begin(), addresses.end(), std::greater_equal<>()),
            addresses.end());
}

TEST_F(ProgressDialogObject, TableHoldsTheMessageMapAndThenTheDestructor) {
  using MessageMap = BOOL (*)(void*, HWND, UINT, WPARAM, LPARAM, LRESULT&, DWORD);
  using Destructor = void (*)(void*);
  // The last of the destructor's two places with this compiler is the deleting
  // one.
  constexpr int kDeletingDestructor = 2;
  CProgressDialog* const dialog = std::make_unique<CProgressDialog>(
                                      L"http://127.0.0.1:1/a.qdk", CFilePath(L"C:\\a.qdk"), nullptr)
                                      .release();
  CProgressDialogPeer{*dialog}.BeginPeek();
  const HANDLE closed = CProgressDialogPeer{*dialog}.PeekEvent();
  const CHandle event(Duplicate(closed));
  const void* const* const table = *reinterpret_cast<const void* const* const*>(dialog);
  LRESULT result = 0;
  EXPECT_FALSE(reinterpret_cast<MessageMap>(const_cast<void*>(table[0]))(
      dialog, nullptr, WM_DESTROY, 0, 0, result, 0));
  EXPECT_EQ(result, 1);
  reinterpret_cast<Destructor>(const_cast<void*>(table[kDeletingDestructor]))(dialog);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0) << "wakes whoever waits for it";
  DWORD flags = 0;
  EXPECT_FALSE(GetHandleInformation(closed, &flags));
}

}  // namespace
