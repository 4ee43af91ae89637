// The dialog itself: its controls, its commands and its end.

#include "collections/zip_progress_dialog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>
#include <shlwapi.h>
#include <tinyxml.h>

#include <functional>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include "tests/collections/collection_fixture.h"
#include "tests/collections/dialog_trace.h"
#include "tests/support/dialog_template.h"
#include "tests/support/import_spy.h"
#include "tests/support/message_recorder.h"
#include "tests/support/run_dialog.h"
#include "tests/support/user.h"
#include "tests/support/wininet_recorder.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::Not;
using Lines = CDialogTrace::Lines;

constexpr int kTitle = 210;
constexpr int kSubtitle = 211;
constexpr int kBar = 212;

RECT BoundsOf(HWND window) {
  RECT bounds = {};
  GetWindowRect(window, &bounds);
  return bounds;
}

/// A dialog whose timer never ticks, so that it stays in its initial state.
class ZipProgressDialog : public CollectionFixture {
 protected:
  using CSetTimer = CImportSpy<&SetTimer>;

  INT_PTR Run(const std::function<void(HWND)>& user) { return RunDialog(m_dialog, user); }

  CZipProgressDialog m_dialog{L"", ZipPath().c_str(), ContentFolder().c_str()};
  const CSetTimer m_timer{"user32.dll", "SetTimer",
                          [](HWND, UINT_PTR, UINT, TIMERPROC) { return UINT_PTR{1}; }};
};

TEST_F(ZipProgressDialog, StartsWithOnlyCancelEnabled) {
  const CZipProgressDialogPeer peer{m_dialog};
  EXPECT_EQ(peer.Total(), 0);
  EXPECT_EQ(peer.Received(), 0);
  const INT_PTR result = Run([this](HWND window) {
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
    EXPECT_EQ(m_timer.Calls(), (std::vector<CSetTimer::Call>{{window, 0, 100, nullptr}}));

    const RECT bounds = BoundsOf(window);
    const RECT ok = BoundsOf(GetDlgItem(window, IDOK));
    const RECT cancel = BoundsOf(GetDlgItem(window, IDCANCEL));
    EXPECT_EQ(cancel.left, ok.right + 12) << "one row";
    EXPECT_NEAR(ok.left - bounds.left, bounds.right - cancel.right, 1) << "centred";

    LRESULT leavesFocus = FALSE;
    EXPECT_TRUE(m_dialog.ProcessWindowMessage(window, WM_INITDIALOG, 0, 0, leavesFocus, 0));
    EXPECT_EQ(leavesFocus, TRUE);
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(result, 2);
}

TEST_F(ZipProgressDialog, InitialisationKeepsItsOrder) {
  std::vector<std::string> steps;
  const auto note = [&](const char* step) {
    return [&steps, step](auto...) {
      if (steps.empty() || steps.back() != step) {
        steps.emplace_back(step);
      }
      return TRUE;
    };
  };
  {
    const CImportSpy<&SetWindowPos> place("user32.dll", "SetWindowPos", note("centre"));
    const CImportSpy<&SetDlgItemTextW> text("user32.dll", "SetDlgItemTextW", note("status"));
    const CImportSpy<&EnableWindow> enable("user32.dll", "EnableWindow", note("buttons"));
    const CSetTimer timer("user32.dll", "SetTimer", note("timer"));
    const CImportSpy<&MoveWindow> move("user32.dll", "MoveWindow", note("button row"));
    const CImportSpy<&SendDlgItemMessageW> send("user32.dll", "SendDlgItemMessageW", note("range"));
    EXPECT_EQ(Run([](HWND window) { Click(window, IDCANCEL); }), 2);
  }
  EXPECT_EQ(steps, (std::vector<std::string>{"centre", "status", "buttons", "timer", "button row",
                                             "range"}));
}

TEST_F(ZipProgressDialog, CommandEndsItAndKeepsTheArchive) {
  m_sandbox.Write(L"download.zip", "old");
  EXPECT_EQ(Run([](HWND window) {
              // Other notifications and controls are not handled.
              for (const WPARAM other : {0x50001, 0x50002, kTitle, kSubtitle, kBar, 99}) {
                SendMessageW(window, WM_COMMAND, other, 0);
              }
              EXPECT_TRUE(IsWindowVisible(window));
              Close(window);
            }),
            2);
  CZipProgressDialog other(L"", ZipPath().c_str(), L"");
  EXPECT_EQ(RunDialog(other, [](HWND window) { PostMessageW(window, WM_COMMAND, IDOK, 0); }), 1);
  EXPECT_EQ(ReadFileBytes(ZipPath()), "old");
}

TEST_F(ZipProgressDialog, QuestionBehindTheAddedCollectionsWaitsForTheAnswer) {
  for (const int answer : {IDOK, IDCANCEL}) {
    m_sandbox.Write(L"download.zip", "archive");
    CZipProgressDialog dialog(L"", ZipPath().c_str(), ContentFolder().c_str());
    CZipProgressDialogPeer peer{dialog};
    // At the end of its initialisation it goes on where a manifest stage that succeeds would.
    const CImportSpy<&SendDlgItemMessageW> send(
        "user32.dll", "SendDlgItemMessageW", [&](HWND window, int id, UINT message, auto... w) {
          const LRESULT result = send.CallOriginal(window, id, message, w...);
          if (message == PBM_SETRANGE32) {
            peer.Begin();
            peer.FinishPipeline(TiXmlDocument());
            EXPECT_STREQ(peer.ShortageText(), kCannotAdd);
          }
          return result;
        });
    const INT_PTR result = RunDialog(dialog, [&](HWND window) {
      EXPECT_EQ(ChildText(window, kTitle), L"Completed Folivo Collections download.");
      EXPECT_EQ(ChildText(window, kSubtitle),
                L"Would you like to view the downloaded collections?");
      EXPECT_EQ(ChildText(window, IDOK), L"Yes");
      EXPECT_EQ(ChildText(window, IDCANCEL), L"No");
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, IDOK)));
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(window, IDCANCEL)));
      EXPECT_EQ(SendDlgItemMessageW(window, kBar, PBM_GETPOS, 0, 0), 100);
      EXPECT_EQ(SendMessageW(window, WM_TIMER, 0, 0), 0);  // A late tick does not begin again.
      EXPECT_TRUE(IsWindowVisible(window));
      Click(window, answer);
    });
    EXPECT_EQ(result, answer);
    EXPECT_EQ(ReadFileBytes(ZipPath()), "archive");
  }
}

// WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT; the controls are
// visible children: the default push button, another, two texts, and a bar with a border.
TEST(ZipProgressDialogTemplate, HasItsStyleFontAndControls) {
  EXPECT_EQ(DescribeDialogTemplate(211),
            L"80c800c0/0 0 0 252 90 menu '' class '' title 'MERLO Folivo Collection Download' "
            L"font 'MS Shell Dlg' 8\n"
            L"50010001/0 140 69 50 14 id 1 button 'OK'\n"
            L"50010000/0 195 69 50 14 id 2 button 'Cancel'\n"
            L"50020000/0 7 10 238 8 id 210 static 'Title'\n"
            L"50020000/0 7 22 238 8 id 211 static 'Subtitle'\n"
            L"50800000/0 7 38 238 14 id 212 msctls_progress32 ''\n");
}

// How the dialog ends: with a message, by a command, out of memory, or without its window.

using ZipProgressDialogEnd = CollectionFixture;

TEST_F(ZipProgressDialogEnd, ErrorIsAStopMessageOverTheDialogWhichItEndsOnce) {
  COpenDialog dialog = Open();
  dialog->SetFile(INVALID_HANDLE_VALUE);
  const CWinInetRecorder winInet;
  const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle");
  CDialogTrace trace;
  CMessageRecorder messages;
  dialog->ShowError(L"100%s");
  dialog->EndWithResult(2);
  EXPECT_EQ(trace.Take(), Lines{End(3)});
  const auto shown = messages.Take();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].owner, dialog.Window());
  EXPECT_EQ(shown[0].text, L"100%s");
  EXPECT_EQ(shown[0].caption, L"MERLO Folivo");
  EXPECT_EQ(shown[0].style, UINT{MB_ICONHAND});
  EXPECT_THAT(close.Calls(), Not(Contains(std::tuple(INVALID_HANDLE_VALUE))));
  EXPECT_TRUE(winInet.closings.Calls().empty()) << "there is nothing to close";
}

TEST_F(ZipProgressDialogEnd, EndClosesFileRequestSessionThenDeletes) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  const CWinInetRecorder winInet;
  COpenDialog dialog = Open(TrustedUrl(path));
  CDialogTrace trace;
  ASSERT_TRUE(dialog->DownloadArchive());
  const HINTERNET session = dialog->Session();
  const HINTERNET request = dialog->Request();
  const HANDLE file = dialog->File();
  trace.Take();
  {
    const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle", [&](HANDLE handle) {
      EXPECT_TRUE(handle != file || winInet.closings.Calls().empty()) << "the file is closed first";
      return close.CallOriginal(handle);
    });
    dialog->EndWithResult(3);
    EXPECT_THAT(close.Calls(), Contains(std::tuple(file)).Times(1));
  }
  EXPECT_THAT(winInet.closings.Calls(), ElementsAre(FieldsAre(request), FieldsAre(session)));
  EXPECT_EQ(trace.Take(), (Lines{Delete(L"download.zip"), End(3)}));
  EXPECT_FALSE(ArchiveExists());
  // The members keep their values.
  EXPECT_EQ(dialog->Session(), session);
  EXPECT_EQ(dialog->Request(), request);
  EXPECT_EQ(dialog->File(), file);
}

TEST_F(ZipProgressDialogEnd, DestructorClosesTheHandlesOfADestroyedWindow) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  const CWinInetRecorder winInet;
  const CDialogTrace trace;
  {
    COpenDialog dialog = Open(TrustedUrl(path));
    ASSERT_TRUE(dialog->DownloadArchive());
  }
  EXPECT_EQ(winInet.closings.Calls().size(), 2u);
  EXPECT_NE(DeleteFileW(ZipPath().c_str()), FALSE) << "the archive is closed";
}

// The error dialog of the system is where a user can wait, and the browser's window go.
TEST_F(ZipProgressDialogEnd, WindowDestroyedUnderTheErrorDialogStopsItWithoutAMessage) {
  for (const DWORD answer : {DWORD{ERROR_SUCCESS}, DWORD{ERROR_INTERNET_FORCE_RETRY}}) {
    const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
    const CWinInetRecorder winInet;
    CDialogTrace trace;
    COpenDialog dialog = Open(TrustedUrl(path));
    const CImportSpy<&InternetErrorDlg> ask(
        "wininet.dll", "InternetErrorDlg", [&](HWND window, auto...) -> DWORD {
          DestroyWindow(window);
          dialog->SetWindow(window);  // genuine ATL clears it with the outermost message's end
          return ask.Calls().size() == 1 ? answer : ERROR_SUCCESS;
        });
    EXPECT_FALSE(dialog->DownloadArchive());
    EXPECT_TRUE(trace.Take(L"message").empty());
    EXPECT_EQ(winInet.openings.Calls().size(), 1u);
    EXPECT_TRUE(winInet.reads.Calls().empty()) << "nothing more is fetched";
    EXPECT_EQ(winInet.closings.Calls().size(), 2u);
    EXPECT_FALSE(ArchiveExists());
  }
}

TEST_F(ZipProgressDialogEnd, CommandsAndTicksDuringAStageAreIgnored) {
  CZipProgressDialog dialog((m_sandbox / L"missing").c_str(), ZipPath().c_str(), L"");
  // What comes while the system's message box serves messages.
  const CImportSpy<&MessageBoxW> message(
      "user32.dll", "MessageBoxW", [](HWND window, LPCWSTR, LPCWSTR, UINT) {
        EXPECT_EQ(SendMessageW(window, WM_COMMAND, MAKEWPARAM(IDCANCEL, 0), 0), 0);
        EXPECT_EQ(SendMessageW(window, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0), 0);
        EXPECT_EQ(SendMessageW(window, WM_TIMER, 0, 0), 0);
        EXPECT_TRUE(IsWindowVisible(window)) << "it has not been ended";
        return IDOK;
      });
  EXPECT_EQ(dialog.DoModal(nullptr), 3);
  EXPECT_EQ(message.Calls().size(), 1u);
}

TEST_F(ZipProgressDialogEnd, OutOfMemoryIsOneMessageOfTheStage) {
  const auto expectMessage = [this](const wchar_t* message) {
    m_sandbox.Write(L"download.zip", "old");
    const std::wstring source = m_sandbox.Write(L"source.zip", "PK");
    CZipProgressDialog dialog(source.c_str(), ZipPath().c_str(), L"");
    CDialogTrace trace;
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    EXPECT_EQ(trace.Take(L"message"), Lines{message});
  };
  const auto fail = [](auto...) -> BOOL { throw std::bad_alloc(); };
  {
    const CImportSpy<&SearchPathW> search("kernel32.dll", "SearchPathW", fail);
    expectMessage(kCannotUnzip);
    EXPECT_FALSE(ArchiveExists());
  }
  // The deletion of the archive calls it too, so the archive stays.
  const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW", fail);
  expectMessage(kUnavailable);
}

}  // namespace
