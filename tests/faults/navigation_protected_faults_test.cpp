// The browser's functions for saving in its protected mode: not there, refusing, failing, answering
// in odd ways. Each cell is a whole "Save" of a lesson.

#include "tests/browser/common_dialog.h"
#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/import_spy.h"

namespace {

const HANDLE kState = GetCurrentThread();  // any value: only handed on

enum class SaveEnd {
  kByBrowser,     // the browser gets the whole temporary file, which stays
  kByDialog,      // as outside the protected mode: the system's dialog, and a copy
  kCopied,        // the browser's dialog, and a copy
  kLost,          // a copy that fails, which is not reported
  kNotChosen,     // nothing is saved, and nothing is said
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

class NavigationProtectedFaults : public NavigationFaults {
 protected:
  NavigationProtectedFaults() : NavigationFaults(kSaveButton) {
    SetCurrentDirectoryW(m_sandbox.Path().c_str());
  }
  ~NavigationProtectedFaults() override { SetCurrentDirectoryW(L"C:\\"); }

  void RunAll(const std::vector<CProtectedFault>& faults) {
    for (const CProtectedFault& fault : QuickCut(faults)) {
      SCOPED_TRACE(fault.name);
      Checks().Run([&] { Run(fault); });
    }
  }

  /// Saves a lesson in the protected mode.
  void Run(const CProtectedFault& fault);
};

void NavigationProtectedFaults::Run(const CProtectedFault& fault) {
  const SaveEnd end = fault.end;
  const std::wstring temporary = Temporary(L"iedownload.qdk");
  const CCommonDialog dialog(m_sandbox / L"chosen.qdk");
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

TEST_F(NavigationProtectedFaults, MissingLibraryFunctionsAndFile) {
  RunAll({
      {"all there", SaveEnd::kByBrowser},
      {"file gone at the end, which is not reported", SaveEnd::kDeleted},
      {"no library", SaveEnd::kByDialog, nullptr, "", 1},
      {"library gone at the dialog", SaveEnd::kNotChosen, nullptr, "", 2},
      {"library gone at the end", SaveEnd::kCannotCreate, nullptr, "", 3},
      {"no question", SaveEnd::kByDialog, nullptr, "IEIsProtectedModeProcess"},
      {"no dialog", SaveEnd::kNotChosen, nullptr, "IEShowSaveFileDialog", 0, 1},
      {"nothing to cancel with", SaveEnd::kNotChosen, &ChooseNothing, "IECancelSaveFile"},
      {"nothing to save with", SaveEnd::kCannotCreate, nullptr, "IESaveFile", 0, 1},
  });
}

TEST_F(NavigationProtectedFaults, ChoiceMayBeRefusedOrLackItsPathOrItsState) {
  const std::wstring longPath = L"C:\\" + std::wstring(1000, L'n');
  RunAll({
      {"refused", SaveEnd::kNotChosen, &ChooseNothing, "", 0, 1},
      {"no path", SaveEnd::kByBrowser, Choice(L"", kState)},
      {"no state", SaveEnd::kCopied, Choice(m_sandbox / L"chosen.qdk")},
      // An empty path gets the extension all the same: a file of the current folder.
      {"neither", SaveEnd::kCopied, Choice(L""), "", 0, 0, L".qdk"},
      {"1,000 characters", SaveEnd::kByBrowser, Choice(longPath, kState)},
      {"1,000 characters, no state", SaveEnd::kLost, Choice(longPath)},
      {"folder missing, no state", SaveEnd::kLost, Choice(L"C:\\none\\a.qdk")},
  });
}

TEST_F(NavigationProtectedFaults, FailuresOfTheFunctionsAreNotReported) {
  std::vector<CProtectedFault> faults;
  for (const HRESULT answer : {S_FALSE, E_FAIL}) {
    faults.push_back({"save", SaveEnd::kByBrowser,
                      [=](CIeFrameRecord& browser) { browser.saveResult = answer; }});
    faults.push_back({"question", answer == S_FALSE ? SaveEnd::kByBrowser : SaveEnd::kByDialog,
                      [=](CIeFrameRecord& browser) { browser.protectedModeResult = answer; }});
    faults.push_back({"cancel", SaveEnd::kNotChosen,
                      [=](CIeFrameRecord& browser) {
                        browser.cancelResult = answer;
                        ChooseNothing(browser);
                      },
                      "", 0, 1});
  }
  RunAll(faults);
}

}  // namespace
