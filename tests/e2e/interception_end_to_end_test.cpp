// From a link in a browser to the file: the system's browser control in a process of its own, the
// registered DLL, a web server, a user, and a stand-in for the desktop application.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/browser/install_information.h"
#include "tests/e2e/browser_session.h"
#include "tests/e2e/launcher_record.h"
#include "tests/e2e/registered_plugin.h"
#include "tests/support/dialogs.h"
#include "tests/support/http_pattern.h"

namespace {

constexpr size_t kLength = 1000000;

using Files = std::vector<std::wstring>;

HttpAnswer Lesson() { return HttpAnswer().Bytes("PK\x03\x04").Pattern(5, kLength); }
std::string LessonBytes() { return "PK\x03\x04" + PatternBytes(5, 0, kLength); }

class InterceptionEndToEnd : public CRegisteredPluginTest {
 protected:
  /// The files in the folder for temporary files.
  Files TempFiles() const {
    Files names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(m_sandbox / kTempFiles, error)) {
      names.push_back(entry.path().filename().wstring());
    }
    return names;
  }

  const CInstallInformation m_information;
};

TEST_F(InterceptionEndToEnd, SavedLessonTakesOneRequest) {
  const ScriptedPath path(m_server, Lesson());
  CBrowserSession browser;
  browser.Navigate(path.Url(L"My%20Lesson.folivo"));
  browser.Press(kPromptTitle, kSaveButton);
  browser.SaveAs(m_sandbox / L"saved");
  EXPECT_TRUE(browser.WaitForEvent());
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"saved.folivo"), LessonBytes());
  EXPECT_EQ(path.Requests().size(), 1u);
  EXPECT_EQ(TempFiles(), Files());
}

TEST_F(InterceptionEndToEnd, OpenedLessonReachesTheLauncherUnquoted) {
  const CLauncherRecord launcher(m_sandbox / L"My App");
  m_information.SetFolder(m_sandbox / L"My App");
  const ScriptedPath path(m_server, Lesson());
  CBrowserSession browser;
  browser.Navigate(path.Url(L"My%20Lesson.folivo"));
  browser.Press(kPromptTitle, kOpenButton);
  EXPECT_TRUE(browser.WaitForEvent());
  launcher.WaitForStart();
  const std::wstring file = (m_sandbox / kTempFiles) + L"My Lesson.folivo";
  EXPECT_EQ(launcher.Arguments(), Files{file});
  EXPECT_EQ(ReadFileBytes(file), LessonBytes());
  EXPECT_EQ(path.Requests().size(), 1u);
}

TEST_F(InterceptionEndToEnd, TwoInsertLinksLeaveTwoShortcuts) {
  const CLauncherRecord launcher(m_sandbox / L"App");
  m_information.SetFolder(m_sandbox / L"App");
  CBrowserSession browser;
  const std::wstring url = m_server.BaseUrl() + L"/insertinfolivo/a.htm?x=1";
  for (int i = 0; i < 2; ++i) {
    browser.Navigate(url);
    EXPECT_TRUE(browser.WaitForEvent());
    launcher.WaitForStart();
  }
  const Files arguments = launcher.Arguments();
  ASSERT_EQ(arguments.size(), 2u);
  const std::wstring beginning = L"/insertinfolivo:" + (m_sandbox / kTempFiles) + L"File";
  EXPECT_EQ(arguments[0], beginning + L".url");
  EXPECT_EQ(arguments[1].substr(0, beginning.size() + 1), beginning + L"(");
  EXPECT_EQ(TempFiles().size(), 2u);
  EXPECT_EQ(ReadFileBytes((m_sandbox / kTempFiles) + L"File.url"),
            "[InternetShortcut]\r\nURL=" + std::string(url.begin(), url.end()));
}

TEST_F(InterceptionEndToEnd, CancelledPromptStoresNothing) {
  const ScriptedPath path(m_server, Lesson());
  CBrowserSession browser;
  browser.Navigate(path.Url(L"a.folivo"));
  browser.Press(kPromptTitle, kCancelButton);
  EXPECT_TRUE(browser.WaitForEvent());
  EXPECT_EQ(TempFiles(), Files());
  EXPECT_FALSE(browser.HasDialog());
}

TEST_F(InterceptionEndToEnd, OtherContentIsLeftToTheBrowser) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("<html>Sign in</html>"));
  CBrowserSession browser;
  for (const LPCWSTR name : {L"page.html", L"item.qdi", L"get?f=a.folivo", L"disguised.folivo"}) {
    browser.Navigate(path.Url(name));
    EXPECT_FALSE(browser.WaitForEvent());
    EXPECT_FALSE(browser.HasDialog());
  }
  EXPECT_EQ(TempFiles(), Files());
}

TEST_F(InterceptionEndToEnd, InsertLinkWithoutTheApplicationIsLeftToTheBrowser) {
  CBrowserSession browser;
  browser.Navigate(m_server.BaseUrl() + L"/insertinfolivo/a.htm");
  EXPECT_FALSE(browser.WaitForEvent());
  EXPECT_EQ(TempFiles(), Files{L"File.url"});
}

TEST_F(InterceptionEndToEnd, BrowserQuitsDuringThePrompt) {
  const ScriptedPath path(m_server, Lesson());
  CBrowserSession browser;
  browser.Navigate(path.Url(L"a.folivo"));
  browser.WaitForDialog(kPromptTitle);
  EXPECT_EQ(browser.CloseWindow(), 0u);
  EXPECT_EQ(TempFiles(), Files());
}

TEST_F(InterceptionEndToEnd, BrowserQuitsDuringTheDownload) {
  const ScriptedPath path(m_server, Lesson().Gated());
  path.AllowUpTo(2000);
  CBrowserSession browser;
  browser.Navigate(path.Url(L"a.folivo"));
  browser.Press(kPromptTitle, kOpenButton);
  browser.WaitForDialog(kDownloadTitle);
  EXPECT_EQ(browser.CloseWindow(), 0u);
  EXPECT_EQ(TempFiles(), Files());
}

}  // namespace
