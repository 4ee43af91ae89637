#include "download/progress_dialog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>
#include <shellapi.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_patch.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

constexpr int kBar = 205;
constexpr int kOpen = 206;
constexpr int kText = 207;
constexpr int kOpenFolder = 208;

class ProgressDialog : public DownloadTest {};

RECT ChildBounds(HWND window, int id) {
  RECT bounds = {};
  GetWindowRect(GetDlgItem(window, id), &bounds);
  MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&bounds), 2);
  return bounds;
}

TEST_F(ProgressDialog, ConstructionCopiesItsArguments) {
  std::wstring url = L"http://127.0.0.1/My%20Lesson.qdk?x=1";
  std::wstring file = L"C:/Temp/My Lesson.qdk";
  const CProgressDialog dialog(url.c_str(), file.c_str(), nullptr);
  url.assign(url.size(), L'x');
  file.assign(file.size(), L'x');
  const CProgressDialogPeer peer{const_cast<CProgressDialog&>(dialog)};
  EXPECT_STREQ(peer.Url(), L"http://127.0.0.1/My%20Lesson.qdk?x=1");
  EXPECT_STREQ(peer.TempPath(), L"C:\\Temp\\My Lesson.qdk");
  EXPECT_STREQ(peer.FileName(), L"My Lesson.qdk");
  EXPECT_TRUE(peer.DestPath().IsEmpty());
  EXPECT_EQ(peer.SaveState(), nullptr);
  EXPECT_FALSE(peer.IsOpened());
  EXPECT_TRUE(peer.IsCheckPending());
  EXPECT_TRUE(peer.IsRunning());
  EXPECT_FALSE(peer.IsValid());
  EXPECT_FALSE(peer.IsComplete());
  EXPECT_FALSE(peer.IsLengthKnown());
  EXPECT_FALSE(peer.IsFinished());
  EXPECT_EQ(peer.Total(), 0);
  EXPECT_EQ(peer.Received(), 0);
  EXPECT_FALSE(peer.IsPeeking());
  EXPECT_FALSE(peer.HasThread());
  EXPECT_EQ(peer.Session(), nullptr);
  EXPECT_EQ(peer.Request(), nullptr);
  EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
}

TEST_F(ProgressDialog, ShowsTextBarAndCancelOnly) {
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  dialog->SetTarget(CFilePath(L"C:\\My 100%s Lesson.qdk"), nullptr);
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    EXPECT_EQ(ChildText(window, kText), L"Downloading My 100%s Lesson.qdk");
    EXPECT_EQ(ChildText(window, IDCANCEL), L"Cancel");
    EXPECT_EQ(ChildText(window, kOpen), L"Open");
    EXPECT_EQ(ChildText(window, kOpenFolder), L"Open Folder");
    for (const int hidden : {kOpen, kOpenFolder}) {
      EXPECT_FALSE(IsWindowVisible(GetDlgItem(window, hidden)));
      EXPECT_FALSE(IsWindowEnabled(GetDlgItem(window, hidden)));
    }
    for (const int shown : {kBar, kText, IDCANCEL}) {
      EXPECT_TRUE(IsWindowVisible(GetDlgItem(window, shown)));
    }
    PBRANGE range = {};
    SendDlgItemMessageW(window, kBar, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
    EXPECT_EQ(range.iLow, 1);
    EXPECT_EQ(range.iHigh, 100);
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(result, 2);
  path.AllowAll();
}

TEST_F(ProgressDialog, TemplateIsAsDesigned) {
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  RunDialog(*dialog, [&](HWND window) {
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE));
    const DWORD expected = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_3DLOOK;
    EXPECT_EQ(style & expected, expected);
    RECT client = {};
    GetClientRect(window, &client);
    RECT units = {0, 0, 186, 73};
    MapDialogRect(window, &units);
    EXPECT_EQ(client.right, units.right);
    EXPECT_EQ(client.bottom, units.bottom);
    std::vector<int> ids;
    for (HWND child = GetWindow(window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
      ids.push_back(GetDlgCtrlID(child));
    }
    EXPECT_EQ(ids, (std::vector<int>{IDCANCEL, kBar, kText, kOpen, kOpenFolder}));
    RECT bar = {7, 25, 7 + 172, 25 + 14};
    MapDialogRect(window, &bar);
    const RECT actual = ChildBounds(window, kBar);
    // Position and size are rounded to pixels each for itself, by the font's measures.
    EXPECT_NEAR(bar.left, actual.left, 1);
    EXPECT_NEAR(bar.top, actual.top, 1);
    EXPECT_NEAR(bar.right, actual.right, 1);
    EXPECT_NEAR(bar.bottom, actual.bottom, 1);
    Click(window, IDCANCEL);
  });
  path.AllowAll();
}

TEST_F(ProgressDialog, ButtonsStandInOneCentredRow) {
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  RunDialog(*dialog, [&](HWND window) {
    RECT client = {};
    GetClientRect(window, &client);
    const RECT open = ChildBounds(window, kOpen);
    const RECT folder = ChildBounds(window, kOpenFolder);
    const RECT cancel = ChildBounds(window, IDCANCEL);
    EXPECT_EQ(folder.left, open.right + 12);
    EXPECT_EQ(cancel.left, folder.right + 12);
    EXPECT_EQ(open.left, (client.right - (cancel.right - open.left)) / 2);
    for (const RECT& bounds : {open, folder, cancel}) {
      EXPECT_EQ(bounds.top, client.bottom - 36);
      EXPECT_EQ(bounds.bottom, client.bottom - 12);
    }
    Click(window, IDCANCEL);
  });
  path.AllowAll();
}

TEST_F(ProgressDialog, DeliversAndEndsByItself) {
  const ScriptedPath path(m_server, Lesson(500000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"Lesson.qdk"});
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(500000));
  EXPECT_EQ(path.Requests().size(), 1u);
  const CProgressDialogPeer peer{*dialog};
  EXPECT_FALSE(peer.HasThread());
  EXPECT_FALSE(peer.IsRunning());
  EXPECT_EQ(peer.Session(), nullptr);
  EXPECT_EQ(peer.Request(), nullptr);
}

TEST_F(ProgressDialog, CarriesOnWhereThePreCheckStopped) {
  const ScriptedPath path(m_server, Lesson(500000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(500000));
  EXPECT_EQ(path.Requests().size(), 1u) << "nothing is fetched twice";
}

TEST_F(ProgressDialog, SmallBodiesAreDelivered) {
  for (const size_t length : {0U, 5U, 57U, 58U, 798U, 799U, 131070U, 131071U}) {
    const ScriptedPath path(m_server, Lesson(length));
    const auto dialog = Make(path.Url(L"a.qdk"));
    EXPECT_EQ(dialog->DoModal(nullptr), 1) << length;
    EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(length));
  }
}

TEST_F(ProgressDialog, ChunkedAndEndlessBodiesAreDelivered) {
  for (const HttpAnswer& answer :
       {Lesson(300000).Chunked(), Lesson(300000).CloseDelimited(), Lesson(300000).Chunked(7000)}) {
    const ScriptedPath path(m_server, answer);
    const auto dialog = Make(path.Url(L"a.qdk"));
    EXPECT_EQ(dialog->DoModal(nullptr), 1);
    EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(300000));
  }
}

TEST_F(ProgressDialog, RedirectIsFollowed) {
  const ScriptedPath target(m_server, Lesson(3000));
  const ScriptedPath start(m_server, HttpAnswer().Redirect(target.Url(L"b.qdk")));
  const auto dialog = Make(start.Url(L"a.qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(3000));
}

TEST_F(ProgressDialog, AnyAcceptedStatusIsJudgedByItsContent) {
  const ScriptedPath path(m_server, Lesson(3000).Status(503));
  const auto dialog = Make(path.Url(L"a.qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(3000));
}

TEST_F(ProgressDialog, EmptyBodyDeliversAnEmptyFile) {
  const ScriptedPath path(m_server, HttpAnswer());
  const auto dialog = Make(path.Url(L"a.qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"Lesson.qdk"});
  EXPECT_EQ(ReadFileBytes(DestPath()), "");
}

TEST_F(ProgressDialog, BodyThatEndsEarlyCountsAsComplete) {
  // The byte count is not compared with the announced length.
  const ScriptedPath path(m_server,
                          Lesson(10000).Cut(http_point::BodyByte(4000), HttpCut::kGraceful));
  const auto dialog = Make(path.Url(L"a.qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(3998));
}

TEST_F(ProgressDialog, BarFollowsTheTransfer) {
  constexpr size_t kBody = 1310720;
  const ScriptedPath path(m_server, Lesson(kBody - 2).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    for (int chunks = 1; chunks <= 9; ++chunks) {
      path.AllowUpTo(static_cast<uint64_t>(chunks) * 131072);
      WaitUntil("the bar to move", [&] { return BarPosition(window) == 10 * chunks; });
      EXPECT_EQ(TextOf(window), kDialogTitle);
    }
    path.AllowAll();
  });
  EXPECT_EQ(result, 1);
}

/// Keeps the worker's message at its end from the dialog, so that the complete dialog can be looked
/// at.
class CWithheldResult {
 public:
  CWithheldResult() : m_patch("user32.dll", "PostMessageW", &Post) {
    s_original = m_patch.Original<BOOL WINAPI(HWND, UINT, WPARAM, LPARAM)>();
    s_withheld = 0;
  }
  static WPARAM Withheld() { return s_withheld; }

 private:
  static BOOL WINAPI Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    WPARAM none = 0;
    if (message == WM_USER && s_withheld.compare_exchange_strong(none, wParam)) {
      return TRUE;
    }
    return s_original(window, message, wParam, lParam);
  }

  static inline BOOL(WINAPI* s_original)(HWND, UINT, WPARAM, LPARAM);
  static inline std::atomic<WPARAM> s_withheld;
  CImportPatch m_patch;
};

TEST_F(ProgressDialog, CompleteOneReadsCloseAndDeliversWhenThatIsPressed) {
  const CWithheldResult withheld;
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    path.AllowAll();
    WaitUntil("the worker's end", [] { return CWithheldResult::Withheld() != 0; });
    EXPECT_EQ(CWithheldResult::Withheld(), 1u);
    EXPECT_EQ(TextOf(window), L"Download Complete");
    EXPECT_EQ(ChildText(window, kText), L"Download Complete");
    EXPECT_EQ(ChildText(window, IDCANCEL), L"Close");
    EXPECT_EQ(BarPosition(window), 100);
    for (const int id : {kOpen, kOpenFolder}) {
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, id)));
      EXPECT_FALSE(IsWindowVisible(GetDlgItem(window, id))) << "enabled, but never shown again";
    }
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"Lesson.qdk"});
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
}

TEST_F(ProgressDialog, ResultThreeDeletesAndDeliversNothing) {
  const CWithheldResult withheld;
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    path.AllowAll();
    WaitUntil("the worker's end", [] { return CWithheldResult::Withheld() != 0; });
    PostMessageW(window, WM_USER, 3, 0);
  });
  EXPECT_EQ(result, 3);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(ProgressDialog, OkEndsWithOneAndDoesNothingElse) {
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      WaitUntil("the file", [&] { return !m_sandbox.Files().empty(); });
      PostMessageW(window, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0);
    });
    EXPECT_EQ(result, 1);
    const CProgressDialogPeer peer{*dialog};
    EXPECT_TRUE(peer.HasThread());
    EXPECT_NE(peer.File(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
  }
  path.AllowAll();
}

TEST_F(ProgressDialog, OtherNotificationsAreNotHandled) {
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    for (const int id : {IDOK, IDCANCEL, kOpen, kOpenFolder, 99}) {
      SendMessageW(window, WM_COMMAND, MAKEWPARAM(id, 5), 0);
    }
    SendMessageW(window, WM_COMMAND, MAKEWPARAM(99, 0), 0);
    SendMessageW(window, WM_USER + 1, 1, 0);
    EXPECT_TRUE(IsWindowVisible(window));
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(result, 2);
  path.AllowAll();
}

TEST_F(ProgressDialog, DefaultButtonAndFocusAreTheDialogManagers) {
  const ScriptedPath path(m_server, Lesson(1000).Gated());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    // This message has the number of the worker's, with a parameter of 0.
    static_assert(DM_GETDEFID == WM_USER);
    SendMessageW(window, DM_GETDEFID, 0, 0);
    EXPECT_TRUE(IsWindowVisible(window));
    GUITHREADINFO info = {};
    info.cbSize = sizeof(info);
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    EXPECT_EQ(GetDlgCtrlID(info.hwndFocus), IDCANCEL);
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(result, 2);
  path.AllowAll();
}

TEST_F(ProgressDialog, OneThatCannotStartItsWorkerFails) {
  CMessageRecorder messages;
  const std::wstring url = L"http://127.0.0.1:1/a.qdk";
  const auto dialog = Make(url);
  const CImportPatch patch(
      "msvcrt.dll", "_beginthreadex",
      +[](void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) -> uintptr_t {
        return 0;
      });
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
  EXPECT_EQ(messages.TakeTexts(), std::vector{NotAvailable(url)});
}

TEST_F(ProgressDialog, WorkerIsStartedWhenEverythingElseIsReady) {
  static HWND window;
  static std::wstring title;
  static std::wstring text;
  static LONG gap;
  static bool openIsHidden;
  static PBRANGE range;
  const CMessageRecorder messages;
  const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
  static CProgressDialog* starting;
  starting = dialog.get();
  const CImportPatch patch(
      "msvcrt.dll", "_beginthreadex",
      +[](void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) -> uintptr_t {
        window = starting->m_hWnd;
        title = TextOf(window);
        text = ChildText(window, kText);
        gap = ChildBounds(window, kOpenFolder).left - ChildBounds(window, kOpen).right;
        openIsHidden = (GetWindowLongPtrW(GetDlgItem(window, kOpen), GWL_STYLE) & WS_VISIBLE) == 0;
        SendDlgItemMessageW(window, kBar, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
        return 0;
      });
  EXPECT_EQ(dialog->DoModal(nullptr), 3);
  EXPECT_NE(window, nullptr);
  EXPECT_EQ(title, kDialogTitle);
  EXPECT_EQ(text, L"Downloading Lesson.qdk");
  EXPECT_EQ(gap, 12);
  EXPECT_TRUE(openIsHidden);
  EXPECT_EQ(range.iLow, 1);
}

struct CShellCall {
  std::wstring verb;
  std::wstring file;
  ULONG mask;
  int show;
};
std::vector<CShellCall> g_shellCalls;

BOOL WINAPI RecordShell(SHELLEXECUTEINFOW* info) {
  g_shellCalls.push_back({info->lpVerb, info->lpFile, info->fMask, info->nShow});
  return TRUE;
}

TEST_F(ProgressDialog, OpenCommandsGoToTheShellAndFinishTheDownload) {
  const CImportPatch shell("shell32.dll", "ShellExecuteExW", &RecordShell);
  for (const int command : {kOpen, kOpenFolder}) {
    g_shellCalls.clear();
    const CWithheldResult withheld;
    const ScriptedPath path(m_server, Lesson(1000).Gated());
    const auto dialog = Make(path.Url(L"a.qdk"));
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      path.AllowAll();
      WaitUntil("the worker's end", [] { return CWithheldResult::Withheld() != 0; });
      PostMessageW(window, WM_COMMAND, MAKEWPARAM(command, 0), 0);
    });
    EXPECT_EQ(result, 1);
    ASSERT_EQ(g_shellCalls.size(), 1u);
    EXPECT_EQ(g_shellCalls[0].verb, L"open");
    EXPECT_EQ(g_shellCalls[0].file, command == kOpen ? TempPath() : m_sandbox.Path());
    EXPECT_EQ(g_shellCalls[0].mask, 0x4100u);
    EXPECT_EQ(g_shellCalls[0].show, SW_SHOWNORMAL);
    EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(1000));
  }
}

TEST_F(ProgressDialog, OpenCommandNeverWaitsForAStalledTransfer) {
  const CImportPatch shell("shell32.dll", "ShellExecuteExW", &RecordShell);
  const std::string point = http_point::BodyByte(200000);
  const ScriptedPath path(m_server, Lesson(300000).Hold(point));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
    EXPECT_TRUE(path.WaitForHeld(point));
    WaitUntil("the first chunk", [&] { return BarPosition(window) == 43; });
    PostMessageW(window, WM_COMMAND, MAKEWPARAM(kOpen, 0), 0);
  });
  EXPECT_EQ(result, 1);
  // What had come is delivered.
  EXPECT_EQ(ReadFileBytes(DestPath()), LessonBytes(300000).substr(0, 131072));
  path.AllowAll();
}

/// Has the download finished while its worker is about to move the bar: the worker goes on when the
/// dialog's thread waits for its end.
class CBarMovedUnderTheJoin {
 public:
  CBarMovedUnderTheJoin()
      : m_send("user32.dll", "SendDlgItemMessageW", &Send),
        m_wait("user32.dll", "MsgWaitForMultipleObjectsEx", &Wait) {
    s_send = m_send.Original<decltype(SendDlgItemMessageW)>();
    s_wait = m_wait.Original<decltype(MsgWaitForMultipleObjectsEx)>();
    s_dialogThread = GetCurrentThreadId();
    s_joining.Close();
    s_joining.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  }

 private:
  static LRESULT WINAPI Send(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
    if (GetCurrentThreadId() != s_dialogThread) {
      PostMessageW(dialog, WM_COMMAND, kOpenFolder, 0);
      if (WaitForSingleObject(s_joining, 10000) != WAIT_OBJECT_0) {
        ADD_FAILURE() << "the dialog's thread does not wait so that messages are served";
        return 0;
      }
    }
    return s_send(dialog, id, message, wParam, lParam);
  }
  static DWORD WINAPI Wait(DWORD count, const HANDLE* handles, DWORD time, DWORD mask,
                           DWORD flags) {
    SetEvent(s_joining);
    return s_wait(count, handles, time, mask, flags);
  }

  static inline decltype(&SendDlgItemMessageW) s_send;
  static inline decltype(&MsgWaitForMultipleObjectsEx) s_wait;
  static inline DWORD s_dialogThread;
  static inline CHandle s_joining;
  CImportPatch m_send;
  CImportPatch m_wait;
};

TEST_F(ProgressDialog, JoinNeverLocksUpWithAWorkerThatMovesTheBar) {
  const CImportPatch shell("shell32.dll", "ShellExecuteExW", &RecordShell);
  const CBarMovedUnderTheJoin bar;
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(LocksTaken(), 0) << "joined, not left behind";
  EXPECT_TRUE(ReadFileBytes(DestPath()) == LessonBytes(300000).substr(0, 131072));
}

/// Holds the worker inside a write while the dialog's thread handles a result, until that has
/// looked for the file at least once.
class CWriteUnderAResult {
 public:
  explicit CWriteUnderAResult(CProgressDialog& dialog)
      : m_write("kernel32.dll", "WriteFile", &Write),
        m_pause("kernel32.dll", "SwitchToThread", &Pause) {
    s_write = m_write.Original<decltype(WriteFile)>();
    s_dialog = &dialog;
    s_looked.Close();
    s_looked.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    s_writes = 0;
  }

 private:
  static BOOL WINAPI Write(HANDLE file, LPCVOID data, DWORD size, LPDWORD written,
                           LPOVERLAPPED overlapped) {
    if (++s_writes == 2) {
      PostMessageW(s_dialog->m_hWnd, WM_USER, kDownloadDelivered, 0);
      EXPECT_EQ(WaitForSingleObject(s_looked, 20000), WAIT_OBJECT_0);
    }
    return s_write(file, data, size, written, overlapped);
  }
  static BOOL WINAPI Pause() {
    SetEvent(s_looked);
    return FALSE;
  }

  static inline decltype(&WriteFile) s_write;
  static inline CProgressDialog* s_dialog;
  static inline CHandle s_looked;
  static inline std::atomic<int> s_writes;
  CImportPatch m_write;
  CImportPatch m_pause;
};

TEST_F(ProgressDialog, ResultThatComesDuringAWriteDeliversThatChunkToo) {
  const ScriptedPath path(m_server, Lesson(1000000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CWriteUnderAResult write(*dialog);
  EXPECT_EQ(dialog->DoModal(nullptr), 1);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"Lesson.qdk"});
  EXPECT_TRUE(ReadFileBytes(DestPath()) == LessonBytes(1000000).substr(0, 2 * 131072));
}

TEST_F(ProgressDialog, OneThatNeverRanTakesItsFileWithIt) {
  const ScriptedPath path(m_server, Lesson(1000));
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    ASSERT_TRUE(dialog->PeekContent(L".qdk"));
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"temporary.qdk"});
  }
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(ProgressDialog, OneThatNeverOpenedItsFileLeavesAnothersAlone) {
  const CMessageRecorder messages;
  m_sandbox.Write(L"temporary.qdk", "another download");
  const ScriptedPath missing(m_server, HttpAnswer().Status(404));
  {
    const auto unused = Make(missing.Url(L"a.qdk"));
    const auto refused = Make(missing.Url(L"a.qdk"));
    EXPECT_FALSE(refused->PeekContent(L".qdk"));
  }
  EXPECT_EQ(ReadFileBytes(TempPath()), "another download");
}

}  // namespace
