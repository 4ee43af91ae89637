// The browser's functions for saving in its protected mode: not there, refusing, failing, answering
// in odd ways. Each cell is a whole "Save" of a lesson.

#include <objbase.h>

#include <functional>

#include "tests/browser/common_dialog.h"
#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialogs.h"

namespace {

using Texts = std::vector<std::wstring>;

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
  std::function<void(CIeFrameRecord&)> prepare = [](CIeFrameRecord&) {};
  std::string missing = {};  // function
  int failingLoad = 0;       // of the library: for the question, the dialog, the delivery; 0: none
  int cancels = 0;           // calls of IECancelSaveFile
  std::wstring copy = L"chosen.qdk";
};

class ProtectedFaults : public NavigationFaults {
 protected:
  ProtectedFaults() : NavigationFaults(kSaveButton) {
    SetCurrentDirectoryW(m_sandbox.Path().c_str());
  }
  ~ProtectedFaults() override { SetCurrentDirectoryW(L"C:\\"); }

  void RunAll(const std::vector<CProtectedFault>& faults) {
    for (const CProtectedFault& fault : QuickCut(faults)) {
      SCOPED_TRACE(fault.name);
      Checks().Run([&] { Run(fault); });
    }
  }

  /// Saves a lesson in the protected mode, with something to happen before the delivery.
  CNavigationResult Save(const CIeFrameDouble& browser, const CProtectedFault& fault,
                         const std::function<void()>& beforeDelivery = nullptr);

  int m_loads = 0;
  int m_frees = 0;
  int m_freedBlocks = 0;

 private:
  void Run(const CProtectedFault& fault);
};

CNavigationResult ProtectedFaults::Save(const CIeFrameDouble& browser, const CProtectedFault& fault,
                                        const std::function<void()>& beforeDelivery) {
  browser->isProtectedMode = TRUE;
  browser->saveDialogState = kState;
  wcscpy(browser->saveDialogPath, (m_sandbox / L"chosen.qdk").c_str());
  fault.prepare(*browser.operator->());
  m_loads = m_frees = m_freedBlocks = 0;
  const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW", [&](LPCWSTR name) {
    if (_wcsicmp(name, L"ieframe.dll") == 0) {
      if (++m_loads == 3 && beforeDelivery) {
        beforeDelivery();
      }
      if (m_loads == fault.failingLoad) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return HMODULE{nullptr};
      }
    }
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

void ProtectedFaults::Run(const CProtectedFault& fault) {
  const CIeFrameDouble browser;
  const CCommonDialog dialog(m_sandbox / L"chosen.qdk");
  const CNavigationResult outcome = Save(browser, fault);
  const SaveEnd end = fault.end;
  const std::wstring temporary = Temporary(kTemporary);

  EXPECT_EQ(outcome.result, S_OK);
  EXPECT_TRUE(outcome.cancelled);
  EXPECT_EQ(outcome.prompts, 1);
  EXPECT_TRUE(outcome.launches.empty());
  EXPECT_EQ(outcome.messages,
            end == SaveEnd::kCannotCreate ? Texts{CannotCreate(temporary)} : Texts());
  EXPECT_EQ(m_frees, m_loads - (fault.failingLoad != 0 ? 1 : 0)) << "each load is freed once";
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

void GiveNoPath(CIeFrameRecord& browser) { browser.saveDialogPath[0] = L'\0'; }
void GiveNoState(CIeFrameRecord& browser) { browser.saveDialogState = nullptr; }
void GiveLongPath(CIeFrameRecord& browser) {
  const std::wstring path = L"C:\\" + std::wstring(1000, L'n');
  path.copy(browser.saveDialogPath, path.size());
}

TEST_F(ProtectedFaults, MissingLibraryAndFunctions) {
  const auto nothing = [](CIeFrameRecord&) {};
  RunAll({
      {"all there", SaveEnd::kByBrowser},
      {"no library", SaveEnd::kByDialog, nothing, "", 1},
      {"library gone at the dialog", SaveEnd::kNotChosen, nothing, "", 2},
      {"library gone at the end", SaveEnd::kCannotCreate, nothing, "", 3},
      {"no question", SaveEnd::kByDialog, nothing, "IEIsProtectedModeProcess"},
      {"no dialog", SaveEnd::kNotChosen, nothing, "IEShowSaveFileDialog", 0, 1},
      {"nothing to cancel with", SaveEnd::kNotChosen,
       [](CIeFrameRecord& browser) { browser.saveDialogResult = S_FALSE; }, "IECancelSaveFile"},
      {"nothing to cancel with, nor to cancel", SaveEnd::kByBrowser, nothing, "IECancelSaveFile"},
      {"nothing to save with", SaveEnd::kCannotCreate, nothing, "IESaveFile", 0, 1},
  });
}

TEST_F(ProtectedFaults, EveryAnswerButSuccessIsNoChoice) {
  std::vector<CProtectedFault> faults;
  for (const HRESULT answer : {S_FALSE, HRESULT{2}, E_ABORT, E_ACCESSDENIED, E_OUTOFMEMORY,
                               HRESULT_FROM_WIN32(ERROR_CANCELLED), RPC_E_DISCONNECTED}) {
    for (const bool hasPath : {true, false}) {
      faults.push_back({testing::PrintToString(answer), SaveEnd::kNotChosen,
                        [=](CIeFrameRecord& browser) {
                          browser.saveDialogResult = answer;
                          // The cancelling may fail, too.
                          browser.cancelResult = hasPath ? E_FAIL : S_OK;
                          if (!hasPath) {
                            GiveNoPath(browser);
                          }
                        },
                        "", 0, 1});
    }
  }
  RunAll(faults);
}

TEST_F(ProtectedFaults, ChoiceMayLackItsPathOrItsState) {
  RunAll({
      {"no path", SaveEnd::kByBrowser, GiveNoPath},
      {"no state", SaveEnd::kCopied, GiveNoState},
      // An empty path gets the extension all the same: a file of the current folder.
      {"neither", SaveEnd::kCopied,
       [](CIeFrameRecord& browser) {
         GiveNoState(browser);
         GiveNoPath(browser);
       },
       "", 0, 0, L".qdk"},
      {"1,000 characters", SaveEnd::kByBrowser, GiveLongPath},
      {"1,000 characters, no state", SaveEnd::kLost,
       [](CIeFrameRecord& browser) {
         GiveNoState(browser);
         GiveLongPath(browser);
       }},
      {"folder missing, no state", SaveEnd::kLost,
       [](CIeFrameRecord& browser) {
         GiveNoState(browser);
         wcscpy(browser.saveDialogPath, L"C:\\none\\a.qdk");
       }},
  });
}

TEST_F(ProtectedFaults, FailuresOfTheFunctionsAreNotReported) {
  std::vector<CProtectedFault> faults = {
      {"not protected", SaveEnd::kByDialog,
       [](CIeFrameRecord& browser) { browser.isProtectedMode = FALSE; }}};
  for (const HRESULT answer : {S_FALSE, E_FAIL, E_ACCESSDENIED, E_OUTOFMEMORY}) {
    const std::string name = testing::PrintToString(answer);
    faults.push_back({"save " + name, SaveEnd::kByBrowser,
                      [=](CIeFrameRecord& browser) { browser.saveResult = answer; }});
    faults.push_back({"question " + name,
                      SUCCEEDED(answer) ? SaveEnd::kByBrowser : SaveEnd::kByDialog,
                      [=](CIeFrameRecord& browser) { browser.protectedModeResult = answer; }});
  }
  RunAll(faults);
}

TEST_F(ProtectedFaults, TemporaryFileDeletedBeforeTheBrowserGetsItIsNotReported) {
  Checks().Run([&] {
    const CIeFrameDouble browser;
    const CNavigationResult outcome = Save(browser, {"", SaveEnd::kByBrowser}, [&] {
      EXPECT_TRUE(DeleteFileW(Temporary(kTemporary).c_str()));
    });
    EXPECT_TRUE(outcome.cancelled);
    EXPECT_EQ(outcome.messages, Texts());
    EXPECT_EQ(browser->saveCalls, 1);
    EXPECT_EQ(browser->savedSize, -1);
    EXPECT_EQ(m_sandbox.Files(), Texts());
  });
}

}  // namespace
