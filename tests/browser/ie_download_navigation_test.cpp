// What the helper object does with a navigation. The question box is answered by CPromptAnswer, and
// nothing is shown or run; the real dialogs are in open_or_save_tests.

#include <exdispid.h>
#include <gtest/gtest.h>
#include <windows.h>
#include <wininet.h>

#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "browser/ie_download.h"
#include "download/temp_files.h"
#include "tests/browser/common_dialog.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/install_information.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/browser/navigation_event.h"
#include "tests/browser/prompt_answer.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/support/dialogs.h"
#include "tests/support/http_server.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"

namespace {

constexpr int kOpen = 6;
constexpr int kSave = 7;
constexpr int kCancel = 2;

HttpAnswer Lesson() { return HttpAnswer().Bytes(kLessonHead).Pattern(1, 5000); }

class Navigation : public testing::Test {
 protected:
  Navigation() { m_helper->SetSite(&m_browser); }
  ~Navigation() override { SetTempBaseFolder(CStringW()); }

  bool Navigate(const std::wstring& url) const { return m_helper.Navigate(url); }

  /// Gives the browser a window; without one, null is the owner of everything.
  void UseBrowserWindow() {
    m_browser.window = GetDesktopWindow();
    m_helper->SetSite(&m_browser);
  }

  void ExpectUntouched(const std::wstring& url) {
    EXPECT_FALSE(Navigate(url));
    EXPECT_EQ(m_prompt.Count(), 0);
    EXPECT_TRUE(m_messages.Take().empty());
    EXPECT_TRUE(m_launches.Launches().empty());
    EXPECT_TRUE(m_sandbox.Files().empty());
  }

  const CTempSandbox m_sandbox;
  CMessageRecorder m_messages;
  const CPromptAnswer m_prompt{kCancel};
  const CLaunchRecorder m_launches;
  const CInstallInformation m_information;
  const HttpTestServer m_server;
  CFakeBrowser m_browser;
  CHelperObject m_helper;
};

TEST_F(Navigation, OneRequestOfTheServerServesCheckAndDownload) {
  for (const std::wstring& name :
       {std::wstring(L"dir/Lesson.FOLIVO?id=7"), std::wstring(1900, L'a') + L".folivo?id=7"}) {
    const ScriptedPath path(m_server, Lesson());
    const int prompts = m_prompt.Count();
    EXPECT_TRUE(Navigate(path.Url(name)));
    EXPECT_EQ(m_prompt.Count(), prompts + 1);
    ASSERT_EQ(path.Requests().size(), 1u);
    EXPECT_EQ(path.Requests()[0].query, "id=7");
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(Navigation, CancelledPromptLeavesNothingButTheFolder) {
  const ScriptedPath path(m_server, Lesson());
  std::vector<std::wstring> files;
  m_prompt.WhileOpen([&] { files = m_sandbox.Files(); });
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo")));
  EXPECT_EQ(files, (std::vector<std::wstring>{std::wstring(kTempFiles) + L"iedownload.folivo"}));
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_TRUE(std::filesystem::is_directory(m_sandbox / kTempFiles));
  EXPECT_EQ(std::wstring(GetTempBaseFolder()) + L"\\", m_sandbox / kTempFiles);
  EXPECT_TRUE(m_launches.Launches().empty());
}

TEST_F(Navigation, DownloadIsGivenUpOnlyWhenTheNavigationIsCancelled) {
  const ScriptedPath path(m_server, Lesson());
  CNavigationEvent event(path.Url(L"a.folivo"));
  const CImportSpy<&DeleteFileW> deleteFile("kernel32.dll", "DeleteFileW", [&](LPCWSTR file) {
    EXPECT_NE(wcsstr(file, L"iedownload.folivo"), nullptr);
    EXPECT_TRUE(event.Cancelled());
    return deleteFile.CallOriginal(file);
  });
  EXPECT_TRUE(m_helper.Navigate(event));
  EXPECT_EQ(deleteFile.Calls().size(), 1u);
}

TEST_F(Navigation, TakenTemporaryNameIsNumbered) {
  m_sandbox.Write(std::wstring(kTempFiles) + L"iedownload.qdk", "another download");
  const ScriptedPath path(m_server, HttpAnswer().Bytes(kOldLessonHead));
  std::vector<std::wstring> files;
  m_prompt.WhileOpen([&] { files = m_sandbox.Files(); });
  EXPECT_TRUE(Navigate(path.Url(L"a.qdk")));
  ASSERT_EQ(files.size(), 2u);
  const std::wstring name = files[0].substr(std::wstring(kTempFiles).size());
  EXPECT_EQ(name.substr(0, 11), L"iedownload(");
  EXPECT_EQ(ReadFileBytes(m_sandbox / (std::wstring(kTempFiles) + L"iedownload.qdk")),
            "another download");
}

TEST_F(Navigation, UrlEndsAtItsFirstNul) {
  const ScriptedPath path(m_server, Lesson());
  for (const bool taken : {true, false}) {
    const std::wstring url = path.Url(taken ? L"a.folivo" : L"a.html") + L'\0' +
                             (taken ? L".html" : L".folivo?insertinfolivo");
    CNavigationEvent event(L"");
    event.Url().Clear();
    event.Url().vt = VT_BSTR;
    event.Url().bstrVal = SysAllocStringLen(url.data(), static_cast<UINT>(url.size()));
    EXPECT_EQ(m_helper.Navigate(event), taken) << url;
  }
}

TEST_F(Navigation, OtherTypesAreTheBrowsers) {
  const ScriptedPath path(m_server, Lesson());
  for (const LPCWSTR name : {L"item.qdi", L"page.html", L"get?f=a.folivo", L"a.b/file", L"",
                             L"a.folivo#part", L"folder.folivo/"}) {
    ExpectUntouched(path.Url(name));
  }
  for (const LPCWSTR text : {L"", L"?", L".", L"...", L"\\", L"http:", L":/"}) {
    ExpectUntouched(text);
  }
  ExpectUntouched(std::wstring(50000, L'a'));
  EXPECT_TRUE(path.Requests().empty());
  EXPECT_FALSE(std::filesystem::exists(m_sandbox / L"MERLO Technologies"));
}

TEST_F(Navigation, WrongContentIsTheBrowsersWithoutAWord) {
  const ScriptedPath page(m_server, HttpAnswer().Bytes("<html>Please sign in</html>"));
  ExpectUntouched(page.Url(L"a.folivo"));
  EXPECT_EQ(page.Requests().size(), 1u);
  const ScriptedPath gallery(m_server, HttpAnswer().Bytes(kOldLessonHead).Pattern(1, 100));
  ExpectUntouched(gallery.Url(L"a.qdt"));
  const CTempSandbox elsewhere;
  EXPECT_FALSE(Navigate(elsewhere.Write(L"a.folivo", "no lesson")));
  EXPECT_FALSE(Navigate(elsewhere.Write(L"a.qdt", kOldLessonHead)));
  EXPECT_EQ(m_prompt.Count(), 0);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(Navigation, RefusedStatusIsToldOnceAndLeftToTheBrowser) {
  const ScriptedPath path(m_server, HttpAnswer().Status(404).Bytes(kLessonHead));
  EXPECT_FALSE(Navigate(path.Url(L"a.folivo")));
  EXPECT_EQ(m_messages.TakeTexts(),
            (std::vector<std::wstring>{L"The file " + path.Url(L"a.folivo") +
                                       L" is not available for downloading."}));
  EXPECT_EQ(m_prompt.Count(), 0);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(Navigation, FewerThanSixArgumentsDoNothing) {
  const ScriptedPath path(m_server, Lesson());
  for (const UINT count : {0u, 5u}) {
    CNavigationEvent event(path.Url(L"a.folivo"));
    VARIANT before[CNavigationEvent::kArgumentCount];
    memcpy(before, event.Params()->rgvarg, sizeof(before));
    event.Params()->cArgs = count;
    EXPECT_EQ(m_helper.Fire(DISPID_BEFORENAVIGATE2, event.Params()), S_OK);
    EXPECT_EQ(memcmp(before, event.Params()->rgvarg, sizeof(before)), 0);
    EXPECT_FALSE(event.Cancelled());
    EXPECT_TRUE(event.FlagIntact());
  }
  EXPECT_TRUE(path.Requests().empty());
}

TEST_F(Navigation, OlderEventIsTakenWithItsPlainUrl) {
  const std::wstring file = m_sandbox.Write(L"a.qdk", kOldLessonHead);
  CNavigationEvent event(file);
  const VARIANT url = event.Url();
  event.Argument(5) = url;
  EXPECT_EQ(m_helper.Fire(DISPID_BEFORENAVIGATE, event.Params()), S_OK);
  EXPECT_EQ(m_prompt.Count(), 1);
  EXPECT_TRUE(event.Cancelled());
  EXPECT_TRUE(event.FlagIntact());
}

TEST_F(Navigation, FlagMayBeAVariant) {
  CNavigationEvent event(m_sandbox.Write(L"a.qdk", kOldLessonHead));
  CComVariant flag(42);
  event.Argument(0).vt = VT_BYREF | VT_VARIANT;
  event.Argument(0).pvarVal = &flag;
  m_helper.Fire(DISPID_BEFORENAVIGATE2, event.Params());
  EXPECT_EQ(flag.vt, VT_BOOL);
  EXPECT_EQ(flag.boolVal, VARIANT_TRUE);
}

TEST_F(Navigation, EveryAnswerCancelsTheNavigation) {
  for (const int answer : {kCancel, 3, 0, 1, -1}) {
    const CPromptAnswer prompt(answer);
    CNavigationEvent event(m_sandbox.Write(L"a.qdk", kOldLessonHead));
    EXPECT_TRUE(m_helper.Navigate(event)) << answer;
    EXPECT_TRUE(event.FlagIntact());
    EXPECT_EQ(event.Argument(5).vt, VT_BYREF | VT_VARIANT);
    EXPECT_EQ(event.Url().vt, VT_BSTR);
    EXPECT_EQ(prompt.Count(), 1);
  }
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_EQ(m_sandbox.Files(), (std::vector<std::wstring>{L"a.qdk"}));
}

TEST_F(Navigation, LocalLessonIsOpenedWhereItIs) {
  UseBrowserWindow();
  const CIeFrameDouble browser;
  const CPromptAnswer prompt(kOpen);
  const std::wstring file = m_sandbox.Write(L"My Lessons\\a b.qdk", kOldLessonHead);
  EXPECT_TRUE(Navigate(file));
  ASSERT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(m_launches.Launches()[0].file, file);
  EXPECT_EQ(m_launches.Launches()[0].owner, m_browser.window);
  EXPECT_EQ(m_sandbox.Files(), (std::vector<std::wstring>{L"My Lessons\\a b.qdk"}));
}

TEST_F(Navigation, BrowserWindowThatIsGoneOwnsNoDialog) {
  m_browser.window =
      CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
  m_helper->SetSite(&m_browser);
  const std::wstring file = m_sandbox.Write(L"a.qdk", kOldLessonHead);
  EXPECT_TRUE(Navigate(file));
  EXPECT_EQ(m_prompt.Owner(), m_browser.window);
  DestroyWindow(m_browser.window);
  EXPECT_TRUE(Navigate(file));
  EXPECT_EQ(m_prompt.Owner(), nullptr);
}

TEST_F(Navigation, OutOfMemoryAfterTheAnswerIsReported) {
  const CIeFrameDouble browser;
  const CPromptAnswer prompt(kOpen);
  const CImportSpy<&LoadCursorW> wait(
      "user32.dll", "LoadCursorW", [](HINSTANCE, LPCWSTR) -> HCURSOR { throw std::bad_alloc(); });
  EXPECT_TRUE(Navigate(m_sandbox.Write(L"a.qdk", kOldLessonHead)));
  EXPECT_EQ(m_messages.TakeTexts(),
            (std::vector<std::wstring>{L"There is not enough memory to download the file."}));
}

TEST_F(Navigation, LocalLessonIsSavedByCopying) {
  const CIeFrameDouble browser;
  const CPromptAnswer prompt(kSave);
  const std::wstring target = m_sandbox / L"copy.qdk";
  const CCommonDialog dialog(target);
  EXPECT_TRUE(Navigate(m_sandbox.Write(L"a.qdk", kOldLessonHead + "rest")));
  EXPECT_EQ(ReadFileBytes(target), kOldLessonHead + "rest");
  EXPECT_TRUE(m_launches.Launches().empty());
}

TEST_F(Navigation, AddressOfALocalLessonIsFetchedAsAUrl) {
  // As a path it would name the file: what stands in front of the drive is dropped.
  const std::wstring url = L"file:///" + m_sandbox.Write(L"a.qdk", kOldLessonHead);
  const CImportSpy<&InternetOpenUrlW> open(
      "wininet.dll", "InternetOpenUrlW",
      [&](HINTERNET, LPCWSTR address, LPCWSTR, DWORD, DWORD, DWORD_PTR) -> HINTERNET {
        EXPECT_EQ(address, url);
        return nullptr;
      });
  EXPECT_FALSE(Navigate(url));
  EXPECT_EQ(open.Calls().size(), 1u);
  EXPECT_EQ(m_prompt.Count(), 0);
}

TEST_F(Navigation, MissingLocalFileIsToldAndLeftToTheBrowser) {
  UseBrowserWindow();
  EXPECT_FALSE(Navigate(L"C:\\no such folder\\a.folivo"));
  const auto shown = m_messages.Take();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].text,
            L"The file C:\\no such folder\\a.folivo does not exist. Please verify that the path to "
            L"the file is valid.");
  EXPECT_EQ(shown[0].owner, GetDesktopWindow());
  EXPECT_EQ(m_prompt.Count(), 0);
}

TEST_F(Navigation, UrlThatIsNoTextDoesNothing) {
  CNavigationEvent event(L"");
  event.Url().vt = VT_DISPATCH;
  event.Url().pdispVal = nullptr;
  EXPECT_FALSE(m_helper.Navigate(event));
  event.Url().vt = VT_EMPTY;
  EXPECT_FALSE(m_helper.Navigate(event));
}

TEST_F(Navigation, UncopyableUrlLeavesTheEventAsAnException) {
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
  EXPECT_TRUE(Navigate(m_sandbox.Write(L"a.qdk", kOldLessonHead)));
}

TEST_F(Navigation, MemoryThatRunsOutLeavesTheNavigationToTheBrowser) {
  m_prompt.WhileOpen([] { AtlThrow(E_OUTOFMEMORY); });
  const ScriptedPath path(m_server, Lesson());
  EXPECT_FALSE(Navigate(path.Url(L"a.folivo")));
  EXPECT_TRUE(m_sandbox.Files().empty());
  m_prompt.WhileOpen([] { throw std::bad_alloc(); });
  EXPECT_FALSE(Navigate(path.Url(L"a.folivo")));
  m_prompt.WhileOpen(nullptr);
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo")));
}

// The marker for links that the application inserts.

class InsertNavigation : public Navigation {
 protected:
  InsertNavigation() { m_sandbox.Write(L"App\\LaunchFolivo.exe", "not run"); }
  void Install() const { m_information.SetFolder(m_sandbox / L"App"); }
  std::vector<std::wstring> Shortcuts() const {
    std::vector<std::wstring> names;
    for (const std::wstring& file : m_sandbox.Files()) {
      if (file.find(kTempFiles) == 0) {
        names.push_back(file.substr(std::wstring(kTempFiles).size()));
      }
    }
    return names;
  }
};

TEST_F(InsertNavigation, GoesToTheLauncherFromPathOrQuery) {
  UseBrowserWindow();
  Install();
  for (const LPCWSTR url : {L"http://server/insertinfolivo/a.htm",
                            L"http://server/a.folivo?insertinfolivo=1", L"xinsertinfolivox"}) {
    const int stops = m_browser.stops;
    const size_t launches = m_launches.Launches().size();
    EXPECT_TRUE(Navigate(url));
    EXPECT_EQ(m_browser.stops, stops + 1);
    ASSERT_EQ(m_launches.Launches().size(), launches + 1);
    EXPECT_EQ(m_launches.Launches().back().owner, m_browser.window);
  }
  EXPECT_EQ(m_prompt.Count(), 0);
  EXPECT_EQ(m_launches.Launches()[0].parameters,
            L"/insertinfolivo:" + (m_sandbox / kTempFiles) + L"File.url");
  EXPECT_EQ(Shortcuts().size(), 3u);  // they stay
  EXPECT_EQ(ReadFileBytes(m_sandbox / (std::wstring(kTempFiles) + L"File.url")),
            "[InternetShortcut]\r\nURL=http://server/insertinfolivo/a.htm");
}

TEST_F(InsertNavigation, WithoutTheApplicationIsTheBrowsers) {
  const ScriptedPath path(m_server, Lesson());
  EXPECT_FALSE(Navigate(path.Url(L"a.folivo?insertinfolivo")));
  EXPECT_TRUE(path.Requests().empty());
  EXPECT_EQ(m_browser.stops, 0);
  EXPECT_EQ(Shortcuts(), (std::vector<std::wstring>{L"File.url"}));
}

TEST_F(InsertNavigation, MarkerInOtherCaseIsNone) {
  Install();
  EXPECT_FALSE(Navigate(L"http://server/InsertInFolivo/a.htm"));
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo?InsertInFolivo")));
  EXPECT_EQ(m_prompt.Count(), 1);
  EXPECT_TRUE(m_launches.Launches().empty());
  EXPECT_TRUE(Shortcuts().empty());
}

TEST_F(InsertNavigation, UnwritableShortcutIsAnOrdinaryNavigation) {
  Install();
  const CImportPatch patch(
      "msvcrt.dll", "_wfopen", +[](LPCWSTR, LPCWSTR) -> FILE* { return nullptr; });
  const ScriptedPath path(m_server, Lesson());
  EXPECT_TRUE(Navigate(path.Url(L"a.folivo?insertinfolivo")));
  EXPECT_EQ(path.Requests().size(), 1u);
  EXPECT_EQ(m_prompt.Count(), 1);
  EXPECT_FALSE(Navigate(path.Url(L"a.htm?insertinfolivo")));
  EXPECT_TRUE(m_launches.Launches().empty());
}

TEST_F(InsertNavigation, BrowserMayGoDuringTheLaunch) {
  Install();
  m_launches.WhileLaunching([&] { m_helper->SetSite(nullptr); });
  EXPECT_TRUE(Navigate(L"http://server/insertinfolivo"));
  EXPECT_EQ(m_browser.stops, 0);
}

// While a dialog is open the browser's thread serves messages: anything may happen to the object.

TEST_F(Navigation, ObjectReleasedWhileAskingLivesUntilTheEnd) {
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  auto* const sink = static_cast<IIEDownload*>(m_helper.operator->());
  LONG locksWhileOpen = 0;
  m_prompt.WhileOpen([&] {
    m_helper.Release();
    locksWhileOpen = ATL::_pAtlModule->GetLockCount();
  });
  CNavigationEvent event(m_sandbox.Write(L"a.qdk", kOldLessonHead));
  EXPECT_EQ(sink->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT, DISPATCH_METHOD,
                         event.Params(), nullptr, nullptr, nullptr),
            S_OK);
  EXPECT_EQ(locksWhileOpen, locks);
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks - 1);
  EXPECT_TRUE(event.Cancelled());
  EXPECT_EQ(m_browser.references, 0);
}

TEST_F(Navigation, BrowserMayQuitAndGoWhileAsking) {
  const CIeFrameDouble browser;
  const CPromptAnswer prompt(kOpen);
  prompt.WhileOpen([&] {
    DISPPARAMS none = {};
    EXPECT_EQ(m_helper.Fire(DISPID_ONQUIT, &none), S_OK);
    m_helper->SetSite(nullptr);
  });
  EXPECT_TRUE(Navigate(m_sandbox.Write(L"a.qdk", kOldLessonHead)));
  EXPECT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(m_browser.container.point.unadvised.size(), 1u);
}

TEST_F(Navigation, LessonDuringAnotherQuestionIsLeftToTheBrowser) {
  const CIeFrameDouble browser;
  const CPromptAnswer prompt(kOpen);
  const std::wstring first = m_sandbox.Write(L"first.qdk", kOldLessonHead);
  const ScriptedPath path(m_server, Lesson());
  std::vector<bool> cancelled;
  prompt.WhileOpen([&] {
    cancelled.push_back(Navigate(path.Url(L"second.folivo")));
    const CParallel otherWindow(
        [&] { cancelled.push_back(CHelperObject().Navigate(path.Url(L"third.folivo"))); });
  });
  EXPECT_TRUE(Navigate(first));
  EXPECT_EQ(cancelled, (std::vector<bool>{false, false}));
  EXPECT_EQ(path.Requests().size(), 2u) << "both were checked";
  EXPECT_EQ(prompt.Count(), 1);
  ASSERT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(m_launches.Launches()[0].file, first);
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_EQ(m_sandbox.Files(), (std::vector<std::wstring>{L"first.qdk"}));
}

}  // namespace
