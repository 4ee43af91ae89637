// What the helper object does with a navigation. The question box is answered by CPromptAnswer, and
// nothing is shown or run.

#include <exdispid.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "browser/ie_download.h"
#include "download/temp_files.h"
#include "tests/browser/browser_frame.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/fake_save_dialog.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/install_information.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/browser/navigation_event.h"
#include "tests/browser/prompt_answer.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/http_server.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"

namespace {

using Texts = std::vector<std::wstring>;

class IeDownloadNavigation : public testing::Test {
 protected:
  IeDownloadNavigation() {
    m_browser.window = GetDesktopWindow();
    m_helper->SetSite(&m_browser);
  }
  ~IeDownloadNavigation() override { SetTempBaseFolder(CStringW()); }

  bool Navigate(const std::wstring& url) const { return m_helper.Navigate(url); }

  static HttpAnswer Lesson() { return HttpAnswer().Bytes(kLessonHead).Pattern(1, 5000); }

  const CTempSandbox m_sandbox;
  CMessageRecorder m_messages;
  const CPromptAnswer m_prompt{kCancelButton};
  const CLaunchRecorder m_launches;
  const CInstallInformation m_information;
  const CIeFrameDouble m_ieFrame;
  const HttpTestServer m_server;
  CFakeBrowser m_browser;
  CHelperObject m_helper;
  const std::wstring m_lesson = m_sandbox.Write(L"My Lessons\\a b.qdk", kOldLessonHead + "rest");
};

TEST_F(IeDownloadNavigation, CancelledQuestionLeavesNothingButTheFolder) {
  const ScriptedPath path(m_server, Lesson());
  CNavigationEvent event(path.Url(L"dir/Lesson.FOLIVO?id=7"));
  const std::wstring temporary = m_sandbox / kTempFiles + L"iedownload.FOLIVO";
  m_prompt.WhileOpen([&] { EXPECT_TRUE(std::filesystem::exists(temporary)); });
  const CImportSpy<&DeleteFileW> deleteFile("kernel32.dll", "DeleteFileW", [&](LPCWSTR file) {
    EXPECT_EQ(file, temporary);
    EXPECT_TRUE(event.Cancelled()) << "the download is given up after that";
    return deleteFile.CallOriginal(file);
  });
  EXPECT_TRUE(m_helper.Navigate(event));
  EXPECT_EQ(m_prompt.Count(), 1);
  EXPECT_EQ(deleteFile.Calls().size(), 1u);
  EXPECT_EQ(m_sandbox.Files().size(), 1u);
  EXPECT_EQ(std::wstring(GetTempBaseFolder()) + L"\\", m_sandbox / kTempFiles);
  EXPECT_TRUE(std::filesystem::is_directory(m_sandbox / kTempFiles));
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_TRUE(m_messages.Take().empty());
  ASSERT_EQ(path.Requests().size(), 1u);
  EXPECT_EQ(path.Requests()[0].query, "id=7");
}

TEST_F(IeDownloadNavigation, OtherTypesAndWrongContentAreLeftToTheBrowser) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("<html>Please sign in</html>"));
  const struct {
    std::wstring url;
    size_t requests = 0;
  } rows[] = {{path.Url(L"item.qdi")},
              {path.Url(L"page.html")},
              {path.Url(L"get?f=a.folivo")},
              {L""},
              {m_sandbox.Write(L"a.folivo", "no lesson")},
              {m_sandbox.Write(L"a.qdt", kOldLessonHead)},
              {path.Url(L"a.folivo"), 1}};
  for (const auto& row : rows) {
    EXPECT_FALSE(Navigate(row.url));
    EXPECT_EQ(path.Requests().size(), row.requests);
  }
  EXPECT_EQ(m_prompt.Count(), 0);
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_EQ(m_sandbox.Files().size(), 3u);
}

TEST_F(IeDownloadNavigation, EventWithoutSixArgumentsOrAUrlIsIgnored) {
  void (*const faults[])(CNavigationEvent&) = {
      [](CNavigationEvent& event) { event.Params()->cArgs = 0; },
      [](CNavigationEvent& event) { event.Params()->cArgs = 5; },
      [](CNavigationEvent& event) { event.Argument(5) = VARIANT(); },
      [](CNavigationEvent& event) { event.Argument(5).pvarVal = nullptr; },
  };
  for (const auto& spoil : faults) {
    CNavigationEvent event(m_lesson);
    spoil(event);
    VARIANT before[CNavigationEvent::kArgumentCount];
    std::memcpy(before, event.Params()->rgvarg, sizeof(before));
    EXPECT_FALSE(m_helper.Navigate(event));
    EXPECT_EQ(std::memcmp(before, event.Params()->rgvarg, sizeof(before)), 0);
    EXPECT_TRUE(event.FlagIntact());
  }
  EXPECT_EQ(m_prompt.Count(), 0);
}

TEST_F(IeDownloadNavigation, OlderEventIsTakenWithItsPlainUrl) {
  CNavigationEvent event(m_lesson);
  event.Argument(5) = event.Url();
  EXPECT_EQ(m_helper.Fire(DISPID_BEFORENAVIGATE, event.Params()), S_OK);
  EXPECT_EQ(m_prompt.Count(), 1);
  EXPECT_TRUE(event.Cancelled());
  EXPECT_TRUE(event.FlagIntact());
}

TEST_F(IeDownloadNavigation, EveryAnswerCancelsTheNavigation) {
  for (const int answer : {kCancelButton, 3, 0, 1, -1}) {
    const CPromptAnswer prompt(answer);
    EXPECT_TRUE(Navigate(m_lesson)) << answer;
    EXPECT_EQ(prompt.Count(), 1);
  }
  EXPECT_TRUE(m_launches.Launches().empty());
}

TEST_F(IeDownloadNavigation, LocalLessonIsOpenedWhereItIsOrCopied) {
  {
    const CPromptAnswer prompt(kOpenButton);
    EXPECT_TRUE(Navigate(m_lesson));
  }
  ASSERT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(m_launches.Launches()[0].file, m_lesson);
  EXPECT_EQ(m_launches.Launches()[0].owner, m_browser.window);
  const CPromptAnswer prompt(kSaveButton);
  const CFakeSaveDialog dialog(m_sandbox / L"copy.qdk");
  EXPECT_TRUE(Navigate(m_lesson));
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"copy.qdk"), kOldLessonHead + "rest");
  EXPECT_EQ(m_launches.Launches().size(), 1u);
}

TEST_F(IeDownloadNavigation, MissingLocalFileIsReportedAndLeftToTheBrowser) {
  EXPECT_FALSE(Navigate(L"C:\\no such folder\\a.folivo"));
  const auto shown = m_messages.Take();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].text,
            L"The file C:\\no such folder\\a.folivo does not exist. Please verify that the path to "
            L"the file is valid.");
  EXPECT_EQ(shown[0].owner, m_browser.window);
  EXPECT_EQ(m_prompt.Count(), 0);
}

TEST_F(IeDownloadNavigation, BrowserWindowThatIsGoneOwnsNoDialog) {
  {
    const CBrowserFrame window;
    m_browser.window = window;
    m_helper->SetSite(&m_browser);
    EXPECT_TRUE(Navigate(m_lesson));
    EXPECT_EQ(m_prompt.Owner(), m_browser.window);
  }
  EXPECT_TRUE(Navigate(m_lesson));
  EXPECT_EQ(m_prompt.Owner(), nullptr);
}

TEST_F(IeDownloadNavigation, OutOfMemoryBeforeTheAnswerLeavesTheNavigationToTheBrowser) {
  const ScriptedPath path(m_server, Lesson());
  m_prompt.WhileOpen([] { throw std::bad_alloc(); });
  EXPECT_FALSE(Navigate(path.Url(L"a.folivo")));
  EXPECT_EQ(m_sandbox.Files().size(), 1u);
  EXPECT_TRUE(m_messages.Take().empty());
  m_prompt.WhileOpen(nullptr);
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo")));
}

TEST_F(IeDownloadNavigation, OutOfMemoryAfterTheAnswerIsReported) {
  const CPromptAnswer prompt(kOpenButton);
  const CImportSpy<&LoadCursorW> wait(
      "user32.dll", "LoadCursorW", [](HINSTANCE, LPCWSTR) -> HCURSOR { throw std::bad_alloc(); });
  EXPECT_TRUE(Navigate(m_lesson));
  EXPECT_EQ(m_messages.TakeTexts(), Texts{L"There is not enough memory to download the file."});
}

TEST_F(IeDownloadNavigation, UncopyableUrlLeavesTheEventAsAnException) {
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  const long references = m_browser.references;
  CNavigationEvent event(L"");
  event.Argument(5).vt = 0x0FFF;
  try {
    m_helper.Fire(DISPID_BEFORENAVIGATE2, event.Params());
    ADD_FAILURE() << "no exception";
  } catch (const CAtlException& e) {
    EXPECT_EQ(e.m_hr, DISP_E_BADVARTYPE);
  }
  EXPECT_FALSE(event.Cancelled());
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks);
  EXPECT_EQ(m_browser.references, references);
}

// While the question is open the browser's thread serves messages.

TEST_F(IeDownloadNavigation, ObjectReleasedWhileAskingLivesUntilTheEnd) {
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  auto* const sink = static_cast<IIEDownload*>(m_helper.operator->());
  const CPromptAnswer prompt(kOpenButton);
  prompt.WhileOpen([&] {
    DISPPARAMS none = {};
    EXPECT_EQ(m_helper.Fire(DISPID_ONQUIT, &none), S_OK);
    m_helper->SetSite(nullptr);
    m_helper.Release();
    EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks);
  });
  CNavigationEvent event(m_lesson);
  EXPECT_EQ(sink->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD,
                         event.Params(), nullptr, nullptr, nullptr),
            S_OK);
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks - 1);
  EXPECT_TRUE(event.Cancelled());
  EXPECT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(m_browser.references, 0);
  EXPECT_EQ(m_browser.container.point.unadvised.size(), 1u);
}

TEST_F(IeDownloadNavigation, LessonDuringAnotherQuestionIsLeftToTheBrowser) {
  const CPromptAnswer prompt(kOpenButton);
  const ScriptedPath path(m_server, Lesson());
  std::vector<bool> cancelled;
  prompt.WhileOpen([&] {
    cancelled.push_back(Navigate(path.Url(L"second.folivo")));
    const CParallel otherWindow(
        [&] { cancelled.push_back(CHelperObject().Navigate(path.Url(L"third.folivo"))); });
  });
  EXPECT_TRUE(Navigate(m_lesson));
  EXPECT_EQ(cancelled, (std::vector<bool>{false, false}));
  EXPECT_EQ(path.Requests().size(), 2u) << "both were checked";
  EXPECT_EQ(prompt.Count(), 1);
  ASSERT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(m_launches.Launches()[0].file, m_lesson);
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_EQ(m_sandbox.Files().size(), 1u);
}

// The marker for links that the application inserts.

class IeDownloadNavigationInsert : public IeDownloadNavigation {
 protected:
  void Install() const {
    m_sandbox.Write(L"App\\LaunchFolivo.exe", "not run");
    m_information.SetFolder(m_sandbox / L"App");
  }
  bool HasShortcut() const { return std::filesystem::exists(m_shortcut); }

  const std::wstring m_shortcut = m_sandbox / kTempFiles + L"File.url";
};

TEST_F(IeDownloadNavigationInsert, MarkedLinkGoesToTheLauncherAndItsShortcutStays) {
  Install();
  for (const LPCWSTR url : {L"http://server/insertinfolivo/a.htm",
                            L"http://server/a.folivo?insertinfolivo=1", L"xinsertinfolivox"}) {
    EXPECT_TRUE(Navigate(url));
  }
  EXPECT_EQ(m_prompt.Count(), 0);
  EXPECT_EQ(m_browser.stops, 3);
  ASSERT_EQ(m_launches.Launches().size(), 3u);
  EXPECT_EQ(m_launches.Launches()[0].owner, m_browser.window);
  EXPECT_EQ(m_launches.Launches()[0].parameters, L"/insertinfolivo:" + m_shortcut);
  EXPECT_EQ(m_sandbox.Files().size(), 2u + 3u);
  EXPECT_EQ(ReadFileBytes(m_shortcut),
            "[InternetShortcut]\r\nURL=http://server/insertinfolivo/a.htm");
}

TEST_F(IeDownloadNavigationInsert, MarkedLinkIsLeftToTheBrowserWithoutTheApplication) {
  const ScriptedPath path(m_server, Lesson());
  EXPECT_FALSE(Navigate(path.Url(L"a.folivo?insertinfolivo")));
  EXPECT_TRUE(path.Requests().empty());
  EXPECT_EQ(m_browser.stops, 0);
  EXPECT_TRUE(HasShortcut());
}

TEST_F(IeDownloadNavigationInsert, OtherCaseOrUnwritableShortcutIsAnOrdinaryNavigation) {
  Install();
  const ScriptedPath path(m_server, Lesson());
  EXPECT_FALSE(Navigate(L"http://server/InsertInFolivo/a.htm"));
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo?InsertInFolivo")));
  const CImportPatch patch(
      "msvcrt.dll", "_wfopen", +[](LPCWSTR, LPCWSTR) -> FILE* { return nullptr; });
  EXPECT_FALSE(Navigate(path.Url(L"a.htm?insertinfolivo")));
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo?insertinfolivo")));
  EXPECT_EQ(m_prompt.Count(), 2);
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_FALSE(HasShortcut());
}

TEST_F(IeDownloadNavigationInsert, BrowserMayGoDuringTheLaunch) {
  Install();
  m_launches.WhileLaunching([&] { m_helper->SetSite(nullptr); });
  EXPECT_TRUE(Navigate(L"http://server/insertinfolivo"));
  EXPECT_EQ(m_browser.stops, 0);
}

}  // namespace
