// The browser's functions for saving in its protected mode: not there, refusing, failing, answering
// in odd ways. Each cell is a whole "Save" of a lesson.

#include <objbase.h>

#include "tests/browser/common_dialog.h"
#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/import_spy.h"

namespace {

const HANDLE kState = GetCurrentThread();  // any value: only handed on
constexpr wchar_t kTemporary[] = L"iedownload.qdk";

enum class SaveEnd {
  kByBrowser,     // the browser gets the whole temporary file, which stays
  kByDialog,      // as outside the protected mode: the system's dialog, and a copy
  kCopied,        // the browser's dialog, and a copy
  kLost,          // a copy that fails, which is not reported
  kNotChosen,     // nothing is saved, and nothing is said
  kCannotCreate,  // one message that names the temporary file, which stays
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

  /// Saves a lesson in the protected mode, with something to happen before the delivery.
  CSeen Save(const CIeFrameDouble& browser, const CProtectedFault& fault,
             const std::function<void()>& beforeDelivery = nullptr);

 private:
  void Run(const CProtectedFault& fault);

  int m_loads = 0;  // that succeed
  int m_frees = 0;
  int m_freedBlocks = 0;
};

CSeen NavigationProtectedFaults::Save(const CIeFrameDouble& browser, const CProtectedFault& fault,
                                      const std::function<void()>& beforeDelivery) {
  browser->isProtectedMode = TRUE;
  browser->saveDialogState = kState;
  wcscpy(browser->saveDialogPath, (m_sandbox / L"chosen.qdk").c_str());
  if (fault.prepare) {
    fault.prepare(*browser.operator->());
  }
  int asked = 0;
  m_loads = m_frees = m_freedBlocks = 0;
  const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW", [&](LPCWSTR name) {
    if (_wcsicmp(name, L"ieframe.dll") != 0) {
      return load.CallOriginal(name);
    }
    if (++asked == 3 && beforeDelivery) {
      beforeDelivery();
    }
    if (asked == fault.failingLoad) {
      SetLastError(ERROR_MOD_NOT_FOUND);
      return HMODULE{nullptr};
    }
    ++m_loads;
    return load.CallOriginal(name);
  });
  const CImportSpy<&FreeLibrary> free("kernel32.dll", "FreeLibrary", [&](HMODULE module) {
    m_frees += module == GetModuleHandleW(L"ieframe.dll") ? 1 : 0;
    return free.CallOriginal(module);
  });
  const CImportSpy<&GetProcAddress> find(
      "kernel32.dll", "GetProcAddress", [&](HMODULE module, LPCSTR name) {
        return fault.missing == name ? nullptr : find.CallOriginal(module, name);
      });
  const CImportSpy<&CoTaskMemFree> release("ole32.dll", "CoTaskMemFree", [&](LPVOID memory) {
    m_freedBlocks += memory != nullptr ? 1 : 0;
    release.CallOriginal(memory);
  });
  const ScriptedPath path(m_server, Lesson());
  return Navigate(path.Url(L"a.qdk"));
}

void NavigationProtectedFaults::Run(const CProtectedFault& fault) {
  const CIeFrameDouble browser;
  const CCommonDialog dialog(m_sandbox / L"chosen.qdk");
  const SaveEnd end = fault.end;
  const std::wstring temporary = Temporary(kTemporary);
  CSeen seen = {L"asked", L"cancelled"};
  if (end == SaveEnd::kCannotCreate) {
    seen.insert(seen.begin() + 1, CannotCreate(temporary));
  }
  EXPECT_EQ(Save(browser, fault), seen);
  EXPECT_EQ(m_frees, m_loads) << "each load is freed once";
  const bool wasAsked = browser->saveDialogCalls != 0;
  EXPECT_EQ(m_freedBlocks, wasAsked && browser->saveDialogPath[0] != L'\0' ? 1 : 0);
  EXPECT_EQ(dialog.Calls(), end == SaveEnd::kByDialog ? 1 : 0);
  EXPECT_EQ(browser->cancelCalls, fault.cancels);
  EXPECT_TRUE(fault.cancels == 0 || browser->cancelledState == (wasAsked ? kState : nullptr));

  const bool isBrowsers = end == SaveEnd::kByBrowser;
  EXPECT_EQ(browser->saveCalls, isBrowsers ? 1 : 0);
  if (isBrowsers) {
    EXPECT_EQ(browser->savedState, kState);
    EXPECT_EQ(browser->savedSource, temporary);
    EXPECT_EQ(browser->savedSize, static_cast<LONGLONG>(LessonBytes().size()));
  }
  const bool isCopy = end == SaveEnd::kByDialog || end == SaveEnd::kCopied;
  const bool isLeft = isBrowsers || end == SaveEnd::kCannotCreate;
  const std::wstring kept = isCopy ? m_sandbox / fault.copy : isLeft ? temporary : L"";
  EXPECT_EQ(m_sandbox.Files().size(), kept.empty() ? 0u : 1u);
  EXPECT_TRUE(kept.empty() || ReadFileBytes(kept) == LessonBytes());
  DeleteFileW(kept.c_str());
}

TEST_F(NavigationProtectedFaults, MissingLibraryAndFunctions) {
  RunAll({
      {"all there", SaveEnd::kByBrowser},
      {"no library", SaveEnd::kByDialog, nullptr, "", 1},
      {"library gone at the dialog", SaveEnd::kNotChosen, nullptr, "", 2},
      {"library gone at the end", SaveEnd::kCannotCreate, nullptr, "", 3},
      {"no question", SaveEnd::kByDialog, nullptr, "IEIsProtectedModeProcess"},
      {"no dialog", SaveEnd::kNotChosen, nullptr, "IEShowSaveFileDialog", 0, 1},
      {"nothing to cancel with", SaveEnd::kNotChosen,
       [](CIeFrameRecord& browser) { browser.saveDialogResult = S_FALSE; }, "IECancelSaveFile"},
      {"nothing to save with", SaveEnd::kCannotCreate, nullptr, "IESaveFile", 0, 1},
  });
}

TEST_F(NavigationProtectedFaults, ChoiceMayBeRefusedOrLackItsPathOrItsState) {
  const auto choice = [](const std::wstring& path, HANDLE state = nullptr) {
    return [=](CIeFrameRecord& browser) {
      wcscpy(browser.saveDialogPath, path.c_str());
      browser.saveDialogState = state;
    };
  };
  const std::wstring longPath = L"C:\\" + std::wstring(1000, L'n');
  std::vector<CProtectedFault> faults = {
      {"no path", SaveEnd::kByBrowser, choice(L"", kState)},
      {"no state", SaveEnd::kCopied, choice(m_sandbox / L"chosen.qdk")},
      // An empty path gets the extension all the same: a file of the current folder.
      {"neither", SaveEnd::kCopied, choice(L""), "", 0, 0, L".qdk"},
      {"1,000 characters", SaveEnd::kByBrowser, choice(longPath, kState)},
      {"1,000 characters, no state", SaveEnd::kLost, choice(longPath)},
      {"folder missing, no state", SaveEnd::kLost, choice(L"C:\\none\\a.qdk")},
  };
  for (const HRESULT answer : {S_FALSE, E_ABORT, HRESULT_FROM_WIN32(ERROR_CANCELLED)}) {
    for (const wchar_t* path : {L"", L"C:\\a.qdk"}) {
      faults.push_back({testing::PrintToString(answer), SaveEnd::kNotChosen,
                        [=](CIeFrameRecord& browser) {
                          wcscpy(browser.saveDialogPath, path);
                          browser.saveDialogResult = answer;
                          browser.cancelResult = E_FAIL;  // may fail, too
                        },
                        "", 0, 1});
    }
  }
  RunAll(faults);
}

TEST_F(NavigationProtectedFaults, FailuresOfTheFunctionsAreNotReported) {
  std::vector<CProtectedFault> faults = {
      {"not protected", SaveEnd::kByDialog,
       [](CIeFrameRecord& browser) { browser.isProtectedMode = FALSE; }}};
  for (const HRESULT answer : {S_FALSE, E_FAIL, E_OUTOFMEMORY}) {
    faults.push_back({"save", SaveEnd::kByBrowser,
                      [=](CIeFrameRecord& browser) { browser.saveResult = answer; }});
    faults.push_back({"question", answer == S_FALSE ? SaveEnd::kByBrowser : SaveEnd::kByDialog,
                      [=](CIeFrameRecord& browser) { browser.protectedModeResult = answer; }});
  }
  RunAll(faults);
}

TEST_F(NavigationProtectedFaults, TemporaryFileDeletedBeforeTheBrowserGetsItIsNotReported) {
  Checks().Run([&] {
    const CIeFrameDouble browser;
    const auto remove = [&] { EXPECT_TRUE(DeleteFileW(Temporary(kTemporary).c_str())); };
    EXPECT_EQ(Save(browser, {"", SaveEnd::kByBrowser}, remove), (CSeen{L"asked", L"cancelled"}));
    EXPECT_EQ(browser->saveCalls, 1);
    EXPECT_EQ(browser->savedSize, -1);
    EXPECT_EQ(m_sandbox.Files(), Files());
  });
}

}  // namespace
