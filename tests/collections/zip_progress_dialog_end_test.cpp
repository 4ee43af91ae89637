// How the dialog ends: with a message, by a command, for want of memory, or without its window.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <new>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "collections/zip_progress_dialog.h"
#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

using Lines = CDialogTrace::Lines;

/// A dialog whose source is missing.
class ZipProgressDialogEnd : public CollectionTest {
 protected:
  ZipProgressDialogEnd()
      : m_dialog((m_sandbox / L"source.zip").c_str(), ZipPath().c_str(), ContentFolder().c_str()) {}

  CZipProgressDialog m_dialog;
  CZipProgressDialogPeer m_peer{m_dialog};
};

TEST_F(ZipProgressDialogEnd, ErrorIsAStopMessageOverTheDialog) {
  COpenDialog dialog(L"", ZipPath(), ContentFolder());
  CMessageRecorder messages;
  dialog->ShowError(L"100%s");
  const auto shown = messages.Take();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].owner, dialog.Window());
  EXPECT_EQ(shown[0].text, L"100%s");
  EXPECT_EQ(shown[0].caption, L"MERLO Folivo");
  EXPECT_EQ(shown[0].style, UINT{MB_ICONHAND});
}

TEST_F(ZipProgressDialogEnd, ErrorIsSeenAndDismissed) {
  std::wstring text;
  CParallel user([&] {
    const HWND box = WaitForDialog(L"MERLO Folivo");
    EXPECT_EQ(TextOf(GetWindow(box, GW_OWNER)), kDialogTitle);
    text = DismissMessage();
  });
  EXPECT_EQ(m_dialog.DoModal(nullptr), 3);
  user.Join();
  EXPECT_EQ(text, kMissing);
}

TEST_F(ZipProgressDialogEnd, EndActsOnce) {
  m_sandbox.Write(L"download.zip", "old");
  COpenDialog dialog(L"", ZipPath(), ContentFolder());
  CDialogTrace trace;
  dialog->EndWithResult(2);
  dialog->EndWithResult(3);
  dialog->EndWithResult(1);
  EXPECT_EQ(trace.Take(), Lines{End(2)});
  EXPECT_TRUE(ArchiveExists());
}

TEST_F(ZipProgressDialogEnd, EndClosesFileRequestSessionThenDeletes) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  CWinInetRecorder winInet;
  COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
  CDialogTrace trace;
  ASSERT_TRUE(dialog->DownloadArchive());
  const HINTERNET session = dialog->Session();
  const HINTERNET request = dialog->Request();
  const HANDLE file = dialog->File();
  trace.Take();
  {
    const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle", [&](HANDLE handle) {
      EXPECT_TRUE(handle != file || winInet.closed.empty()) << "the file goes first";
      return close.CallOriginal(handle);
    });
    dialog->EndWithResult(3);
    EXPECT_THAT(close.Calls(), testing::Contains(std::tuple(file)).Times(1));
  }
  EXPECT_EQ(winInet.closed, (std::vector{request, session}));
  EXPECT_EQ(trace.Take(), (Lines{Delete(L"download.zip"), End(3)}));
  EXPECT_FALSE(ArchiveExists()) << "as the file was closed before";
  // The members keep their values.
  EXPECT_EQ(dialog->Session(), session);
  EXPECT_EQ(dialog->Request(), request);
  EXPECT_EQ(dialog->File(), file);
}

TEST_F(ZipProgressDialogEnd, EndWithoutHandlesClosesNone) {
  CWinInetRecorder winInet;
  COpenDialog dialog(L"", ZipPath(), ContentFolder());
  dialog->SetFile(INVALID_HANDLE_VALUE);
  const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle");
  dialog->EndWithResult(2);
  EXPECT_THAT(close.Calls(), testing::Each(testing::Ne(std::tuple(INVALID_HANDLE_VALUE))));
  EXPECT_TRUE(winInet.closed.empty());
}

TEST_F(ZipProgressDialogEnd, WithoutAWindowNothingHappens) {
  m_sandbox.Write(L"download.zip", "old");
  const CImportPatch patch(
      "user32.dll", "DialogBoxParamW",
      +[](HINSTANCE, LPCWSTR, HWND, DLGPROC, LPARAM) -> INT_PTR { return -1; });
  CMessageRecorder messages;
  EXPECT_EQ(m_dialog.DoModal(nullptr), -1);
  EXPECT_TRUE(messages.Take().empty());
  EXPECT_TRUE(ArchiveExists());
  m_peer.EndWithResult(2);  // There is nothing to end, and that does no harm.
}

TEST_F(ZipProgressDialogEnd, OneWhoseWindowIsDestroyedClosesItsHandles) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
  CWinInetRecorder winInet;
  const CDialogTrace trace;
  {
    COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
    ASSERT_TRUE(dialog->DownloadArchive());
  }
  EXPECT_EQ(winInet.closed.size(), 2u);
  EXPECT_NE(DeleteFileW(ZipPath().c_str()), FALSE) << "the archive is closed";
}

CZipProgressDialogPeer* g_peer;

/// Destroys the window as its owner's end does. The member keeps the handle: genuine ATL clears it
/// only once the outermost message has returned.
void DestroyOwner(HWND owner) {
  DestroyWindow(owner);
  g_peer->SetWindow(owner);
}

TEST_F(ZipProgressDialogEnd, WindowMayBeDestroyedUnderTheMessage) {
  CDialogTrace trace;
  const CImportPatch patch(
      "user32.dll", "MessageBoxW", +[](HWND owner, LPCWSTR, LPCWSTR, UINT) -> int {
        DestroyOwner(owner);
        return IDOK;
      });
  m_sandbox.Write(L"download.zip", "old");
  COpenDialog dialog(L"", ZipPath(), ContentFolder());
  g_peer = dialog.operator->();
  trace.Take();
  dialog->ShowError(L"x");
  EXPECT_EQ(trace.Take(), Lines{Delete(L"download.zip")}) << "there is no dialog to end";
  EXPECT_FALSE(ArchiveExists());
}

DWORD g_answer;

// The error dialog of the system is where a user can wait, and the browser's window go.
TEST_F(ZipProgressDialogEnd, DestroyedUnderTheErrorDialogItStopsWithoutAMessage) {
  for (const DWORD answer :
       std::initializer_list<DWORD>{ERROR_SUCCESS, ERROR_INTERNET_FORCE_RETRY, ERROR_CANCELLED}) {
    const ScriptedPath path(m_server, HttpAnswer().Bytes("PK"));
    const CWinInetRecorder winInet;
    const CImportPatch patch(
        "wininet.dll", "InternetErrorDlg",
        +[](HWND owner, HINTERNET, DWORD, DWORD, LPVOID*) -> DWORD {
          DestroyOwner(owner);
          return std::exchange(g_answer, DWORD{ERROR_SUCCESS});
        });
    g_answer = answer;
    CDialogTrace trace;
    COpenDialog dialog(TrustedUrl(path), ZipPath(), ContentFolder());
    g_peer = dialog.operator->();
    trace.Take();
    EXPECT_FALSE(dialog->DownloadArchive());
    EXPECT_TRUE(trace.Take(L"message").empty());
    EXPECT_EQ(winInet.openings.size(), 1u);
    EXPECT_TRUE(winInet.readSizes.empty()) << "nothing more is fetched";
    EXPECT_EQ(winInet.closed.size(), 2u);
    EXPECT_FALSE(ArchiveExists());
  }
}

int g_messages;

/// What comes while the system's message box serves messages.
int WINAPI DisturbDialog(HWND dialog, LPCWSTR, LPCWSTR, UINT) {
  if (++g_messages == 1) {
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, 0), 0);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDOK, 0), 0);
    SendMessageW(dialog, WM_TIMER, 0, 0);
    EXPECT_TRUE(IsWindowVisible(dialog)) << "it has not been ended";
  }
  return IDOK;
}

TEST_F(ZipProgressDialogEnd, CommandsAndTicksDuringAStageAreIgnored) {
  const CImportPatch patch("user32.dll", "MessageBoxW", &DisturbDialog);
  m_sandbox.Write(L"download.zip", "old");
  g_messages = 0;
  EXPECT_EQ(m_dialog.DoModal(nullptr), 3);
  EXPECT_EQ(g_messages, 1);
  EXPECT_FALSE(ArchiveExists());
}

class ZipProgressDialogShortage : public ZipProgressDialogEnd {
 protected:
  /// Runs the dialog without memory at one place: it ends as with any failure, behind this message.
  template <typename Function>
  void Run(const char* library, const char* function, Function* replacement,
           const std::wstring& message) {
    m_sandbox.Write(L"download.zip", "old");
    m_sandbox.Write(L"source.zip", "PK");
    CZipProgressDialog dialog((m_sandbox / L"source.zip").c_str(), ZipPath().c_str(),
                              ContentFolder().c_str());
    CDialogTrace trace;
    const CImportPatch patch(library, function, replacement);
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    const Lines lines = trace.Take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), Message(message)), 1) << function;
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](const std::wstring& line) { return line.starts_with(L"message"); }),
              1);
    EXPECT_EQ(lines.back(), End(3));
  }
};

TEST_F(ZipProgressDialogShortage, IsOneMessageOfTheStage) {
  Run("kernel32.dll", "Sleep", +[](DWORD) { throw std::bad_alloc(); }, kUnavailable);
  EXPECT_FALSE(ArchiveExists());
  // The archive is looked for in the same way, so that it cannot be deleted.
  Run(
      "shlwapi.dll", "PathFileExistsW", +[](LPCWSTR) -> BOOL { throw std::bad_alloc(); },
      kUnavailable);
  Run(
      "kernel32.dll", "SearchPathW",
      +[](LPCWSTR, LPCWSTR, LPCWSTR, DWORD, LPWSTR, LPWSTR*) -> DWORD { throw std::bad_alloc(); },
      kCannotUnzip);
  EXPECT_FALSE(ArchiveExists());
}

}  // namespace
