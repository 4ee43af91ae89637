// From a link in a browser to the file: the system's browser control in a process of its own, the
// registered DLL, a web server, a user, and a stand-in for the desktop application.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/browser/install_information.h"
#include "tests/e2e/registered_plugin.h"
#include "tests/e2e/tool_process.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/http_pattern.h"
#include "tools/dialog_driver/window_actions.h"
#include "tools/dialog_driver/window_query.h"
#include "tools/support/utf8.h"

namespace {

constexpr size_t kLength = 1000000;

using Files = std::vector<std::wstring>;

HttpAnswer Lesson() { return HttpAnswer().Bytes("PK\x03\x04").Pattern(5, kLength); }
std::string LessonBytes() { return "PK\x03\x04" + PatternBytes(5, 0, kLength); }

/// The browser host with the registered helper object, and what a person does with its dialogs.
class CBrowserSession {
 public:
  CBrowserSession() : m_process(ToolPath(L"browser_host.exe"), L"--show --commands-from-stdin") {
    const std::string helper = m_process.WaitForLine("helper ").value_or("none is registered");
    EXPECT_TRUE(helper.ends_with(" hr=0x00000000")) << helper;
  }
  ~CBrowserSession() {
    if (!m_closed) {
      CloseWindow();
    }
  }
  CBrowserSession(const CBrowserSession&) = delete;
  CBrowserSession& operator=(const CBrowserSession&) = delete;

  /// Begins a navigation. The answer to the command is not waited for: dialogs may hold it up.
  void Navigate(const std::wstring& url) const { m_process.WriteLine("navigate " + ToUtf8(url)); }
  /// Waits until the helper object has dealt with the navigation; true when it cancelled it.
  bool WaitForEvent() {
    const auto line = m_process.WaitForLine("event BeforeNavigate2 ");
    EXPECT_TRUE(line) << "no end of the event";
    return line && line->find(" cancel=1") != std::string::npos;
  }
  /// Closes the window at once, as its close box does, and gives the process's exit code.
  DWORD CloseWindow() {
    m_closed = true;
    m_process.WriteLine("close");
    return m_process.WaitForExit();
  }

  /// Answers the question, and waits until it has gone.
  static void Press(int button) {
    const HWND window = WaitForDialog(kPromptTitle);
    EXPECT_EQ(Click(window, button, kToolTimeout), ActionResult::kDone);
    EXPECT_EQ(WaitGone(window, kToolTimeout), ActionResult::kDone);
  }
  /// Deals with the save dialog.
  static void SaveAs(const std::wstring& path) {
    constexpr int kNameField = 0x47C;
    const HWND dialog = WaitForDialog(kSaveTitle);
    EXPECT_EQ(SetControlText(dialog, kNameField, path, kToolTimeout), ActionResult::kDone);
    EXPECT_EQ(SendCommand(dialog, IDOK), ActionResult::kDone);
  }
  bool HasDialog() const {
    return FindVisibleWindow({std::nullopt, L"#32770", m_process.ProcessId()}) != nullptr;
  }

 private:
  CToolProcess m_process;
  bool m_closed = false;
};

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

  /// Makes the launcher's stand-in the desktop application's launcher.
  void InstallLauncher() const {
    // Without the value the stand-in records beside itself.
    RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Software\\FolivoTestTools", L"LauncherRecord");
    std::filesystem::create_directory(m_folder);
    std::filesystem::copy_file(ToolPath(L"LaunchFolivo.exe"), m_folder + L"\\LaunchFolivo.exe");
    m_information.SetFolder(m_folder);
  }
  void WaitForLauncher() const {
    EXPECT_EQ(WaitForSingleObject(m_started, kToolTimeout), WAIT_OBJECT_0) << "no launcher started";
  }
  /// The raw arguments of each start so far.
  Files LauncherArguments() const {
    std::istringstream records(ReadFileBytes(m_folder + L"\\LaunchFolivo.log"));
    Files arguments;
    for (std::string line; std::getline(records, line);) {
      arguments.push_back(FromUtf8(line.substr(0, line.rfind('\t'))));
    }
    return arguments;
  }

  const CInstallInformation m_information;
  const std::wstring m_folder = m_sandbox / L"My App";
  const CHandle m_started{CreateEventW(nullptr, FALSE, FALSE, L"FolivoLauncherStandIn")};
};

TEST_F(InterceptionEndToEnd, SavedLessonTakesOneRequest) {
  const ScriptedPath path(m_server, Lesson());
  CBrowserSession browser;
  browser.Navigate(path.Url(L"My%20Lesson.folivo"));
  browser.Press(kSaveButton);
  browser.SaveAs(m_sandbox / L"saved");
  EXPECT_TRUE(browser.WaitForEvent());
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"saved.folivo"), LessonBytes());
  EXPECT_EQ(path.Requests().size(), 1u);
  EXPECT_EQ(TempFiles(), Files());
}

TEST_F(InterceptionEndToEnd, OpenedLessonReachesTheLauncherUnquoted) {
  InstallLauncher();
  const ScriptedPath path(m_server, Lesson());
  CBrowserSession browser;
  browser.Navigate(path.Url(L"My%20Lesson.folivo"));
  browser.Press(kOpenButton);
  EXPECT_TRUE(browser.WaitForEvent());
  WaitForLauncher();
  const std::wstring file = (m_sandbox / kTempFiles) + L"My Lesson.folivo";
  EXPECT_EQ(LauncherArguments(), Files{file});
  EXPECT_EQ(ReadFileBytes(file), LessonBytes());
}

TEST_F(InterceptionEndToEnd, InsertLinkReachesTheLauncherAsAShortcut) {
  InstallLauncher();
  CBrowserSession browser;
  const std::wstring url = m_server.BaseUrl() + L"/insertinfolivo/a.htm?x=1";
  browser.Navigate(url);
  EXPECT_TRUE(browser.WaitForEvent());
  WaitForLauncher();
  const std::wstring file = (m_sandbox / kTempFiles) + L"File.url";
  EXPECT_EQ(LauncherArguments(), Files{L"/insertinfolivo:" + file});
  EXPECT_EQ(ReadFileBytes(file), "[InternetShortcut]\r\nURL=" + ToUtf8(url));
}

TEST_F(InterceptionEndToEnd, OtherContentIsLeftToTheBrowser) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("<html>Sign in</html>"));
  CBrowserSession browser;
  for (const LPCWSTR name : {L"page.html", L"disguised.folivo", L"insertinfolivo"}) {
    browser.Navigate(path.Url(name));
    EXPECT_FALSE(browser.WaitForEvent());
    EXPECT_FALSE(browser.HasDialog());
  }
  EXPECT_EQ(TempFiles(), Files{L"File.url"}) << "of the link to insert, without the application";
}

TEST_F(InterceptionEndToEnd, BrowserMayQuitDuringTheQuestionAndTheDownload) {
  const ScriptedPath path(m_server, Lesson().Gated());
  path.AllowUpTo(2000);
  for (const bool isAnswered : {false, true}) {
    CBrowserSession browser;
    browser.Navigate(path.Url(L"a.folivo"));
    if (isAnswered) {
      browser.Press(kOpenButton);
    }
    WaitForDialog(isAnswered ? kDownloadTitle : kPromptTitle);
    EXPECT_EQ(browser.CloseWindow(), 0u);
    EXPECT_EQ(TempFiles(), Files());
  }
}

}  // namespace
