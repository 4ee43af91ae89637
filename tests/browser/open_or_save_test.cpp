// The steps after the user's choice. The download dialog and the save dialog answer at once here,
// and nothing is run; they are shown in open_or_save_tests.

#include "browser/open_or_save.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "download/temp_files.h"
#include "tests/browser/common_dialog.h"
#include "tests/browser/install_information.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/browser/prompt_answer.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/download/progress_dialog_peer.h"
#include "tests/support/dialog_result.h"
#include "tests/support/dialogs.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"
#include "tests/support/temp_sandbox.h"

namespace {

const HWND kOwner = GetDesktopWindow();
const HANDLE kState = GetCurrentThread();  // any value: only handed on

TEST(AskOpenOrSave, AnswersAreTheButtons) {
  for (const int answer : {6, 7, 2, 3, 0}) {
    const CPromptAnswer prompt(answer);
    EXPECT_EQ(AskOpenOrSave(kOwner), answer);
    EXPECT_EQ(prompt.Owner(), kOwner);
  }
  EXPECT_EQ(kAnswerOpen, 6);
  EXPECT_EQ(kAnswerSave, 7);
}

class OpenOrSaveSteps : public testing::Test {
 protected:
  OpenOrSaveSteps() { SetTempBaseFolder(m_sandbox.Path().c_str()); }
  ~OpenOrSaveSteps() override { SetTempBaseFolder(CStringW()); }

  /// What was opened; empty when nothing was.
  std::wstring Opened() const {
    EXPECT_LE(m_launches.Launches().size(), 1u);
    return m_launches.Launches().empty() ? std::wstring() : m_launches.Launches()[0].file;
  }

  const CTempSandbox m_sandbox;
  CMessageRecorder m_messages;
  const CLaunchRecorder m_launches;
  const CInstallInformation m_information;  // none: files are opened by their association
  const CIeFrameDouble m_browser;
};

/// Records the last cursor that the program sets.
class CCursorRecorder {
 public:
  bool IsWaiting() const { return m_cursor == LoadCursorW(nullptr, IDC_WAIT); }

 private:
  HCURSOR m_cursor = nullptr;
  const CImportSpy<&SetCursor> m_spy{"user32.dll", "SetCursor", [this](HCURSOR cursor) {
                                       return std::exchange(m_cursor, cursor);
                                     }};
};

class DownloadSteps : public OpenOrSaveSteps {
 protected:
  /// Runs a download of `url`, whose dialog ends with `result`.
  void Run(bool save, const std::wstring& url, INT_PTR result = kDownloadDelivered) {
    const CCursorRecorder cursor;
    const CProgressDialog::Ptr dialog = CProgressDialog::Create(
        url.c_str(), CFilePath((m_sandbox / L"iedownload.qdk").c_str()), nullptr);
    const CDialogResult run(result);
    run.WhileRunning([&] {
      const CProgressDialogPeer peer{*dialog};
      m_destination = peer.DestPath().GetString();
      m_shownName = peer.FileName().GetString();
      m_saveState = peer.SaveState();
      m_cancelsBefore = m_browser->cancelCalls;
      EXPECT_TRUE(cursor.IsWaiting());
    });
    OpenOrSave(kOwner, dialog, save, url.c_str(), L".qdk");
    m_runs = run.Count();
    m_template = run.Template();
    m_parent = run.Parent();
  }

  int m_runs = 0;
  UINT m_template = 0;
  HWND m_parent = nullptr;
  std::wstring m_destination;
  std::wstring m_shownName;
  HANDLE m_saveState = nullptr;
  int m_cancelsBefore = -1;
};

TEST_F(DownloadSteps, SaveGoesToTheChosenPath) {
  const CCommonDialog dialog(L"C:/x/My name");
  Run(true, L"http://localhost/files/a%20b.qdk");
  EXPECT_EQ(dialog.GivenName(), L"a b.qdk");
  EXPECT_EQ(dialog.Given().hwndOwner, kOwner);
  EXPECT_EQ(m_runs, 1);
  EXPECT_EQ(m_template, 206u);
  EXPECT_EQ(m_destination, L"C:\\x\\My name.qdk");
  EXPECT_EQ(m_shownName, L"My name.qdk");
  EXPECT_EQ(m_saveState, nullptr);
  EXPECT_EQ(Opened(), L"");
}

TEST_F(DownloadSteps, ActiveWindowIsTheDialogsParent) {
  const CImportSpy<&GetActiveWindow> active("user32.dll", "GetActiveWindow",
                                            [] { return GetDesktopWindow(); });
  Run(false, L"http://localhost/a.qdk");
  EXPECT_EQ(m_parent, GetDesktopWindow());
}

TEST_F(DownloadSteps, SaveDialogThatIsCancelledOrMissingRunsNothing) {
  {
    const CCommonDialog dialog(L"");
    Run(true, L"http://localhost/a.qdk");
    EXPECT_EQ(dialog.Calls(), 1);
    EXPECT_EQ(m_runs, 0);
  }
  const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW",
                                       [](LPCWSTR) -> HMODULE { return nullptr; });
  Run(true, L"http://localhost/a.qdk");
  EXPECT_EQ(m_runs, 0);
  EXPECT_EQ(Opened(), L"");
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(DownloadSteps, OnlyADeliveredDownloadIsOpened) {
  for (const int result : {2, 3, 0, -1}) {
    Run(false, L"http://localhost/a.qdk", result);
    EXPECT_EQ(m_runs, 1);
    EXPECT_EQ(Opened(), L"") << result;
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(DownloadSteps, OpenGoesToATemporaryFileOfTheDownloadsName) {
  m_sandbox.Write(L"taken.qdk", "another");
  const std::wstring generated = L"FVK-" + std::to_wstring(GetCurrentProcessId()) + L"-";
  const CCommonDialog dialog(L"C:\\not asked.qdk");
  for (const auto& [url, beginning] :
       {std::pair<const wchar_t*, std::wstring>{L"files/a%20b.qdk", L"a b.qdk"},
        {L"a.qdk?name=other.exe", L"other.qdk"},
        {L"taken.qdk", L"taken("},
        {L"a.qdk?x=", generated},
        {L"a.qdk?x=.hidden", generated}}) {
    const CLaunchRecorder launches;
    Run(false, std::wstring(L"http://localhost/") + url);
    EXPECT_TRUE(m_shownName.starts_with(beginning)) << m_shownName;
    EXPECT_TRUE(m_shownName.ends_with(L".qdk")) << m_shownName;
    EXPECT_EQ(m_destination, m_sandbox / m_shownName);
    ASSERT_EQ(launches.Launches().size(), 1u);
    EXPECT_EQ(launches.Launches()[0].file, m_destination);
  }
  EXPECT_EQ(dialog.Calls(), 0);
}

TEST_F(DownloadSteps, LongNameIsShortenedUntilThePathFitsAndUnique) {
  const std::wstring name(251, L'n');
  Run(false, L"http://localhost/" + name + L".qdk");
  EXPECT_EQ(m_destination.size(), 256u);  // 260 - 5, the backslash before the name not counted
  EXPECT_EQ(m_shownName.substr(0, 50), name.substr(0, 50));
  EXPECT_EQ(Opened(), m_destination);
  m_sandbox.Write(m_shownName, "taken");
  const std::wstring first = m_destination;
  const CLaunchRecorder launches;
  Run(false, L"http://localhost/" + name + L".qdk");
  EXPECT_NE(m_destination, first);
  EXPECT_EQ(m_shownName.find(L'('), m_shownName.rfind(L'n') + 1);
}

TEST_F(DownloadSteps, NameThatDoesNotDecodeIsReplacedAndTheDownloadGoesOn) {
  Run(false, L"http://localhost/" + std::wstring(300, L'n') + L".qdk");
  EXPECT_EQ(m_messages.TakeTexts().size(), 1u);
  EXPECT_EQ(m_shownName, L"downloadedfile.qdk");
  const CCommonDialog dialog(L"");
  Run(true, L"http://localhost/" + std::wstring(300, L'n') + L".qdk");
  EXPECT_EQ(m_messages.TakeTexts().size(), 1u);
  EXPECT_EQ(dialog.GivenName(), L"downloadedfile.qdk");
}

TEST_F(DownloadSteps, ProtectedSaveHandsItsStateToTheDownload) {
  const CCommonDialog dialog(L"C:\\not asked.qdk");
  m_browser->isProtectedMode = TRUE;
  m_browser->saveDialogState = kState;
  wcscpy(m_browser->saveDialogPath, L"C:\\Users\\chosen.qdk");
  Run(true, L"http://localhost/a.qdk");
  EXPECT_EQ(dialog.Calls(), 0);
  EXPECT_EQ(std::wstring(m_browser->saveDialogFileName), L"a.qdk");
  EXPECT_EQ(m_saveState, kState);
  EXPECT_EQ(m_destination, L"C:\\Users\\chosen.qdk");
  EXPECT_EQ(m_cancelsBefore, 0);
  EXPECT_EQ(m_browser->saveCalls, 0);  // the download's business
}

TEST_F(DownloadSteps, AddressOfALocalFileIsDownloadedAndNotCopied) {
  const std::wstring file = m_sandbox.Write(L"a.qdk", kOldLessonHead);
  const CCommonDialog dialog(m_sandbox / L"target.qdk");
  Run(true, L"file:///" + file);
  EXPECT_EQ(m_runs, 1);
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"a.qdk"});
}

TEST_F(DownloadSteps, ProtectedSaveThatIsCancelledRunsNothing) {
  m_browser->isProtectedMode = TRUE;
  m_browser->saveDialogResult = S_FALSE;
  Run(true, L"http://localhost/a.qdk");
  EXPECT_EQ(m_runs, 0);
  EXPECT_EQ(m_browser->cancelCalls, 1);
  Run(false, L"http://localhost/a.qdk");  // to open asks nothing, and has no save state
  EXPECT_EQ(m_runs, 1);
  EXPECT_EQ(m_browser->saveDialogCalls, 1);
  EXPECT_EQ(m_saveState, nullptr);
  EXPECT_EQ(Opened(), m_sandbox / L"a.qdk");
}

TEST_F(DownloadSteps, ProtectedModeThatCannotBeAskedAboutCountsAsNone) {
  m_browser->isProtectedMode = TRUE;
  {
    const CCommonDialog dialog(L"");
    m_browser->protectedModeResult = E_FAIL;
    Run(true, L"http://localhost/a.qdk");
    EXPECT_EQ(m_browser->protectedModeCalls, 1);
    EXPECT_EQ(dialog.Calls(), 1);
    m_browser->protectedModeResult = S_OK;
  }
  {
    const CCommonDialog dialog(L"");
    const CImportPatch patch(
        "kernel32.dll", "LoadLibraryW", +[](LPCWSTR name) -> HMODULE {
          return _wcsicmp(name, L"ieframe.dll") == 0 ? nullptr : LoadLibraryExW(name, nullptr, 0);
        });
    Run(true, L"http://localhost/a.qdk");
    EXPECT_EQ(dialog.Calls(), 1);
  }
  {
    const CCommonDialog dialog(L"");
    // The save dialog is looked up too.
    const CImportSpy<&GetProcAddress> lookup(
        "kernel32.dll", "GetProcAddress", [&](HMODULE library, LPCSTR name) -> FARPROC {
          return std::strncmp(name, "IE", 2) == 0 ? nullptr : lookup.CallOriginal(library, name);
        });
    Run(true, L"http://localhost/a.qdk");
    EXPECT_EQ(dialog.Calls(), 1);
  }
}

TEST_F(DownloadSteps, UrlWithoutADownloadDoesNothing) {
  const CDialogResult run(kDownloadDelivered);
  OpenOrSave(kOwner, nullptr, false, L"http://localhost/a.qdk", L".qdk");
  EXPECT_EQ(run.Count(), 0);
  EXPECT_EQ(Opened(), L"");
}

class LocalFileSteps : public OpenOrSaveSteps {
 protected:
  void Run(bool save, const std::wstring& path) const {
    OpenOrSave(kOwner, nullptr, save, path.c_str(), L".qdk");
  }
  const std::wstring m_file = m_sandbox.Write(L"My Lessons\\a b.qdk", kOldLessonHead);
};

TEST_F(LocalFileSteps, OpenRunsTheFileItself) {
  std::wstring slashes = m_file;
  std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
  Run(false, slashes);
  EXPECT_EQ(Opened(), m_file);
  EXPECT_EQ(m_sandbox.Files().size(), 1u);
}

TEST_F(LocalFileSteps, CursorTellsToWaitBeforeTheCopy) {
  const CCursorRecorder cursor;
  const CImportSpy<&CopyFileW> copy("kernel32.dll", "CopyFileW", [&](LPCWSTR, LPCWSTR, BOOL) {
    EXPECT_TRUE(cursor.IsWaiting());
    return TRUE;
  });
  const CCommonDialog dialog(m_sandbox / L"target.qdk");
  Run(true, m_file);
  EXPECT_EQ(copy.Calls().size(), 1u);
}

TEST_F(LocalFileSteps, SaveCopiesOverAnExistingFile) {
  const std::wstring target = m_sandbox.Write(L"target.qdk", "old, and longer than the new one");
  const CCommonDialog dialog(target);
  Run(true, m_file);
  EXPECT_EQ(dialog.GivenName(), L"a b.qdk");
  EXPECT_EQ(ReadFileBytes(target), kOldLessonHead);
  EXPECT_EQ(ReadFileBytes(m_file), kOldLessonHead);
  EXPECT_EQ(Opened(), L"");
}

TEST_F(LocalFileSteps, FailedCopyIsNotReported) {
  for (const std::wstring& choice : {m_sandbox / L"no such folder\\target.qdk", std::wstring()}) {
    const CCommonDialog dialog(choice);
    Run(true, m_file);
  }
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_EQ(m_sandbox.Files().size(), 1u);
}

class ProtectedLocalFileSteps : public LocalFileSteps {
 protected:
  ProtectedLocalFileSteps() {
    m_browser->isProtectedMode = TRUE;
    m_browser->saveDialogState = kState;
    wcscpy(m_browser->saveDialogPath, m_target.c_str());
  }
  void ExpectCancelledOnce() const {
    EXPECT_EQ(m_browser->saveCalls, 0);
    EXPECT_EQ(m_browser->cancelCalls, 1);
    EXPECT_EQ(m_browser->cancelledState, kState);
  }
  const std::wstring m_target = m_sandbox / L"target.qdk";
};

TEST_F(ProtectedLocalFileSteps, SaveIsACopyAndTheBrowsersIsCancelled) {
  Run(true, m_file);
  EXPECT_EQ(ReadFileBytes(m_target), kOldLessonHead);
  ExpectCancelledOnce();
}

TEST_F(ProtectedLocalFileSteps, FileThatHasGoneCancelsTheSave) {
  std::filesystem::remove(m_file);
  Run(true, m_file);
  EXPECT_EQ(m_messages.TakeTexts().size(), 1u);
  ExpectCancelledOnce();
}

TEST_F(ProtectedLocalFileSteps, UrlWithoutADownloadCancelsTheSave) {
  Run(true, L"http://localhost/a.qdk");
  ExpectCancelledOnce();
}

TEST_F(ProtectedLocalFileSteps, ExceptionBeforeTheDownloadCancelsTheSave) {
  const CImportPatch patch(
      "user32.dll", "SetCursor", +[](HCURSOR) -> HCURSOR { AtlThrow(E_OUTOFMEMORY); });
  EXPECT_THROW(Run(true, m_file), CAtlException);
  ExpectCancelledOnce();
  EXPECT_FALSE(std::filesystem::exists(m_target));
}

TEST_F(LocalFileSteps, FileThatHasGoneIsReportedAndNothingElseHappens) {
  std::filesystem::remove(m_file);
  const CCommonDialog dialog(m_sandbox / L"target.qdk");
  for (const bool save : {false, true}) {
    Run(save, m_file);
    const auto shown = m_messages.Take();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].text, L"The file " + m_file +
                                 L" does not exist. Please verify that the path to the file is "
                                 L"valid.");
    EXPECT_EQ(shown[0].caption, kMessageTitle);
    EXPECT_EQ(shown[0].style, static_cast<UINT>(MB_OK));
    EXPECT_EQ(shown[0].owner, kOwner);
  }
  EXPECT_EQ(Opened(), L"");
  EXPECT_TRUE(m_sandbox.Files().empty());
}

}  // namespace
