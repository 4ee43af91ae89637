// The dialog itself: its controls, its commands, and how it ends.

#include "collections/zip_progress_dialog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/import_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/stored_zip.h"
#include "tests/support/user.h"

namespace {

using Lines = CDialogTrace::Lines;

constexpr int kTitle = 210;
constexpr int kSubtitle = 211;
constexpr int kBar = 212;

/// Keeps the dialog's timer from ticking, so that it stands in its initial state for as long as a
/// test looks at it.
class CHeldTimer {
 public:
  CHeldTimer() : m_patch("user32.dll", "SetTimer", &Hold) {
    s_original = m_patch.Original<UINT_PTR WINAPI(HWND, UINT_PTR, UINT, TIMERPROC)>();
    s_calls.clear();
  }
  struct CCall {
    HWND window;
    UINT_PTR id;
    UINT period;
    TIMERPROC proc;
  };
  static const std::vector<CCall>& Calls() { return s_calls; }
  /// A real timer, for the test's own use.
  static UINT_PTR Start(UINT period, TIMERPROC proc) {
    return s_original(nullptr, 0, period, proc);
  }

 private:
  static UINT_PTR WINAPI Hold(HWND window, UINT_PTR id, UINT period, TIMERPROC proc) {
    s_calls.push_back({window, id, period, proc});
    return 1;
  }

  static inline std::vector<CCall> s_calls;
  static inline decltype(&SetTimer) s_original;
  CImportPatch m_patch;
};

RECT ChildBounds(HWND window, int id) {
  RECT bounds = {};
  GetWindowRect(GetDlgItem(window, id), &bounds);
  MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&bounds), 2);
  return bounds;
}

class ZipProgressDialog : public CollectionTest {
 protected:
  ZipProgressDialog()
      : m_dialog((m_sandbox / L"source.zip").c_str(), ZipPath().c_str(), ContentFolder().c_str()) {}

  CZipProgressDialog m_dialog;
};

TEST_F(ZipProgressDialog, ConstructionCopiesItsArgumentsAndDoesNothing) {
  std::wstring source = L"http://folivo-collections.example/a.zip";
  std::wstring zip = L"C:/Temp/download.zip";
  std::wstring content = L"C:\\Content\\";
  CZipProgressDialog dialog(source.c_str(), zip.c_str(), content.c_str());
  source.assign(source.size(), L'x');
  zip.assign(zip.size(), L'x');
  content.assign(content.size(), L'x');
  const CZipProgressDialogPeer peer{dialog};
  EXPECT_EQ(peer.SourceUrl(), L"http://folivo-collections.example/a.zip");
  EXPECT_EQ(peer.ZipPath(), L"C:/Temp/download.zip");
  EXPECT_EQ(peer.ContentFolder(), L"C:\\Content\\");
  EXPECT_FALSE(peer.IsDone());
  EXPECT_TRUE(peer.IsFirstChunk());
  EXPECT_EQ(peer.Session(), nullptr);
  EXPECT_EQ(peer.Request(), nullptr);
  EXPECT_EQ(peer.File(), nullptr);
  EXPECT_EQ(peer.Total(), 0);
  EXPECT_EQ(peer.Received(), 0);
  EXPECT_EQ(peer.EntryCount(), 0);
  EXPECT_TRUE(peer.AddedFiles().empty());
  EXPECT_EQ(dialog.m_hWnd, nullptr);
}

TEST_F(ZipProgressDialog, StartsWithOnlyCancelToPress) {
  const CHeldTimer timer;
  const INT_PTR result = RunDialog(m_dialog, [](HWND window) {
    EXPECT_EQ(ChildText(window, kTitle), L"Downloading Folivo Collections...");
    EXPECT_EQ(ChildText(window, kSubtitle), L"");
    EXPECT_EQ(ChildText(window, IDOK), L"Ok");
    EXPECT_EQ(ChildText(window, IDCANCEL), L"Cancel");
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(window, IDOK)));
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, IDCANCEL)));
    PBRANGE range = {};
    SendDlgItemMessageW(window, kBar, PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&range));
    EXPECT_EQ(range.iLow, 1);
    EXPECT_EQ(range.iHigh, 100);
    ASSERT_EQ(CHeldTimer::Calls().size(), 1u);
    EXPECT_EQ(CHeldTimer::Calls()[0].window, window);
    EXPECT_EQ(CHeldTimer::Calls()[0].id, 0u);
    EXPECT_EQ(CHeldTimer::Calls()[0].period, 100u);
    EXPECT_EQ(CHeldTimer::Calls()[0].proc, nullptr);
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(result, 2);
}

/// Takes down the system calls of a dialog's initialisation, in order; calls of one kind that
/// follow each other count once.
class CInitialisationTrace {
 public:
  CInitialisationTrace() { s_steps.clear(); }

  static const std::vector<std::string>& Steps() { return s_steps; }

 private:
  static void Note(const std::string& step) {
    if (s_steps.empty() || s_steps.back() != step) {
      s_steps.push_back(step);
    }
  }

  static inline std::vector<std::string> s_steps;
  CImportPatch m_place{"user32.dll", "SetWindowPos",
                       +[](HWND, HWND, int, int, int, int, UINT) -> BOOL {
                         Note("centre");
                         return TRUE;
                       }};
  CImportPatch m_text{"user32.dll", "SetDlgItemTextW", +[](HWND, int, LPCWSTR) -> BOOL {
                        Note("status");
                        return TRUE;
                      }};
  CImportPatch m_enable{
      "user32.dll", "EnableWindow", +[](HWND window, BOOL enable) -> BOOL {
        Note((enable ? "enable " : "disable ") + std::to_string(GetDlgCtrlID(window)));
        return TRUE;
      }};
  CImportPatch m_timer{"user32.dll", "SetTimer", +[](HWND, UINT_PTR, UINT, TIMERPROC) -> UINT_PTR {
                         Note("timer");
                         return 1;
                       }};
  CImportPatch m_move{"user32.dll", "MoveWindow", +[](HWND, int, int, int, int, BOOL) -> BOOL {
                        Note("button row");
                        return TRUE;
                      }};
  CImportPatch m_range{"user32.dll", "SendDlgItemMessageW",
                       +[](HWND, int, UINT message, WPARAM, LPARAM) -> LRESULT {
                         Note(message == PBM_SETRANGE32 ? "range" : "other");
                         return 0;
                       }};
};

TEST_F(ZipProgressDialog, InitialisationIsInOrder) {
  const CInitialisationTrace trace;
  EXPECT_EQ(RunDialog(m_dialog, [](HWND window) { Click(window, IDCANCEL); }), 2);
  EXPECT_EQ(CInitialisationTrace::Steps(),
            (std::vector<std::string>{"centre", "status", "disable 1", "enable 2", "timer",
                                      "button row", "range"}));
}

TEST_F(ZipProgressDialog, ButtonsStandInOneCentredRow) {
  const CHeldTimer timer;
  RunDialog(m_dialog, [](HWND window) {
    RECT client = {};
    GetClientRect(window, &client);
    const RECT ok = ChildBounds(window, IDOK);
    const RECT cancel = ChildBounds(window, IDCANCEL);
    EXPECT_EQ(cancel.left, ok.right + 12);
    EXPECT_EQ(ok.left, (client.right - (cancel.right - ok.left)) / 2);
    for (const RECT& bounds : {ok, cancel}) {
      EXPECT_EQ(bounds.top, client.bottom - 36);
      EXPECT_EQ(bounds.bottom, client.bottom - 12);
      EXPECT_GE(bounds.right - bounds.left, 60);
    }
    Click(window, IDCANCEL);
  });
}

TEST_F(ZipProgressDialog, OpensCentredOverItsOwner) {
  const CHeldTimer timer;
  const HWND owner = CreateWindowExW(0, L"static", L"Browser", WS_POPUP | WS_VISIBLE, 300, 200, 800,
                                     700, nullptr, nullptr, nullptr, nullptr);
  const CParallel user([] {
    const HWND window = WaitForDialog(kDialogTitle);
    RECT bounds = {};
    GetWindowRect(window, &bounds);
    EXPECT_NEAR((bounds.left + bounds.right) / 2, 300 + 400, 1);
    EXPECT_NEAR((bounds.top + bounds.bottom) / 2, 200 + 350, 1);
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(m_dialog.DoModal(owner), 2);
  DestroyWindow(owner);
}

TEST_F(ZipProgressDialog, CancelBeforeTheFirstTickKeepsTheArchive) {
  m_sandbox.Write(L"download.zip", "old");
  const CHeldTimer timer;
  EXPECT_EQ(RunDialog(m_dialog, [](HWND window) { Click(window, IDCANCEL); }), 2);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "old");
}

TEST_F(ZipProgressDialog, CloseBoxCancels) {
  const CHeldTimer timer;
  EXPECT_EQ(RunDialog(m_dialog, [](HWND window) { Close(window); }), 2);
}

TEST_F(ZipProgressDialog, OkCommandEndsWithOne) {
  m_sandbox.Write(L"download.zip", "old");
  const CHeldTimer timer;
  EXPECT_EQ(
      RunDialog(m_dialog,
                [](HWND window) { PostMessageW(window, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0); }),
      1);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "old");
}

TEST_F(ZipProgressDialog, OtherNotificationsAreNotHandled) {
  const CHeldTimer timer;
  const INT_PTR result = RunDialog(m_dialog, [](HWND window) {
    for (const int id : {IDOK, IDCANCEL, kTitle, kBar, 99}) {
      SendMessageW(window, WM_COMMAND, MAKEWPARAM(id, 5), 0);
    }
    for (const int id : {kTitle, kSubtitle, kBar, 99}) {
      SendMessageW(window, WM_COMMAND, MAKEWPARAM(id, 0), 0);
    }
    SendMessageW(window, WM_USER + 1, 1, 0);
    EXPECT_TRUE(IsWindowVisible(window));
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(result, 2);
}

TEST_F(ZipProgressDialog, InitialisationIsHandledAndLeavesTheDefaultFocus) {
  const CHeldTimer timer;
  RunDialog(m_dialog, [this](HWND window) {
    LRESULT result = FALSE;
    EXPECT_TRUE(m_dialog.ProcessWindowMessage(window, WM_INITDIALOG, 0, 0, result, 0));
    EXPECT_EQ(result, TRUE);
    GUITHREADINFO info = {};
    info.cbSize = sizeof(info);
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    EXPECT_EQ(GetDlgCtrlID(info.hwndFocus), IDCANCEL);
    Click(window, IDCANCEL);
  });
}

TEST_F(ZipProgressDialog, StatusAndProgressGoToTheirControls) {
  COpenDialog dialog(L"", ZipPath(), ContentFolder());
  const int cases[][2] = {{-5, 0}, {0, 0}, {1, 1}, {50, 50}, {100, 100}, {200, 100}};
  CDialogTrace trace;
  for (const auto& [percent, position] : cases) {
    dialog->SetProgress(percent);
    // The control's own range begins at 1.
    EXPECT_EQ(SendDlgItemMessageW(dialog.Window(), kBar, PBM_GETPOS, 0, 0), std::max(1, position));
  }
  dialog->SetStatus(L"one %s", L"two");
  EXPECT_EQ(ChildText(dialog.Window(), kTitle), L"one %s");
  EXPECT_EQ(ChildText(dialog.Window(), kSubtitle), L"two");
  dialog->SetStatus(L"three", L"");
  EXPECT_EQ(ChildText(dialog.Window(), kTitle), L"three");
  EXPECT_EQ(ChildText(dialog.Window(), kSubtitle), L"");
  EXPECT_EQ(trace.Take(L"bar"), (Lines{L"0", L"0", L"1", L"50", L"100", L"100"}));
}

CZipProgressDialogPeer* g_asking;

/// Goes on where a manifest stage that succeeds would.
void CALLBACK FinishNow(HWND, UINT, UINT_PTR timer, DWORD) {
  KillTimer(nullptr, timer);
  g_asking->Begin();
  TiXmlDocument manifest;
  manifest.Parse("<a><DownloadedFile Filename='a.qdc' Destination='x'/></a>");
  g_asking->FinishPipeline(manifest);
}

TEST_F(ZipProgressDialog, QuestionBehindTheAddedCollectionsWaitsForTheAnswer) {
  const CUnzipSearchPath unzip(RealUnzipFolder());
  const std::string archive = CStoredZip().Add("a.qdc", "lesson").Bytes();
  for (const int answer : {IDOK, IDCANCEL}) {
    m_sandbox.Write(L"download.zip", archive);
    DeleteFileW(Content(L"x\\a.qdc").c_str());
    const CHeldTimer held;
    CZipProgressDialog dialog(L"", ZipPath().c_str(), ContentFolder().c_str());
    CZipProgressDialogPeer peer{dialog};
    g_asking = &peer;
    CHeldTimer::Start(10, &FinishNow);
    const INT_PTR result = RunDialog(dialog, [&](HWND window) {
      WaitUntil("the question", [&] { return ChildText(window, IDCANCEL) == L"No"; });
      EXPECT_EQ(ChildText(window, kTitle), L"Completed Folivo Collections download.");
      EXPECT_EQ(ChildText(window, kSubtitle),
                L"Would you like to view the downloaded collections?");
      EXPECT_EQ(ChildText(window, IDOK), L"Yes");
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, IDOK)));
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, IDCANCEL)));
      EXPECT_EQ(SendDlgItemMessageW(window, kBar, PBM_GETPOS, 0, 0), 100);
      SendMessageW(window, WM_TIMER, 0, 0);  // A late tick does not begin again.
      EXPECT_TRUE(IsWindowVisible(window));
      Click(window, answer);
    });
    EXPECT_EQ(result, answer);
    EXPECT_EQ(peer.AddedFiles(), std::vector{Content(L"x\\a.qdc")});
    EXPECT_EQ(ReadFileBytes(Content(L"x\\a.qdc")), "lesson");
    EXPECT_EQ(ReadFileBytes(ZipPath()), archive);
  }
}

}  // namespace
