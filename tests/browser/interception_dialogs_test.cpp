// The interception with its real dialogs: a browser with its helper object, a web server and a
// user.

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "download/temp_files.h"
#include "tests/browser/browser_frame.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/support/dialogs.h"
#include "tests/support/http_pattern.h"
#include "tests/support/http_server.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

namespace {

class InterceptionDialogs : public testing::Test {
 protected:
  InterceptionDialogs() {
    m_browser.window = m_frame;
    m_helper->SetSite(&m_browser);
  }
  ~InterceptionDialogs() override {
    SetTempBaseFolder(CStringW());
    EXPECT_TRUE(m_launches.Launches().empty());
  }

  /// Navigates, which is cancelled, while `user`, on a thread of its own, deals with the dialogs.
  void Navigate(const std::wstring& url, const std::function<void()>& user) const {
    const CParallel thread(user);
    EXPECT_TRUE(m_helper.Navigate(url));
    EXPECT_TRUE(VisibleDialogs().empty());
  }
  const CTempSandbox m_sandbox;
  const CLaunchRecorder m_launches;
  const CIeFrameDouble m_ieFrame;
  const HttpTestServer m_server;
  const ScriptedPath m_path{m_server, HttpAnswer().Bytes(kLessonHead).Pattern(20, 300000)};
  CFakeBrowser m_browser;
  const CBrowserFrame m_frame;
  const CHelperObject m_helper;
};

TEST_F(InterceptionDialogs, QuestionHasThreeButtonsAndDisablesTheBrowser) {
  Navigate(m_path.Url(L"a.folivo"), [&] {
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
  });
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(InterceptionDialogs, SavedFileHasTheTypedNameAndTheDownloadsExtension) {
  const std::filesystem::path directory = std::filesystem::current_path();
  Navigate(m_path.Url(L"files/My%20Lesson.folivo"), [&] {
    Click(WaitForDialog(kPromptTitle), kSaveButton);
    EXPECT_EQ(GetWindow(WaitForDialog(kSaveTitle), GW_OWNER), m_frame);
    SaveAs(m_sandbox / L"My choice");
  });
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"My choice.folivo"});
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"My choice.folivo"),
            kLessonHead + PatternBytes(20, 0, 300000));
  EXPECT_EQ(std::filesystem::current_path(), directory);
  EXPECT_EQ(m_path.Requests().size(), 1u);
}

}  // namespace
