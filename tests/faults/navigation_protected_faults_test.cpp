// The browser's functions for saving in its protected mode: not there, refusing, failing, answering
// in odd ways. Each cell is a whole "Save" of a lesson.

#include <objbase.h>

#include <functional>
#include <memory>

#include "tests/browser/common_dialog.h"
#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"

namespace {

using Texts = std::vector<std::wstring>;

const HANDLE kState = GetCurrentThread();  // any value: only handed on

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
  int failingLoad = 0;       // of the library: 1 for the first, 0 for none
  int cancels = 0;           // calls of IECancelSaveFile
  std::wstring copy = L"chosen.qdk";
};

// The library is loaded for the question, for the dialog and for the delivery.
constexpr int kDeliveringLoad = 3;

std::string g_missing;
std::function<void()> g_beforeDelivery = [] {};
int g_failingLoad;
int g_loads;
int g_frees;
std::vector<void*> g_freed;
decltype(&LoadLibraryW) g_load;
decltype(&FreeLibrary) g_free;
decltype(&GetProcAddress) g_find;
decltype(&CoTaskMemFree) g_release;

bool IsBrowsersLibrary(LPCWSTR name) { return _wcsicmp(name, L"ieframe.dll") == 0; }

HMODULE WINAPI Load(LPCWSTR name) {
  if (IsBrowsersLibrary(name) && ++g_loads == kDeliveringLoad) {
    g_beforeDelivery();
  }
  if (IsBrowsersLibrary(name) && g_loads == g_failingLoad) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  return g_load(name);
}

BOOL WINAPI Free(HMODULE module) {
  g_frees += module == GetModuleHandleW(L"ieframe.dll") ? 1 : 0;
  return g_free(module);
}

FARPROC WINAPI Find(HMODULE module, LPCSTR name) {
  return g_missing == name ? nullptr : g_find(module, name);
}

void WINAPI Release(void* memory) {
  if (memory != nullptr) {
    g_freed.push_back(memory);
  }
  g_release(memory);
}

class ProtectedFaults : public NavigationFaults {
 protected:
  ProtectedFaults()
      : NavigationFaults(kSave),
        m_load("kernel32.dll", "LoadLibraryW", &Load),
        m_free("kernel32.dll", "FreeLibrary", &Free),
        m_find("kernel32.dll", "GetProcAddress", &Find),
        m_release("ole32.dll", "CoTaskMemFree", &Release) {
    g_load = m_load.Original<decltype(LoadLibraryW)>();
    g_free = m_free.Original<decltype(FreeLibrary)>();
    g_find = m_find.Original<decltype(GetProcAddress)>();
    g_release = m_release.Original<decltype(CoTaskMemFree)>();
    SetCurrentDirectoryW(m_sandbox.Path().c_str());
  }
  ~ProtectedFaults() override { SetCurrentDirectoryW(L"C:\\"); }

  std::wstring Chosen() const { return m_sandbox / L"chosen.qdk"; }
  std::wstring Temporary() const {
    return m_sandbox / (std::wstring(kTempFiles) + L"iedownload.qdk");
  }

  void RunAll(const std::vector<CProtectedFault>& faults) {
    for (const CProtectedFault& fault : QuickCut(faults)) {
      SCOPED_TRACE(fault.name);
      Checks().Run([&] { Run(fault); });
    }
  }

  void Run(const CProtectedFault& fault) {
    const CIeFrameDouble browser;
    browser->isProtectedMode = TRUE;
    browser->saveDialogState = kState;
    wcscpy(browser->saveDialogPath, Chosen().c_str());
    const CCommonDialog dialog(Chosen());
    fault.prepare(*browser.operator->());
    const bool givesPath = browser->saveDialogPath[0] != L'\0';
    const ScriptedPath path(m_server, Lesson());

    g_missing = fault.missing;
    g_failingLoad = fault.failingLoad;
    g_loads = g_frees = 0;
    g_freed.clear();
    const CNavigationResult outcome = Navigate(path.Url(L"a.qdk"));
    g_missing.clear();
    g_failingLoad = 0;

    EXPECT_EQ(outcome.result, S_OK);
    EXPECT_TRUE(outcome.cancelled);
    EXPECT_EQ(outcome.prompts, 1);
    EXPECT_TRUE(outcome.launches.empty());
    EXPECT_EQ(outcome.messages,
              fault.end == SaveEnd::kCannotCreate ? Texts{CannotCreate(Temporary())} : Texts());
    EXPECT_EQ(g_frees, g_loads - (fault.failingLoad != 0 ? 1 : 0)) << "each load is freed once";
    EXPECT_EQ(g_freed.size(), browser->saveDialogCalls != 0 && givesPath ? 1u : 0u);
    EXPECT_EQ(dialog.Calls(), fault.end == SaveEnd::kByDialog ? 1 : 0);
    EXPECT_EQ(browser->cancelCalls, fault.cancels);
    if (fault.cancels != 0) {
      EXPECT_EQ(browser->cancelledState, browser->saveDialogCalls != 0 ? kState : nullptr);
    }
    ExpectFiles(fault, *browser.operator->());
  }

 private:
  void ExpectFiles(const CProtectedFault& fault, const CIeFrameRecord& browser) {
    const SaveEnd end = fault.end;
    const bool isBrowsers = end == SaveEnd::kByBrowser;
    EXPECT_EQ(browser.saveCalls, isBrowsers ? 1 : 0);
    if (isBrowsers) {
      EXPECT_EQ(browser.savedState, kState);
      EXPECT_EQ(browser.savedSource, Temporary());
      EXPECT_EQ(browser.savedSize, static_cast<LONGLONG>(LessonBytes().size()));
    }
    const bool isCopy = end == SaveEnd::kByDialog || end == SaveEnd::kCopied;
    const bool isLeft = isBrowsers || end == SaveEnd::kCannotCreate;
    const std::wstring kept = isCopy ? m_sandbox / fault.copy : isLeft ? Temporary() : L"";
    EXPECT_EQ(m_sandbox.Files().size(), kept.empty() ? 0u : 1u);
    if (!kept.empty()) {
      EXPECT_TRUE(ReadFileBytes(kept) == LessonBytes());
      DeleteFileW(kept.c_str());
    }
  }

  CImportPatch m_load;
  CImportPatch m_free;
  CImportPatch m_find;
  CImportPatch m_release;
};

TEST_F(ProtectedFaults, MissingLibraryAndFunctions) {
  RunAll({
      {"all there", SaveEnd::kByBrowser},
      {"no library", SaveEnd::kByDialog, [](CIeFrameRecord&) {}, "", 1},
      {"library gone at the dialog", SaveEnd::kNotChosen, [](CIeFrameRecord&) {}, "", 2},
      {"library gone at the end", SaveEnd::kCannotCreate, [](CIeFrameRecord&) {}, "", 3},
      {"no question", SaveEnd::kByDialog, [](CIeFrameRecord&) {}, "IEIsProtectedModeProcess"},
      {"no dialog", SaveEnd::kNotChosen, [](CIeFrameRecord&) {}, "IEShowSaveFileDialog", 0, 1},
      {"nothing to cancel with", SaveEnd::kNotChosen,
       [](CIeFrameRecord& browser) { browser.saveDialogResult = S_FALSE; }, "IECancelSaveFile"},
      {"nothing to cancel with, nor to cancel", SaveEnd::kByBrowser, [](CIeFrameRecord&) {},
       "IECancelSaveFile"},
      {"nothing to save with", SaveEnd::kCannotCreate, [](CIeFrameRecord&) {}, "IESaveFile", 0, 1},
  });
}

TEST_F(ProtectedFaults, EveryAnswerButSuccessIsNoChoice) {
  std::vector<CProtectedFault> faults;
  for (const HRESULT answer :
       {S_FALSE, HRESULT{2}, E_ABORT, E_FAIL, E_ACCESSDENIED, E_OUTOFMEMORY, E_NOTIMPL,
        HRESULT_FROM_WIN32(ERROR_CANCELLED), RPC_E_DISCONNECTED}) {
    const std::string name = testing::PrintToString(answer);
    faults.push_back({name, SaveEnd::kNotChosen,
                      [=](CIeFrameRecord& browser) { browser.saveDialogResult = answer; }, "", 0,
                      1});
    faults.push_back({name + " without a path", SaveEnd::kNotChosen,
                      [=](CIeFrameRecord& browser) {
                        browser.saveDialogResult = answer;
                        browser.saveDialogPath[0] = L'\0';
                      },
                      "", 0, 1});
    faults.push_back({name + ", and the cancelling fails", SaveEnd::kNotChosen,
                      [=](CIeFrameRecord& browser) {
                        browser.saveDialogResult = answer;
                        browser.cancelResult = E_FAIL;
                      },
                      "", 0, 1});
  }
  RunAll(faults);
}

TEST_F(ProtectedFaults, ChoiceMayLackItsPathOrItsState) {
  const auto setLongPath = [](CIeFrameRecord& browser) {
    const std::wstring path = L"C:\\" + std::wstring(1000, L'n');
    path.copy(browser.saveDialogPath, path.size());
  };
  RunAll({
      {"no path", SaveEnd::kByBrowser,
       [](CIeFrameRecord& browser) { browser.saveDialogPath[0] = L'\0'; }},
      {"no state", SaveEnd::kCopied,
       [](CIeFrameRecord& browser) { browser.saveDialogState = nullptr; }},
      // An empty path gets the extension all the same: a file of the current folder.
      {"neither", SaveEnd::kCopied,
       [](CIeFrameRecord& browser) {
         browser.saveDialogState = nullptr;
         browser.saveDialogPath[0] = L'\0';
       },
       "", 0, 0, L".qdk"},
      {"1,000 characters", SaveEnd::kByBrowser, setLongPath},
      {"1,000 characters, no state", SaveEnd::kLost,
       [=](CIeFrameRecord& browser) {
         setLongPath(browser);
         browser.saveDialogState = nullptr;
       }},
      {"folder missing, no state", SaveEnd::kLost,
       [](CIeFrameRecord& browser) {
         browser.saveDialogState = nullptr;
         wcscpy(browser.saveDialogPath, L"C:\\none\\a.qdk");
       }},
  });
}

TEST_F(ProtectedFaults, FailuresOfTheFunctionsAreNotReported) {
  std::vector<CProtectedFault> faults;
  for (const HRESULT answer : {S_FALSE, E_FAIL, E_ACCESSDENIED, E_OUTOFMEMORY}) {
    const std::string name = testing::PrintToString(answer);
    faults.push_back({"save " + name, SaveEnd::kByBrowser,
                      [=](CIeFrameRecord& browser) { browser.saveResult = answer; }});
    faults.push_back({"question " + name,
                      SUCCEEDED(answer) ? SaveEnd::kByBrowser : SaveEnd::kByDialog,
                      [=](CIeFrameRecord& browser) { browser.protectedModeResult = answer; }});
  }
  faults.push_back({"not protected", SaveEnd::kByDialog,
                    [](CIeFrameRecord& browser) { browser.isProtectedMode = FALSE; }});
  RunAll(faults);
}

TEST_F(ProtectedFaults, TemporaryFileDeletedBeforeTheBrowserGetsItIsNotMissed) {
  Checks().Run([&] {
    const CIeFrameDouble browser;
    browser->isProtectedMode = TRUE;
    browser->saveDialogState = kState;
    wcscpy(browser->saveDialogPath, Chosen().c_str());
    g_loads = 0;
    g_beforeDelivery = [&] { EXPECT_TRUE(DeleteFileW(Temporary().c_str())); };
    const ScriptedPath path(m_server, Lesson());
    const CNavigationResult outcome = Navigate(path.Url(L"a.qdk"));
    g_beforeDelivery = [] {};
    EXPECT_TRUE(outcome.cancelled);
    EXPECT_EQ(outcome.messages, Texts());
    EXPECT_EQ(browser->saveCalls, 1);
    EXPECT_EQ(browser->savedSize, -1);
    EXPECT_EQ(m_sandbox.Files(), Texts());
  });
}

}  // namespace
