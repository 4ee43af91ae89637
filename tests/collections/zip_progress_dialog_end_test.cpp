// How the dialog ends: with a message, by a command, for want of memory, or without its window.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <shlwapi.h>

#include <new>
#include <string>
#include <tuple>
#include <vector>

#include "collections/zip_progress_dialog.h"
#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/import_spy.h"
#include "tests/support/message_recorder.h"

namespace {

using testing::Contains;
using Lines = CDialogTrace::Lines;

using ZipProgressDialogEnd = CollectionTest;

/// Destroys the window as its owner's end does. The member keeps the handle: genuine ATL clears it
/// only once the outermost message has returned.
void DestroyOwner(COpenDialog& dialog, HWND window) {
  DestroyWindow(window);
  dialog->SetWindow(window);
}

TEST_F(ZipProgressDialogEnd, ErrorIsAStopMessageOverTheDialogWhichItEndsOnce) {
  COpenDialog dialog = Open();
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
}

TEST_F(ZipProgressDialogEnd, EndClosesFileRequestSessionThenDeletes) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  CWinInetRecorder winInet;
  COpenDialog dialog = Open(TrustedUrl(path));
  CDialogTrace trace;
  ASSERT_TRUE(dialog->DownloadArchive());
  const HINTERNET session = dialog->Session();
  const HINTERNET request = dialog->Request();
  const HANDLE file = dialog->File();
  trace.Take();
  {
    const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle", [&](HANDLE handle) {
      EXPECT_TRUE(handle != file || winInet.closed.empty()) << "the file is closed first";
      return close.CallOriginal(handle);
    });
    dialog->EndWithResult(3);
    EXPECT_THAT(close.Calls(), Contains(std::tuple(file)).Times(1));
  }
  EXPECT_EQ(winInet.closed, (std::vector{request, session}));
  EXPECT_EQ(trace.Take(), (Lines{Delete(L"download.zip"), End(3)}));
  EXPECT_FALSE(ArchiveExists());
  // The members keep their values.
  EXPECT_EQ(dialog->Session(), session);
  EXPECT_EQ(dialog->Request(), request);
  EXPECT_EQ(dialog->File(), file);
}

TEST_F(ZipProgressDialogEnd, EndWithoutHandlesClosesNone) {
  const CWinInetRecorder winInet;
  COpenDialog dialog = Open();
  dialog->SetFile(INVALID_HANDLE_VALUE);
  const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle");
  dialog->EndWithResult(2);
  EXPECT_THAT(close.Calls(), testing::Not(Contains(std::tuple(INVALID_HANDLE_VALUE))));
  EXPECT_TRUE(winInet.closed.empty());
}

TEST_F(ZipProgressDialogEnd, DestructorClosesTheHandlesOfADestroyedWindow) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  const CWinInetRecorder winInet;
  const CDialogTrace trace;
  {
    COpenDialog dialog = Open(TrustedUrl(path));
    ASSERT_TRUE(dialog->DownloadArchive());
  }
  EXPECT_EQ(winInet.closed.size(), 2u);
  EXPECT_NE(DeleteFileW(ZipPath().c_str()), FALSE) << "the archive is closed";
}

TEST_F(ZipProgressDialogEnd, WindowDestroyedUnderTheMessageIsNotEnded) {
  CDialogTrace trace;
  m_sandbox.Write(L"download.zip", "old");
  COpenDialog dialog = Open();
  const CImportSpy<&MessageBoxW> message("user32.dll", "MessageBoxW",
                                         [&](HWND owner, LPCWSTR, LPCWSTR, UINT) {
                                           DestroyOwner(dialog, owner);
                                           return IDOK;
                                         });
  trace.Take();
  dialog->ShowError(L"x");
  EXPECT_EQ(trace.Take(), Lines{Delete(L"download.zip")}) << "there is no dialog to end";
}

// The error dialog of the system is where a user can wait, and the browser's window go.
TEST_F(ZipProgressDialogEnd, WindowDestroyedUnderTheErrorDialogStopsItWithoutAMessage) {
  for (const DWORD answer : {DWORD{ERROR_SUCCESS}, DWORD{ERROR_INTERNET_FORCE_RETRY}}) {
    const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
    const CWinInetRecorder winInet;
    CDialogTrace trace;
    COpenDialog dialog = Open(TrustedUrl(path));
    const CImportSpy<&InternetErrorDlg> ask(
        "wininet.dll", "InternetErrorDlg",
        [&](HWND owner, HINTERNET, DWORD, DWORD, LPVOID*) -> DWORD {
          DestroyOwner(dialog, owner);
          return ask.Calls().size() == 1 ? answer : ERROR_SUCCESS;
        });
    EXPECT_FALSE(dialog->DownloadArchive());
    EXPECT_TRUE(trace.Take(L"message").empty());
    EXPECT_EQ(winInet.openings.size(), 1u);
    EXPECT_TRUE(winInet.readSizes.empty()) << "nothing more is fetched";
    EXPECT_EQ(winInet.closed.size(), 2u);
    EXPECT_FALSE(ArchiveExists());
  }
}

TEST_F(ZipProgressDialogEnd, CommandsAndTicksDuringAStageAreIgnored) {
  CZipProgressDialog dialog((m_sandbox / L"missing").c_str(), ZipPath().c_str(), L"");
  // What comes while the system's message box serves messages.
  const CImportSpy<&MessageBoxW> message(
      "user32.dll", "MessageBoxW", [](HWND window, LPCWSTR, LPCWSTR, UINT) {
        SendMessageW(window, WM_COMMAND, MAKEWPARAM(IDCANCEL, 0), 0);
        SendMessageW(window, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0);
        SendMessageW(window, WM_TIMER, 0, 0);
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
  // The archive is looked for in the same way, so that it cannot be deleted.
  const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW", fail);
  expectMessage(kUnavailable);
}

}  // namespace
