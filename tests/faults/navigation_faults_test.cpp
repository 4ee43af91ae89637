// What a browser's event brings and what stands around it: addresses of every odd form, names that
// two downloads want at once, and the browser's functions for saving in its protected mode.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/browser/fake_browser.h"
#include "tests/browser/fake_save_dialog.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/prompt_answer.h"
#include "tests/faults/event_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/deferred_close.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

namespace {

/// What a navigation came to, in this order: "asked" for each question, "message TEXT" and "run
/// FILE" for each of those, "cancelled". Empty: the browser does it all.
using CSeen = std::vector<std::wstring>;

/// Navigations of a browser with its helper object, through the browser's own event. The question
/// gets `answer` at once, and nothing is run; the download and its dialog are real.
class NavigationFaults : public EventFaults {
 protected:
  explicit NavigationFaults(int answer = kOpenButton) : m_prompt(answer) {
    m_helper->SetSite(&m_browser);
  }

  CSeen Navigate(const std::wstring& url);

  static std::wstring CannotCreate(const std::wstring& path) {
    return L"message Unable to create the destination file " + path + L".";
  }

  const CLaunchRecorder m_launches;
  CFakeBrowser m_browser;
  CHelperObject m_helper;

 private:
  const CDeferredClose m_deferredClose;
  CMessageRecorder m_messages;
  const CPromptAnswer m_prompt;
};

CSeen NavigationFaults::Navigate(const std::wstring& url) {
  CNavigationEvent event(url);
  const int prompts = m_prompt.Count();
  const size_t launches = m_launches.Launches().size();
  CallGuardedDialog([&] {
    EXPECT_EQ(m_helper.Fire(DISPID_BEFORENAVIGATE2, event.Params()), S_OK);
    return 0;
  });
  CSeen seen(static_cast<size_t>(m_prompt.Count() - prompts), L"asked");
  for (const std::wstring& text : m_messages.TakeTexts()) {
    seen.push_back(L"message " + text);
  }
  for (size_t i = launches; i < m_launches.Launches().size(); ++i) {
    seen.push_back(L"run " + m_launches.Launches()[i].file);
  }
  if (event.Cancelled()) {
    seen.push_back(L"cancelled");
  }
  EXPECT_TRUE(event.FlagIntact());
  return seen;
}

struct NavigationFaultsUrl : NavigationFaults {
  NavigationFaultsUrl() : NavigationFaults(kCancelButton) {}
};

const CSeen kTaken = {L"asked", L"cancelled"};

TEST_F(NavigationFaultsUrl, ServersAddressIsJudgedByItsLastDot) {
  struct CUrlFault {
    const char* name;
    std::wstring tail;  // after the server's folder
    CSeen seen;
    size_t length = 0;  // of the whole address, filled up in front of the tail
  };
  const CUrlFault faults[] = {
      {"escaped slash", L"a%2Fb.qdk", kTaken},
      {"escaped zero", L"a%00b.qdk", kTaken},
      {"escaped letter of the extension", L"a.qd%6B", CSeen()},
      {"blank at the end", L"a.qdk ", CSeen()},
      {"query and fragment", L"a.qdk?id=7#part", kTaken},
      {"blanks, formats, other scripts", L"Le\u00e7on %s%n%d%1 \u4f60\u597d.qdk", kTaken},
      {"half a character", L"a\xD800.qdk", kTaken},
      {"longest that browsers take", L".qdk", kTaken, 2083},
      {"32,000 characters", L".qdk", kTaken, 32000},
      {"32,000 characters that are not for us", L".htm", CSeen(), 32000},
      {"32,000 characters of query", L"a.qdk?" + std::wstring(32000, L'q'), kTaken},
  };
  for (const CUrlFault& fault : QuickCut(faults)) {
    SCOPED_TRACE(fault.name);
    Checks().Run([&] {
      const ScriptedPath path(m_server, Lesson());
      std::wstring url = path.Url(L"");
      if (fault.length > url.size() + fault.tail.size()) {
        url.append(fault.length - url.size() - fault.tail.size(), L'a');
      }
      EXPECT_EQ(Navigate(url + fault.tail), fault.seen);
      EXPECT_EQ(path.Requests().size(), fault.seen == kTaken ? 1u : 0u);
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

TEST_F(NavigationFaultsUrl, AddressWithoutAServerIsReportedOrLeftAlone) {
  const wchar_t* const kUnavailable = L" is not available for downloading.";
  const wchar_t* const kMissing =
      L" does not exist. Please verify that the path to the file is valid.";
  const std::pair<std::wstring, const wchar_t*> faults[] = {
      {L"", nullptr},
      {L"about:a.qdk", kUnavailable},
      {L"nonsense:a.qdk", kUnavailable},
      {L"http://.qdk", kUnavailable},
      {L"http://127.0.0.1:99999/a.qdk", kUnavailable},
      {L"ftp://127.0.0.1:1/a.qdk", kUnavailable},
      {L" http://127.0.0.1:1/a.qdk", kMissing},  // which makes it a file's name
      {L"a.qdk", kMissing},
      {L"C:\\none\\a.qdk", kMissing},
      {L"a|b*?.qdk", nullptr},  // cut before the question mark
      {L"\\\\?\\C:\\none\\a.qdk", nullptr},
      {L"C:\\" + std::wstring(300, L'n') + L".qdk", kMissing},
      {std::wstring(32000, L'n') + L".qdk", kMissing},
      {std::wstring(32000, L'.'), nullptr},
  };
  for (const auto& [url, message] : QuickCut(faults)) {
    SCOPED_TRACE(testing::PrintToString(url.substr(0, 40)));
    Checks().Run([&] {
      EXPECT_EQ(Navigate(url), message ? CSeen{L"message The file " + url + message} : CSeen());
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

using NavigationFaultsName = NavigationFaults;

/// The body of the second of two downloads at the same time.
std::string SecondBytes() { return kOldLessonHead + std::string(100000, '2'); }

// Two browser windows with a thread each, whose lessons have one name. The first one stalls until
// the second has ended.

TEST_F(NavigationFaultsName, LaterOpenedLessonReplacesTheOtherOfItsName) {
  Checks().Run([&] {
    std::vector<std::string> opened;
    m_launches.WhileLaunching([&] {
      EXPECT_EQ(m_launches.Launches().back().file, Temporary(L"a.qdk"));
      opened.push_back(ReadFileBytes(Temporary(L"a.qdk")));
    });
    const ScriptedPath first(m_server, Lesson().Gated());
    const ScriptedPath second(m_server, HttpAnswer().Bytes(SecondBytes()));
    first.AllowUpTo(10000);
    const CParallel otherWindow([&] {
      WaitForDialog(kDownloadTitle);
      const CHelperObject helper;
      EXPECT_TRUE(helper.Navigate(second.Url(L"a.qdk")));
      // While they are transferred each has a file of its own.
      EXPECT_EQ(m_sandbox.Files(), (Files{kTempFiles + std::wstring(L"a.qdk"),
                                          kTempFiles + std::wstring(L"iedownload.qdk")}));
      first.AllowAll();
    });
    // The name was free for both when they asked: it is not taken before the file is delivered.
    const std::wstring run = L"run " + Temporary(L"a.qdk");
    EXPECT_EQ(Navigate(first.Url(L"a.qdk")), (CSeen{L"asked", L"asked", run, run, L"cancelled"}));
    m_launches.WhileLaunching(nullptr);
    EXPECT_TRUE(opened == (std::vector{SecondBytes(), LessonBytes()}));
    EXPECT_EQ(m_sandbox.Files(), Files{kTempFiles + std::wstring(L"a.qdk")});
    DeleteFileW(Temporary(L"a.qdk").c_str());
  });
}

TEST_F(NavigationFaultsName, SecondToMakeTheTemporaryFileGetsAMessage) {
  // Both found its name free, as neither had asked its server yet.
  Checks().Run([&] {
    const ScriptedPath first(m_server, Lesson().Hold(http_point::kBeforeHeaders));
    const ScriptedPath second(m_server, HttpAnswer().Bytes(SecondBytes()).Gated());
    second.AllowUpTo(2000);
    CParallel otherWindow([&] {
      EXPECT_TRUE(first.WaitForHeld(http_point::kBeforeHeaders));
      const CHelperObject helper;
      EXPECT_TRUE(helper.Navigate(second.Url(L"b.qdk")));
    });
    const CParallel meanwhile([&] {
      WaitForDialog(kDownloadTitle);
      first.AllowAll();
    });
    // The browser tries by itself. Only the other is asked about.
    EXPECT_EQ(Navigate(first.Url(L"a.qdk")),
              (CSeen{L"asked", CannotCreate(Temporary(L"iedownload.qdk"))}));
    second.AllowAll();
    otherWindow.Join();
    EXPECT_TRUE(ReadFileBytes(Temporary(L"b.qdk")) == SecondBytes()) << "the other's is whole";
    EXPECT_EQ(m_sandbox.Files(), Files{kTempFiles + std::wstring(L"b.qdk")});
    DeleteFileW(Temporary(L"b.qdk").c_str());
  });
}

const HANDLE kState = GetCurrentThread();  // any value: only handed on

enum class SaveEnd {
  kByBrowser,     // the browser gets the whole temporary file, which stays
  kByDialog,      // as outside the protected mode: the system's dialog, and a copy
  kCopied,        // the browser's dialog, and a copy
  kNothing,       // is saved, and nothing is said
  kCannotCreate,  // one message that names the temporary file, which stays
  kDeleted,       // the browser gets the temporary file, which somebody has deleted just before
};

struct CProtectedFault {
  std::string name;
  SaveEnd end;
  std::function<void(CIeFrameRecord&)> prepare = nullptr;
  std::string missing = {};  // function
  int failingLoad = 0;       // of the library: for the question, the dialog, the delivery; 0: none
  int cancels = 0;           // calls of IECancelSaveFile
  std::wstring copy = L"chosen.qdk";
};

class NavigationFaultsProtected : public NavigationFaults {
 protected:
  NavigationFaultsProtected() : NavigationFaults(kSaveButton) {
    SetCurrentDirectoryW(m_sandbox.Path().c_str());
  }
  ~NavigationFaultsProtected() override { SetCurrentDirectoryW(L"C:\\"); }

  void RunAll(const std::vector<CProtectedFault>& faults) {
    for (const CProtectedFault& fault : QuickCut(faults)) {
      SCOPED_TRACE(fault.name);
      Checks().Run([&] { Run(fault); });
    }
  }

  void Run(const CProtectedFault& fault);
};

void NavigationFaultsProtected::Run(const CProtectedFault& fault) {
  const SaveEnd end = fault.end;
  const std::wstring temporary = Temporary(L"iedownload.qdk");
  const CFakeSaveDialog dialog(m_sandbox / L"chosen.qdk");
  const CIeFrameDouble browser;
  browser->isProtectedMode = TRUE;
  browser->saveDialogState = kState;
  wcscpy(browser->saveDialogPath, (m_sandbox / L"chosen.qdk").c_str());
  if (fault.prepare) {
    fault.prepare(*browser.operator->());
  }
  int loads = 0;
  const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW", [&](LPCWSTR name) {
    if (_wcsicmp(name, L"ieframe.dll") == 0) {
      if (++loads == fault.failingLoad) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return HMODULE{nullptr};
      }
      EXPECT_TRUE(loads != 3 || end != SaveEnd::kDeleted || DeleteFileW(temporary.c_str()));
    }
    return load.CallOriginal(name);
  });
  const CImportSpy<&GetProcAddress> find(
      "kernel32.dll", "GetProcAddress", [&](HMODULE module, LPCSTR name) {
        return fault.missing == name ? nullptr : find.CallOriginal(module, name);
      });
  const ScriptedPath path(m_server, Lesson());
  CSeen seen = {L"asked", L"cancelled"};
  if (end == SaveEnd::kCannotCreate) {
    seen.insert(seen.begin() + 1, CannotCreate(temporary));
  }
  EXPECT_EQ(Navigate(path.Url(L"a.qdk")), seen);
  EXPECT_EQ(dialog.Calls(), end == SaveEnd::kByDialog ? 1 : 0);
  EXPECT_EQ(browser->cancelCalls, fault.cancels);

  const bool isBrowsers = end == SaveEnd::kByBrowser;
  EXPECT_EQ(browser->saveCalls, isBrowsers || end == SaveEnd::kDeleted ? 1 : 0);
  if (browser->saveCalls != 0) {
    EXPECT_EQ(browser->savedState, kState);
    EXPECT_EQ(browser->savedSource, temporary);
    EXPECT_EQ(browser->savedSize, isBrowsers ? static_cast<LONGLONG>(LessonBytes().size()) : -1);
  }
  const bool isCopy = end == SaveEnd::kByDialog || end == SaveEnd::kCopied;
  const bool isLeft = isBrowsers || end == SaveEnd::kCannotCreate;
  const std::wstring kept = isCopy ? m_sandbox / fault.copy : isLeft ? temporary : L"";
  EXPECT_EQ(m_sandbox.Files().size(), kept.empty() ? 0u : 1u);
  EXPECT_TRUE(kept.empty() || ReadFileBytes(kept) == LessonBytes());
  DeleteFileW(kept.c_str());
}

void ChooseNothing(CIeFrameRecord& browser) { browser.saveDialogResult = S_FALSE; }

/// What prepares a choice of this path, with the browser's state or none.
auto Choice(const std::wstring& path, HANDLE state = nullptr) {
  return [=](CIeFrameRecord& browser) {
    wcscpy(browser.saveDialogPath, path.c_str());
    browser.saveDialogState = state;
  };
}

TEST_F(NavigationFaultsProtected, MissingLibraryFunctionsAndFile) {
  RunAll({
      {"all there", SaveEnd::kByBrowser},
      {"file gone at the end, which is not reported", SaveEnd::kDeleted},
      {"no library", SaveEnd::kByDialog, nullptr, "", 1},
      {"library gone at the dialog", SaveEnd::kNothing, nullptr, "", 2},
      {"library gone at the end", SaveEnd::kCannotCreate, nullptr, "", 3},
      {"no question", SaveEnd::kByDialog, nullptr, "IEIsProtectedModeProcess"},
      {"no dialog", SaveEnd::kNothing, nullptr, "IEShowSaveFileDialog", 0, 1},
      {"nothing to cancel with", SaveEnd::kNothing, &ChooseNothing, "IECancelSaveFile"},
      {"nothing to save with", SaveEnd::kCannotCreate, nullptr, "IESaveFile", 0, 1},
  });
}

TEST_F(NavigationFaultsProtected, CancelledSaveDialogMissingPathAndMissingStateAreHandled) {
  const std::wstring longPath = L"C:\\" + std::wstring(1000, L'n');
  RunAll({
      {"refused", SaveEnd::kNothing, &ChooseNothing, "", 0, 1},
      {"no path", SaveEnd::kByBrowser, Choice(L"", kState)},
      {"no state", SaveEnd::kCopied, Choice(m_sandbox / L"chosen.qdk")},
      // An empty path gets the extension all the same: a file of the current folder.
      {"neither", SaveEnd::kCopied, Choice(L""), "", 0, 0, L".qdk"},
      {"1,000 characters", SaveEnd::kByBrowser, Choice(longPath, kState)},
      {"1,000 characters, no state", SaveEnd::kNothing, Choice(longPath)},
      {"folder missing, no state", SaveEnd::kNothing, Choice(L"C:\\none\\a.qdk")},
  });
}

TEST_F(NavigationFaultsProtected, FailuresOfTheFunctionsAreNotReported) {
  std::vector<CProtectedFault> faults;
  for (const HRESULT answer : {S_FALSE, E_FAIL}) {
    faults.push_back({"save", SaveEnd::kByBrowser,
                      [=](CIeFrameRecord& browser) { browser.saveResult = answer; }});
    faults.push_back({"question", answer == S_FALSE ? SaveEnd::kByBrowser : SaveEnd::kByDialog,
                      [=](CIeFrameRecord& browser) { browser.protectedModeResult = answer; }});
    faults.push_back({"cancel", SaveEnd::kNothing,
                      [=](CIeFrameRecord& browser) {
                        browser.cancelResult = answer;
                        ChooseNothing(browser);
                      },
                      "", 0, 1});
  }
  RunAll(faults);
}

}  // namespace
