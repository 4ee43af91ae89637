// The interception with its real dialogs, from the event to the delivered file.

#include <gtest/gtest.h>
#include <windows.h>
#include <wininet.h>

#include <filesystem>
#include <string>
#include <vector>

#include "browser/open_or_save.h"
#include "tests/browser/interception_desktop.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

constexpr int kNameField = 0x47C;
constexpr int kTypeList = 0x470;
constexpr wchar_t kTempFiles[] = L"MERLO Technologies\\MERLO Folivo\\TempFiles\\";

using Files = std::vector<std::wstring>;
using OpenOrSaveDialogs = InterceptionDesktop;

std::vector<std::wstring> TypesIn(HWND saveDialog) {
  const HWND list = GetDlgItem(saveDialog, kTypeList);
  std::vector<std::wstring> types;
  const LRESULT count = SendMessageW(list, CB_GETCOUNT, 0, 0);
  for (LRESULT i = 0; i < count; ++i) {
    wchar_t text[256] = {};
    SendMessageW(list, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
    types.emplace_back(text);
  }
  return types;
}

TEST_F(OpenOrSaveDialogs, PromptAsksWithThreeButtons) {
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [&] {
    const HWND prompt = WaitForDialog(kPromptTitle);
    EXPECT_NE(FindWindowExW(prompt, nullptr, L"Static",
                            L"Would you like to open or save this Folivo file?"),
              nullptr);
    EXPECT_EQ(SendMessageW(GetWindow(prompt, GW_CHILD), STM_GETICON, 0, 0),
              reinterpret_cast<LRESULT>(LoadIconW(nullptr, MAKEINTRESOURCEW(32514))))
        << "a question mark";
    EXPECT_EQ(ChildText(prompt, kOpenButton), L"Open");
    EXPECT_EQ(ChildText(prompt, kSaveButton), L"Save");
    EXPECT_EQ(ChildText(prompt, kCancelButton), L"Cancel");
    int children = 0;
    for (HWND child = GetWindow(prompt, GW_CHILD); child != nullptr;
         child = GetWindow(child, GW_HWNDNEXT)) {
      ++children;
    }
    EXPECT_EQ(children, 5) << "icon, text and buttons, and no check box";
    EXPECT_EQ(GetWindow(prompt, GW_OWNER), m_frame);
    EXPECT_FALSE(IsWindowEnabled(m_frame));
    Click(prompt, kCancelButton);
  }));
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_TRUE(m_launches.Launches().empty());
}

TEST_F(OpenOrSaveDialogs, ClosingThePromptDoesNothingAndCancels) {
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [] { Close(WaitForDialog(kPromptTitle)); }));
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_TRUE(m_launches.Launches().empty());
}

TEST_F(OpenOrSaveDialogs, SavedFileHasTheTypedNameAndTheDownloadsExtension) {
  const ScriptedPath path(m_server, Lesson());
  const std::filesystem::path directory = std::filesystem::current_path();
  EXPECT_TRUE(Navigate(path.Url(L"files/My%20Lesson.folivo"), [&] {
    AnswerPrompt(kSaveButton);
    const HWND dialog = WaitForDialog(kSaveTitle);
    EXPECT_EQ(ChildText(dialog, kNameField), L"My Lesson.folivo");
    EXPECT_EQ(TypesIn(dialog),
              (std::vector<std::wstring>{L"Folivo Files (*.folivo;*.qdk;*.fvk)", L"All Files"}));
    EXPECT_EQ(GetWindow(dialog, GW_OWNER), m_frame);
    SaveAs(m_sandbox / L"My choice");
  }));
  EXPECT_EQ(m_sandbox.Files(), Files{L"My choice.folivo"});
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"My choice.folivo"), LessonBytes());
  EXPECT_EQ(std::filesystem::current_path(), directory);
  EXPECT_EQ(path.Requests().size(), 1u);
  EXPECT_TRUE(m_launches.Launches().empty());
}

TEST_F(OpenOrSaveDialogs, OpenedFileGoesToTheLauncherWhole) {
  m_sandbox.Write(L"App\\LaunchFolivo.exe", "not run");
  m_information.SetFolder(m_sandbox / L"App");
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a%20b.folivo"), [] { AnswerPrompt(kOpenButton); }));
  const std::wstring file = (m_sandbox / kTempFiles) + L"a b.folivo";
  EXPECT_EQ(ReadFileBytes(file), LessonBytes());
  ASSERT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(m_launches.Launches()[0].parameters, file);
  EXPECT_EQ(m_launches.Launches()[0].owner, m_frame);
  EXPECT_EQ(path.Requests().size(), 1u);
  EXPECT_EQ(m_sandbox.Files().size(), 2u);
}

TEST_F(OpenOrSaveDialogs, OpenedFileStaysWhenTheLauncherIsMissing) {
  m_information.SetFolder(m_sandbox.Path());
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [] { AnswerPrompt(kOpenButton); }));
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_EQ(m_sandbox.Files(), Files{std::wstring(kTempFiles) + L"a.folivo"});
}

TEST_F(OpenOrSaveDialogs, FailedLaunchIsNotReported) {
  m_launches.SetAnswer(FALSE);
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [] { AnswerPrompt(kOpenButton); }));
  EXPECT_EQ(m_launches.Launches().size(), 1u);
}

TEST_F(OpenOrSaveDialogs, CancelledSaveDialogSavesNothing) {
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [] {
    AnswerPrompt(kSaveButton);
    CancelSaveDialog();
  }));
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(OpenOrSaveDialogs, CancelledDownloadOpensNothing) {
  const ScriptedPath path(m_server, Lesson().Gated());
  path.AllowUpTo(2000);
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [&] {
    AnswerPrompt(kOpenButton);
    Click(WaitForDialog(kDownloadTitle), IDCANCEL);
  }));
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(OpenOrSaveDialogs, FailedDownloadOpensNothingAfterItsMessage) {
  static DWORD browserThread;
  static decltype(&InternetReadFile) readOn;
  browserThread = GetCurrentThreadId();
  // The check reads the head as always; the worker's connection is broken.
  const CImportPatch patch(
      "wininet.dll", "InternetReadFile",
      +[](HINTERNET file, void* buffer, DWORD size, DWORD* read) -> BOOL {
        if (GetCurrentThreadId() == browserThread) {
          return readOn(file, buffer, size, read);
        }
        SetLastError(ERROR_INTERNET_CONNECTION_RESET);
        return FALSE;
      });
  readOn = patch.Original<decltype(InternetReadFile)>();
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [&] {
    AnswerPrompt(kOpenButton);
    EXPECT_EQ(DismissMessage(),
              L"The file " + path.Url(L"a.folivo") + L" is not available for downloading.");
  }));
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(OpenOrSaveDialogs, NameThatIsTooLongIsReportedAndReplaced) {
  const ScriptedPath path(m_server, Lesson());
  const std::wstring url = path.Url(std::wstring(1900, L'n') + L".folivo");
  EXPECT_TRUE(Navigate(url, [&] {
    AnswerPrompt(kSaveButton);
    EXPECT_EQ(DismissMessage(),
              L"We were unable to get the proper download filename. Your downloaded file will be "
              L"renamed to downloadedfile.folivo.");
    EXPECT_EQ(ChildText(WaitForDialog(kSaveTitle), kNameField), L"downloadedfile.folivo");
    SaveAs(m_sandbox / L"saved.folivo");
  }));
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"saved.folivo"), LessonBytes());
}

TEST_F(OpenOrSaveDialogs, LongestNameIsOpenedUnderAShorterOne) {
  const ScriptedPath path(m_server, Lesson());
  const std::wstring name(255 - 7, L'n');
  EXPECT_TRUE(Navigate(path.Url(name + L".folivo"), [] { AnswerPrompt(kOpenButton); }));
  ASSERT_EQ(m_launches.Launches().size(), 1u);
  const std::wstring file = m_launches.Launches()[0].file;
  EXPECT_LT(file.size(), 260u);
  EXPECT_EQ(ReadFileBytes(file), LessonBytes());
}

TEST_F(OpenOrSaveDialogs, EscapesThatAreNoneStayInTheName) {
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"100%zz%.folivo"), [] { AnswerPrompt(kOpenButton); }));
  EXPECT_EQ(m_sandbox.Files(), Files{std::wstring(kTempFiles) + L"100%zz%.folivo"});
}

TEST_F(OpenOrSaveDialogs, EmptyUrlShowsNothing) {
  EXPECT_FALSE(Navigate(L"", [] {}));
}

TEST_F(OpenOrSaveDialogs, MissingLocalLessonIsToldOnceAndNotCancelled) {
  const std::wstring missing = m_sandbox / L"gone.folivo";
  EXPECT_FALSE(Navigate(missing, [&] {
    const HWND box = WaitForDialog(L"MERLO Folivo");
    EXPECT_EQ(GetWindow(box, GW_OWNER), m_frame);
    EXPECT_EQ(DismissMessage(), L"The file " + missing +
                                    L" does not exist. Please verify that the path to the file is "
                                    L"valid.");
  }));
}

TEST_F(OpenOrSaveDialogs, LocalLessonThatGoesWhileAskedIsToldAndCancelled) {
  const std::wstring file = m_sandbox.Write(L"a.qdk", kOldLessonHead);
  EXPECT_TRUE(Navigate(file, [&] {
    const HWND prompt = WaitForDialog(kPromptTitle);
    std::filesystem::remove(file);
    Click(prompt, kOpenButton);
    EXPECT_EQ(DismissMessage(), L"The file " + file +
                                    L" does not exist. Please verify that the path to the file is "
                                    L"valid.");
  }));
  EXPECT_TRUE(m_launches.Launches().empty());
}

TEST_F(OpenOrSaveDialogs, LocalSaveAsksOnceBeforeItOverwrites) {
  const std::wstring file = m_sandbox.Write(L"a.qdk", kOldLessonHead + "new");
  const std::wstring target = m_sandbox.Write(L"target.qdk", "old content");
  EXPECT_TRUE(Navigate(file, [&] {
    AnswerPrompt(kSaveButton);
    const HWND dialog = WaitForDialog(kSaveTitle);
    SaveAs(target);
    WaitUntil("the question to overwrite", [&] { return VisibleDialogs().size() == 2; });
    for (const HWND question : VisibleDialogs()) {
      if (question != dialog) {
        Click(question, IDYES);
      }
    }
  }));
  EXPECT_EQ(ReadFileBytes(target), kOldLessonHead + "new");
}

TEST_F(OpenOrSaveDialogs, AppendedExtensionDoesNotReplaceAFileAfterNo) {
  const std::wstring taken = m_sandbox.Write(L"taken.folivo", "the user's");
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [&] {
    AnswerPrompt(kSaveButton);
    SaveAs(m_sandbox / L"taken");
    const HWND question = WaitForDialog(L"MERLO Folivo");
    EXPECT_EQ(MessageText(question), L"taken.folivo already exists. Do you want to replace it?");
    EXPECT_EQ(GetWindow(question, GW_OWNER), m_frame);
    Click(question, IDNO);
  }));
  EXPECT_EQ(ReadFileBytes(taken), "the user's");
  EXPECT_EQ(m_sandbox.Files(), Files{L"taken.folivo"});
}

TEST_F(OpenOrSaveDialogs, TemplateGalleriesHaveNoTypeList) {
  const std::wstring file = m_sandbox.Write(L"a.qdt", "x");
  const CParallel user([&] {
    const HWND dialog = WaitForDialog(kSaveTitle);
    EXPECT_TRUE(TypesIn(dialog).empty());
    EXPECT_EQ(ChildText(dialog, kNameField), L"a.qdt");
    CancelSaveDialog();
  });
  OpenOrSave(m_frame, nullptr, true, file.c_str(), L".qdt");
}

TEST_F(OpenOrSaveDialogs, ProtectedSaveHandsTheWholeFileToTheBrowser) {
  const HANDLE state = GetCurrentThread();
  m_ieFrame->isProtectedMode = TRUE;
  m_ieFrame->saveDialogState = state;
  wcscpy(m_ieFrame->saveDialogPath, L"C:\\chosen in the browser.folivo");
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [] { AnswerPrompt(kSaveButton); }));
  EXPECT_EQ(m_ieFrame->saveCalls, 1);
  EXPECT_EQ(m_ieFrame->savedState, state);
  EXPECT_EQ(m_ieFrame->cancelCalls, 0);
  EXPECT_EQ(m_ieFrame->savedSize, static_cast<LONGLONG>(LessonBytes().size()));
  // The browser moves the file when it is ready to.
  EXPECT_EQ(m_sandbox.Files(), Files{std::wstring(kTempFiles) + L"iedownload.folivo"});
  EXPECT_EQ(std::wstring(m_ieFrame->savedSource), (m_sandbox / kTempFiles) + L"iedownload.folivo");
  EXPECT_FALSE(std::filesystem::exists(L"C:\\chosen in the browser.folivo"));
}

TEST_F(OpenOrSaveDialogs, CancelledProtectedSaveLeavesNothing) {
  m_ieFrame->isProtectedMode = TRUE;
  m_ieFrame->saveDialogResult = S_FALSE;
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [] { AnswerPrompt(kSaveButton); }));
  EXPECT_EQ(m_ieFrame->cancelCalls, 1);
  EXPECT_EQ(m_ieFrame->saveCalls, 0);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

}  // namespace
