// The interception with its real dialogs, from the event to the delivered file.

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/browser/interception_desktop.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/support/dialogs.h"
#include "tests/support/user.h"

namespace {

constexpr int kNameField = 0x47C;
constexpr int kTypeList = 0x470;

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

TEST_F(OpenOrSaveDialogs, FailedLaunchIsNotReported) {
  m_launches.SetAnswer(FALSE);
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo"), [] { AnswerPrompt(kOpenButton); }));
  EXPECT_EQ(m_launches.Launches().size(), 1u);
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

}  // namespace
