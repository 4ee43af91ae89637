// The question, and the steps after the user's choice. The download dialog and the save dialog
// answer at once here, and nothing is run; tests/e2e shows them.

#include "browser/open_or_save.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "download/temp_files.h"
#include "tests/browser/browser_frame.h"
#include "tests/browser/fake_save_dialog.h"
#include "tests/browser/install_information.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/download/progress_dialog_peer.h"
#include "tests/support/dialog_result.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

namespace {

const HWND kOwner = GetDesktopWindow();
const HANDLE kState = GetCurrentThread();  // any value: only handed on

TEST(OpenOrSaveQuestion, HasIconTextAndThreeButtonsAndDisablesTheBrowser) {
  const CBrowserFrame browser;
  const CParallel user([&] {
    const HWND question = WaitForDialog(kPromptTitle);
    std::vector<std::wstring> texts;
    for (HWND child = GetWindow(question, GW_CHILD); child != nullptr;
         child = GetWindow(child, GW_HWNDNEXT)) {
      texts.push_back(TextOf(child));
    }
    ASSERT_EQ(texts.size(), 5u) << "no check box";
    EXPECT_EQ(SendMessageW(GetWindow(question, GW_CHILD), STM_GETICON, 0, 0),
              reinterpret_cast<LRESULT>(LoadIconW(nullptr, MAKEINTRESOURCEW(32514))))
        << "a question mark";
    EXPECT_EQ(texts[1], L"Would you like to open or save this Folivo file?");
    EXPECT_EQ(ChildText(question, kOpenButton), L"Open");
    EXPECT_EQ(ChildText(question, kSaveButton), L"Save");
    EXPECT_EQ(ChildText(question, kCancelButton), L"Cancel");
    EXPECT_EQ(GetWindow(question, GW_OWNER), browser);
    EXPECT_FALSE(IsWindowEnabled(browser));
    Click(question, kSaveButton);
  });
  EXPECT_EQ(AskOpenOrSave(browser), kAnswerSave);
}

class OpenOrSave : public testing::Test {
 protected:
  OpenOrSave() {
    SetTempBaseFolder(m_sandbox.Path().c_str());
    m_browser->saveDialogState = kState;
  }
  ~OpenOrSave() override { SetTempBaseFolder(CStringW()); }

  /// What was opened; empty when nothing was.
  std::wstring Opened() const {
    return m_launches.Launches().empty() ? std::wstring() : m_launches.Launches().back().file;
  }
  bool IsWaiting() const { return m_cursor == LoadCursorW(nullptr, IDC_WAIT); }
  void Protect(const std::wstring& chosenPath) const {
    m_browser->isProtectedMode = TRUE;
    wcscpy(m_browser->saveDialogPath, chosenPath.c_str());
  }

  const CTempSandbox m_sandbox;
  CMessageRecorder m_messages;
  const CLaunchRecorder m_launches;
  const CInstallInformation m_information;  // none: files are opened by their association
  const CIeFrameDouble m_browser;

 private:
  HCURSOR m_cursor = nullptr;
  const CImportSpy<&SetCursor> m_setCursor{"user32.dll", "SetCursor", [this](HCURSOR cursor) {
                                             return std::exchange(m_cursor, cursor);
                                           }};
};

class OpenOrSaveDownload : public OpenOrSave {
 protected:
  /// Runs a download of this file of the server, whose dialog ends with `result`. Returns whether
  /// the dialog was run.
  bool Run(bool save, const std::wstring& name, INT_PTR result = kDownloadDelivered) {
    const std::wstring url = L"http://localhost/" + name;
    const CProgressDialog::Ptr dialog = CProgressDialog::Create(
        url.c_str(), CFilePath((m_sandbox / L"iedownload.qdk").c_str()), nullptr);
    const CImportSpy<&GetActiveWindow> active("user32.dll", "GetActiveWindow",
                                              [] { return GetDesktopWindow(); });
    const CDialogResult run(result);
    run.WhileRunning([&] {
      const CProgressDialogPeer peer{*dialog};
      m_destination = peer.DestPath().GetString();
      m_shownName = peer.FileName().GetString();
      m_saveState = peer.SaveState();
      EXPECT_EQ(m_browser->cancelCalls, 0);
      EXPECT_TRUE(IsWaiting());
      EXPECT_EQ(run.Template(), 206u);
      EXPECT_EQ(run.Parent(), GetDesktopWindow());
    });
    ::OpenOrSave(kOwner, dialog, save, url.c_str(), L".qdk");
    return run.Count() == 1;
  }

  std::wstring m_destination;
  std::wstring m_shownName;
  HANDLE m_saveState = nullptr;
};

TEST_F(OpenOrSaveDownload, SaveGoesToTheChosenPath) {
  const CFakeSaveDialog dialog(L"C:/x/My name");
  EXPECT_TRUE(Run(true, L"files/a%20b.qdk"));
  EXPECT_EQ(dialog.GivenName(), L"a b.qdk");
  EXPECT_EQ(dialog.Given().hwndOwner, kOwner);
  EXPECT_EQ(m_destination, L"C:\\x\\My name.qdk");
  EXPECT_EQ(m_shownName, L"My name.qdk");
  EXPECT_EQ(m_saveState, nullptr);
  EXPECT_EQ(Opened(), L"");
}

TEST_F(OpenOrSaveDownload, CancelledSaveDialogRunsNothing) {
  const CFakeSaveDialog dialog(L"");
  EXPECT_FALSE(Run(true, L"a.qdk"));
  EXPECT_EQ(dialog.Calls(), 1);
  EXPECT_EQ(Opened(), L"");
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(OpenOrSaveDownload, OnlyADeliveredDownloadIsOpened) {
  for (const int result : {2, 3, 0, -1}) {
    EXPECT_TRUE(Run(false, L"a.qdk", result));
    EXPECT_EQ(Opened(), L"") << result;
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(OpenOrSaveDownload, OpenGoesToATemporaryFileOfTheDownloadsName) {
  m_sandbox.Write(L"taken.qdk", "another");
  const std::wstring generated = L"FVK-" + std::to_wstring(GetCurrentProcessId()) + L"-";
  const CFakeSaveDialog dialog(L"C:\\not asked.qdk");
  const std::pair<LPCWSTR, std::wstring> rows[] = {{L"files/a%20b.qdk", L"a b.qdk"},
                                                   {L"a.qdk?name=other.exe", L"other.qdk"},
                                                   {L"taken.qdk", L"taken("},
                                                   {L"TAKEN.qdk", L"TAKEN("},
                                                   {L"NUL.qdk", L"NUL("},
                                                   {L"con.qdk", L"con("},
                                                   {L"LPT9.qdk", L"LPT9("},
                                                   {L"a.qdk?x=", generated},
                                                   {L"a.qdk?x=.hidden", generated}};
  for (const auto& [name, beginning] : rows) {
    EXPECT_TRUE(Run(false, name));
    EXPECT_TRUE(m_shownName.starts_with(beginning)) << m_shownName;
    EXPECT_TRUE(m_shownName.ends_with(L".qdk")) << m_shownName;
    EXPECT_EQ(m_destination, m_sandbox / m_shownName);
    EXPECT_EQ(Opened(), m_destination);
  }
  EXPECT_EQ(m_launches.Launches().size(), std::size(rows));
  EXPECT_EQ(dialog.Calls(), 0);
}

TEST_F(OpenOrSaveDownload, LongNameIsShortenedUntilThePathFitsAndUnique) {
  const std::wstring name(251, L'n');
  EXPECT_TRUE(Run(false, name + L".qdk"));
  EXPECT_EQ(m_destination.size(), 256u);  // 260 - 5, the backslash before the name not counted
  EXPECT_TRUE(m_shownName.starts_with(name.substr(0, 50)));
  EXPECT_EQ(Opened(), m_destination);
  m_sandbox.Write(m_shownName, "taken");
  const std::wstring first = m_destination;
  EXPECT_TRUE(Run(false, name + L".qdk"));
  EXPECT_NE(m_destination, first);
  EXPECT_EQ(m_shownName.find(L'('), m_shownName.rfind(L'n') + 1);
}

TEST_F(OpenOrSaveDownload, OnlyAProtectedSaveHandsAStateToTheDownload) {
  Protect(L"C:\\Users\\chosen.qdk");
  const CFakeSaveDialog dialog(L"C:\\not asked.qdk");
  EXPECT_TRUE(Run(false, L"a.qdk"));
  EXPECT_EQ(m_browser->saveDialogCalls, 0);
  EXPECT_EQ(m_saveState, nullptr);
  EXPECT_EQ(Opened(), m_sandbox / L"a.qdk");
  EXPECT_TRUE(Run(true, L"b.qdk"));
  EXPECT_EQ(dialog.Calls(), 0);
  EXPECT_EQ(std::wstring(m_browser->saveDialogFileName), L"b.qdk");
  EXPECT_EQ(m_saveState, kState);
  EXPECT_EQ(m_destination, L"C:\\Users\\chosen.qdk");
  EXPECT_EQ(m_browser->saveCalls, 0);  // the download's business
}

/// A file without a download.
class OpenOrSaveLocalFile : public OpenOrSave {
 protected:
  void Run(bool save, const std::wstring& path) const {
    ::OpenOrSave(kOwner, nullptr, save, path.c_str(), L".qdk");
  }
  void ExpectCancelledOnce() const {
    EXPECT_EQ(m_browser->saveCalls, 0);
    EXPECT_EQ(m_browser->cancelCalls, 1);
    EXPECT_EQ(m_browser->cancelledState, kState);
  }
  const std::wstring m_file = m_sandbox.Write(L"My Lessons\\a b.qdk", kOldLessonHead);
  const std::wstring m_target = m_sandbox / L"target.qdk";
};

TEST_F(OpenOrSaveLocalFile, OpenRunsTheFileItself) {
  std::wstring slashes = m_file;
  std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
  Run(false, slashes);
  EXPECT_EQ(Opened(), m_file);
  EXPECT_EQ(m_sandbox.Files().size(), 1u);
}

TEST_F(OpenOrSaveLocalFile, FailedLaunchIsNotReported) {
  m_launches.SetAnswer(FALSE);
  Run(false, m_file);
  EXPECT_EQ(Opened(), m_file);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(OpenOrSaveLocalFile, SaveCopiesOverAnExistingFileWithoutAnotherQuestion) {
  m_sandbox.Write(L"target.qdk", "old, and longer than the new one");
  const CImportSpy<&CopyFileW> copy("kernel32.dll", "CopyFileW", [&](auto... arguments) {
    EXPECT_TRUE(IsWaiting());
    return copy.CallOriginal(arguments...);
  });
  const CFakeSaveDialog dialog(m_target);
  Run(true, m_file);
  EXPECT_EQ(dialog.GivenName(), L"a b.qdk");
  EXPECT_EQ(ReadFileBytes(m_target), kOldLessonHead);
  EXPECT_EQ(ReadFileBytes(m_file), kOldLessonHead);
  EXPECT_EQ(copy.Calls().size(), 1u);
  EXPECT_EQ(Opened(), L"");
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(OpenOrSaveLocalFile, FailedCopyIsNotReported) {
  const CFakeSaveDialog dialog(m_sandbox / L"no such folder\\target.qdk");
  Run(true, m_file);
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_EQ(m_sandbox.Files().size(), 1u);
}

TEST_F(OpenOrSaveLocalFile, UrlWithoutADownloadIsNeitherOpenedNorCopied) {
  const std::wstring url = L"file:///" + m_file;
  const CFakeSaveDialog dialog(m_target);
  const CDialogResult run(kDownloadDelivered);
  for (const bool save : {false, true}) {
    Run(save, url);
  }
  EXPECT_EQ(run.Count(), 0);
  EXPECT_EQ(Opened(), L"");
  EXPECT_EQ(m_sandbox.Files().size(), 1u);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(OpenOrSaveLocalFile, FileThatHasGoneIsReportedAndNothingElseHappens) {
  std::filesystem::remove(m_file);
  const CFakeSaveDialog dialog(m_target);
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

TEST_F(OpenOrSaveLocalFile, ProtectedModeSaveCopiesTheFileAndCancelsTheSaveState) {
  Protect(m_target);
  Run(true, m_file);
  EXPECT_EQ(ReadFileBytes(m_target), kOldLessonHead);
  ExpectCancelledOnce();
}

TEST_F(OpenOrSaveLocalFile, ExceptionAfterTheChoiceCancelsTheProtectedSave) {
  Protect(m_target);
  const CImportPatch patch(
      "user32.dll", "SetCursor", +[](HCURSOR) -> HCURSOR { AtlThrow(E_OUTOFMEMORY); });
  EXPECT_THROW(Run(true, m_file), CAtlException);
  ExpectCancelledOnce();
  EXPECT_FALSE(std::filesystem::exists(m_target));
}

}  // namespace
