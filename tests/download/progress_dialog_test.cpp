#include "download/progress_dialog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>
#include <process.h>
#include <shlwapi.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "tests/download/download_fixture.h"
#include "tests/support/dialog_template.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/path_script.h"
#include "tests/support/request_record.h"
#include "tests/support/run_dialog.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"
#include "tests/support/wininet_recorder.h"

namespace {

static_assert(
    std::is_base_of_v<ATL::CAxDialogImpl<CProgressDialog, ATL::CWindow>, CProgressDialog>);
static_assert(CProgressDialogPeer::kIsLockFree);

class ProgressDialogObject : public DownloadFixture {};

TEST_F(ProgressDialogObject, ConstructionCopiesItsArguments) {
  std::wstring url = L"http://127.0.0.1/My%20Lesson.qdk?x=1";
  std::wstring file = L"C:/Temp/My Lesson.qdk";
  CProgressDialog dialog(url.c_str(), file.c_str(), nullptr);
  url.assign(url.size(), L'x');
  file.assign(file.size(), L'x');
  const CProgressDialogPeer peer{dialog};
  EXPECT_STREQ(peer.Url(), L"http://127.0.0.1/My%20Lesson.qdk?x=1");
  EXPECT_STREQ(peer.TempPath(), L"C:\\Temp\\My Lesson.qdk");
  EXPECT_STREQ(peer.FileName(), L"My Lesson.qdk");
  EXPECT_TRUE(peer.DestPath().IsEmpty());
}

TEST_F(ProgressDialogObject, MembersStandInTheirOrder) {
  const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
  const auto addresses = CProgressDialogPeer{*dialog}.MemberAddresses();
  EXPECT_EQ(std::adjacent_find(addresses.begin(), addresses.end(), std::greater_equal<>()),
            addresses.end());
}

TEST_F(ProgressDialogObject, DestroyHasTheResultOneAndIsNotHandled) {
  const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
  LRESULT result = 0;
  EXPECT_FALSE(dialog->ProcessWindowMessage(nullptr, WM_DESTROY, 0, 0, result));
  EXPECT_EQ(result, 1);
}

TEST_F(ProgressDialogObject, VtableHasTheMessageMapBeforeTheDestructor) {
  using MessageMap = BOOL (*)(void*, HWND, UINT, WPARAM, LPARAM, LRESULT&, DWORD);
  using Destructor = void (*)(void*);
  // This compiler makes two entries for the destructor; the second one also frees the object.
  constexpr int kDeletingDestructor = 2;
  auto* const dialog = std::make_unique<CProgressDialog>(L"http://127.0.0.1:1/a.qdk",
                                                         CFilePath(L"C:\\a.qdk"), nullptr)
                           .release();
  CProgressDialogPeer{*dialog}.BeginPeek();
  const void* const* const table = *reinterpret_cast<const void* const* const*>(dialog);
  LRESULT result = 0;
  EXPECT_FALSE(reinterpret_cast<MessageMap>(const_cast<void*>(table[0]))(
      dialog, nullptr, WM_DESTROY, 0, 0, result, 0));
  const std::vector<std::tuple<HANDLE>> event = {{CProgressDialogPeer{*dialog}.PeekEvent()}};
  const CImportSpy<&SetEvent> wake("kernel32.dll", "SetEvent");
  const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle");
  reinterpret_cast<Destructor>(const_cast<void*>(table[kDeletingDestructor]))(dialog);
  EXPECT_EQ(wake.Calls(), event) << "wakes whoever waits for it";
  EXPECT_EQ(close.Calls(), event);
}

class ProgressDialog : public DownloadFixture {
 protected:
  CMessageRecorder m_messages;
};

RECT BoundsOf(HWND window) {
  RECT bounds = {};
  GetWindowRect(window, &bounds);
  return bounds;
}

bool HasStyle(HWND window, int id, LONG_PTR style) {
  return (GetWindowLongPtrW(GetDlgItem(window, id), GWL_STYLE) & style) != 0;
}

TEST_F(ProgressDialog, IsCompleteBeforeItsWorkerStartsAndReportsThatItDoesNot) {
  const std::wstring url = L"http://127.0.0.1:1/a.qdk";
  const auto dialog = Make(url);
  dialog->SetTarget(CFilePath(L"C:\\My 100%s Lesson.qdk"), nullptr);
  const CImportSpy<&_beginthreadex> start("msvcrt.dll", "_beginthreadex", [&](auto...) {
    const HWND window = dialog->m_hWnd;
    EXPECT_EQ(TextOf(window), kDownloadTitle);
    EXPECT_EQ(ChildText(window, IDC_PROGRESS_TEXT), L"Downloading My 100%s Lesson.qdk");
    EXPECT_EQ(ChildText(window, IDCANCEL), L"Cancel");
    EXPECT_EQ(ChildText(window, IDC_OPEN_FILE), L"Open");
    EXPECT_EQ(ChildText(window, IDC_OPEN_FOLDER), L"Open Folder");
    for (const int hidden : {IDC_OPEN_FILE, IDC_OPEN_FOLDER}) {
      EXPECT_FALSE(HasStyle(window, hidden, WS_VISIBLE));
      EXPECT_TRUE(HasStyle(window, hidden, WS_DISABLED));
    }
    for (const int shown : {IDC_PROGRESS, IDC_PROGRESS_TEXT, IDCANCEL}) {
      EXPECT_TRUE(HasStyle(window, shown, WS_VISIBLE));
    }
    PBRANGE range = {};
    SendDlgItemMessageW(window, IDC_PROGRESS, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
    EXPECT_EQ(range.iLow, 1);
    EXPECT_EQ(range.iHigh, 100);
    // One centred row; that of the template has other gaps.
    const RECT bounds = BoundsOf(window);
    const RECT open = BoundsOf(GetDlgItem(window, IDC_OPEN_FILE));
    const RECT folder = BoundsOf(GetDlgItem(window, IDC_OPEN_FOLDER));
    const RECT cancel = BoundsOf(GetDlgItem(window, IDCANCEL));
    EXPECT_EQ(folder.left, open.right + 12);
    EXPECT_EQ(cancel.left, folder.right + 12);
    EXPECT_NEAR(open.left - bounds.left, bounds.right - cancel.right, 1);
    return 0;
  });
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
  EXPECT_EQ(start.Calls().size(), 1u);
  EXPECT_EQ(m_messages.TakeTexts(), std::vector{NotAvailable(url)});
}

TEST_F(ProgressDialog, DeliversAndEndsByItself) {
  for (const bool peeks : {false, true}) {
    const ScriptedPath path(m_server, Lesson(500000));
    std::weak_ptr<CProgressDialog> watched;
    {
      const auto dialog = Make(path.Url(L"a.qdk"));
      watched = dialog->weak_from_this();
      const CProgressDialogPeer peer{*dialog};
      EXPECT_TRUE(!peeks || (dialog->PeekContent(L".qdk") && peer.FileSize() == 800));
      EXPECT_EQ(dialog->DoModal(nullptr), 1);
      EXPECT_FALSE(peer.HasThread() || peer.IsRunning());
      EXPECT_EQ(peer.Session(), nullptr);
      EXPECT_EQ(peer.Request(), nullptr);
      EXPECT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"});
      m_sandbox.Write(L"temporary.qdk", "another download");
    }
    EXPECT_TRUE(watched.expired()) << "no worker is left";
    EXPECT_EQ(m_sandbox.Files(), (Files{L"Lesson.qdk", L"temporary.qdk"}));
    DeleteFileW(TempPath().c_str());
    EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(500000));
    EXPECT_EQ(path.Requests().size(), 1u) << "nothing is fetched twice";
  }
}

/// Keeps the worker's message at its end from the dialog, so that the complete dialog can be looked
/// at.
class CWithheldResult {
 public:
  void Wait() const {
    WaitUntil("the worker's end", [this] { return m_withheld != 0; });
    EXPECT_EQ(m_withheld, 1u);
  }

 private:
  std::atomic<WPARAM> m_withheld{0};
  const CImportSpy<&PostMessageW> m_post{
      "user32.dll", "PostMessageW",
      [this](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        WPARAM none = 0;
        return message == WM_USER && m_withheld.compare_exchange_strong(none, wParam)
                   ? TRUE
                   : m_post.CallOriginal(window, message, wParam, lParam);
      }};
};

TEST_F(ProgressDialog, CompleteOneReadsCloseAndEachOfItsCommandsDelivers) {
  for (const WORD command : {IDCANCEL, IDC_OPEN_FILE, IDC_OPEN_FOLDER}) {
    const CLaunchRecorder shell;
    const CWithheldResult withheld;
    const ScriptedPath path(m_server, Lesson(1000).Gated());
    const auto dialog = Make(path.Url(L"a.qdk"));
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      path.AllowAll();
      withheld.Wait();
      EXPECT_EQ(TextOf(window), L"Download Complete");
      EXPECT_EQ(ChildText(window, IDC_PROGRESS_TEXT), L"Download Complete");
      EXPECT_EQ(ChildText(window, IDCANCEL), L"Close");
      EXPECT_EQ(SendDlgItemMessageW(window, IDC_PROGRESS, PBM_GETPOS, 0, 0), 100);
      for (const int id : {IDC_OPEN_FILE, IDC_OPEN_FOLDER}) {
        EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, id)));
        EXPECT_FALSE(IsWindowVisible(GetDlgItem(window, id)));
      }
      EXPECT_EQ(m_sandbox.Files(), Files{L"temporary.qdk"});
      EXPECT_EQ(SendMessageW(window, WM_COMMAND, MAKEWPARAM(command, 0), 0), 0);
    });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"});
    EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
    ASSERT_EQ(shell.Launches().size(), command == IDCANCEL ? 0u : 1u);
    for (const CLaunch& launch : shell.Launches()) {
      EXPECT_EQ(launch.verb, L"open");
      EXPECT_EQ(launch.file, command == IDC_OPEN_FILE ? TempPath() : m_sandbox.Path());
      EXPECT_EQ(launch.mask, 0x4100u);
      EXPECT_EQ(launch.show, SW_SHOWNORMAL);
    }
    DeleteFileW(DestPath().c_str());
  }
}

/// Answers the system's dialog by a password.
void AnswerCredentials(const wchar_t* password) {
  constexpr int kUserEdit = 1027;
  constexpr int kPasswordEdit = 1028;
  const HWND prompt = WaitForDialog(L"Authentication Required");
  EXPECT_EQ(TextOf(GetWindow(prompt, GW_OWNER)), kDownloadTitle);
  SetDlgItemTextW(prompt, kUserEdit, L"ann");
  SetDlgItemTextW(prompt, kPasswordEdit, password);
  PostMessageW(prompt, WM_COMMAND, IDOK, 0);
  WaitUntilGone(prompt);
}

TEST_F(ProgressDialog, CredentialsAreAskedForOverItUntilTheyAreRight) {
  const CImportSpy<&GetForegroundWindow> foreground("user32.dll", "GetForegroundWindow",
                                                    [] { return GetDesktopWindow(); });
  CWinInetRecorder winInet;
  winInet.errorAfterSuccess = ERROR_SUCCESS;
  PathScript script = Lesson(1000);
  const ScriptedPath path(m_server, script.Credentials("ann", "right", "Lessons"));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CParallel user([] {
    AnswerCredentials(L"wrong");
    AnswerCredentials(L"right");
  });
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
  const auto requests = path.Requests();
  EXPECT_NE(requests.front().auth, RequestRecord::Auth::kRight);
  EXPECT_EQ(requests.back().auth, RequestRecord::Auth::kRight);
  for (const RequestRecord& request : requests) {
    EXPECT_EQ(request.path, path.Folder() + "a.qdk");
  }
}

TEST_F(ProgressDialog, JoinDispatchesMessagesOfAWorkerThatMovesTheBar) {
  const CLaunchRecorder shell;
  const DWORD dialogThread = GetCurrentThreadId();
  const CTestEvent joining;
  const CImportSpy<&SendDlgItemMessageW> move(
      "user32.dll", "SendDlgItemMessageW", [&](HWND dialog, auto... others) -> LRESULT {
        if (GetCurrentThreadId() != dialogThread) {
          PostMessageW(dialog, WM_COMMAND, IDC_OPEN_FOLDER, 0);  // finishes the download
          joining.Wait();
          if (!joining.IsSet()) {
            return 0;  // the message would never be served
          }
        }
        return move.CallOriginal(dialog, others...);
      });
  const CImportSpy<&MsgWaitForMultipleObjectsEx> wait("user32.dll", "MsgWaitForMultipleObjectsEx",
                                                      [&](auto... arguments) {
                                                        joining.Set();
                                                        return wait.CallOriginal(arguments...);
                                                      });
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(LocksTaken(), 0) << "joined, not left behind";
  EXPECT_TRUE(ReadFileBytes(DestPath()) == LessonBytes(300000).substr(0, 131072));
}

/// A result that comes early, while the worker fails: inside its read, or where it has come to the
/// deletion after that. The worker ends before the file is copied.
TEST_F(ProgressDialog, EarlyResultDeliversWhereverTheWorkerIs) {
  for (const bool inTheRead : {true, false}) {
    const CFailingRead read;
    const CTestEvent answered;
    HWND dialogWindow = nullptr;
    const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW", [&](LPCWSTR file) {
      // Before the result only the worker looks for the file.
      if (!inTheRead && exists.Calls().size() == 1) {
        PostMessageW(dialogWindow, WM_USER, kDownloadDelivered, 0);
        answered.Wait();
      }
      return exists.CallOriginal(file);
    });
    const CImportSpy<&SwitchToThread> pause("kernel32.dll", "SwitchToThread", [&] {
      answered.Set();
      return FALSE;
    });
    const CImportSpy<&CopyFileW> copy("kernel32.dll", "CopyFileW", [&](auto... arguments) {
      answered.Set();
      read.FailAndWaitForTheWorker();
      return copy.CallOriginal(arguments...);
    });
    const ScriptedPath path(m_server, Lesson(1000000));
    const auto dialog = Make(path.Url(L"a.qdk"));
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      read.WaitUntilReached();
      dialogWindow = window;
      if (inTheRead) {
        PostMessageW(window, WM_USER, kDownloadDelivered, 0);
      } else {
        read.FailAndWaitForTheWorker();
      }
    });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"}) << inTheRead;
    DeleteFileW(DestPath().c_str());
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

// WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT | DS_3DLOOK; the controls are
// visible children: push buttons with tab stops, a bar with a border, a text that begins a group.
TEST(ProgressDialogTemplate, HasItsStyleFontAndControls) {
  EXPECT_EQ(DescribeDialogTemplate(IDD_FILE_DOWNLOAD),
            L"80c800c4/0 0 0 186 73 menu '' class '' title 'MERLO Folivo File Download' "
            L"font 'MS Sans Serif' 8\n"
            L"50010000/0 129 50 50 16 id 2 button 'Cancel'\n"
            L"50800000/0 7 25 172 14 id 205 msctls_progress32 ''\n"
            L"50020000/0 7 7 172 8 id 207 static 'Progress Text'\n"
            L"50010000/0 7 50 50 16 id 206 button 'Open'\n"
            L"50010000/0 68 50 50 16 id 208 button 'Open Folder'\n");
}

}  // namespace
