#include "browser/save_dialog.h"

#include <commdlg.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/atl/base/failing_malloc.h"
#include "tests/browser/common_dialog.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/lookup_patch.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"

namespace {

constexpr wchar_t kLessons[] =
    L"Folivo Files (*.folivo;*.qdk;*.fvk)|*.folivo;*.qdk;*.fvk|All Files|*.*|";
constexpr wchar_t kGalleries[] =
    L"Gallery Files (*.gallery;*.galleryitem;*.qdc;*.qdt;*.qdi)|"
    L"*.gallery;*.galleryitem;*.qdc;*.qdt;*.qdi|All Files|*.*|";

constexpr DWORD kOldSize = 136;  // up to lpTemplateName

const HWND kOwner = GetDesktopWindow();
const HANDLE kState = GetCurrentThread();  // any value: only handed on

std::wstring ChosenPath(const std::wstring& choice, LPCWSTR extension = L".folivo") {
  const CCommonDialog dialog(choice);
  const auto answer = AskSavePath(kOwner, false, L"lesson.folivo", extension);
  return answer ? answer->path.GetText().GetString() : L"nothing";
}

TEST(SaveFilter, FollowsTheTypeOfTheFile) {
  constexpr struct {
    LPCWSTR extension;
    LPCWSTR filter;
  } kCases[] = {
      {L".folivo", kLessons},
      {L".qdk", kLessons},
      {L".fvk", kLessons},
      {L".QDK", kLessons},
      {L".gallery", kGalleries},
      {L".galleryitem", kGalleries},
      {L".qdc", kGalleries},
      {L".qdi", kGalleries},
      {L".txt", kGalleries},
      {L"", kGalleries},
      {L".qdt", L""},
  };
  for (const auto& [extension, filter] : kCases) {
    EXPECT_EQ(GetSaveFilter(extension), filter) << extension;
  }
  EXPECT_EQ(GetCommonDialogFilter(L".qdt"), L"");
}

TEST(SaveFilter, CommonDialogTakesNulsForTheBarsAndTwoAtTheEnd) {
  for (const auto& [extension, bars] : {std::pair(L".qdk", kLessons), {L".qdc", kGalleries}}) {
    const CStringW filter = GetCommonDialogFilter(extension);
    std::wstring expected(bars);
    for (wchar_t& c : expected) {
      c = c == L'|' ? L'\0' : c;
    }
    // The text ends with the bar's NUL; its own terminator is the second one.
    EXPECT_EQ(std::wstring(filter.GetString(), static_cast<size_t>(filter.GetLength())), expected);
    EXPECT_EQ(filter.GetString()[filter.GetLength()], L'\0');
  }
}

TEST(CommonSaveDialog, IsGivenExactlyWhatItNeeds) {
  const CCommonDialog dialog(L"");
  AskSavePath(kOwner, false, L"My Lesson.folivo", L".folivo");
  ASSERT_EQ(dialog.Calls(), 1);
  const OPENFILENAMEW& given = dialog.Given();
  EXPECT_EQ(given.lStructSize, sizeof(OPENFILENAMEW));
  EXPECT_EQ(given.hwndOwner, kOwner);
  EXPECT_EQ(dialog.GivenFilter(), kLessons);
  EXPECT_EQ(given.nFilterIndex, 1u);
  EXPECT_EQ(dialog.GivenName(), L"My Lesson.folivo");
  EXPECT_EQ(given.nMaxFile, 260u);
  EXPECT_EQ(given.Flags, 0x88806u);
  EXPECT_EQ(given.nFileExtension, 10);
  EXPECT_EQ(given.lpstrInitialDir, nullptr);
  EXPECT_EQ(given.lpstrTitle, nullptr);
  EXPECT_EQ(given.lpstrDefExt, nullptr);
  EXPECT_EQ(given.lpfnHook, nullptr);
  EXPECT_EQ(given.nFileOffset, 0);
}

TEST(CommonSaveDialog, ExtensionOffsetIsZeroWithoutDot) {
  const CCommonDialog dialog(L"");
  AskSavePath(kOwner, false, L"1", L".folivo");
  EXPECT_EQ(dialog.Given().nFileExtension, 0);
}

TEST(CommonSaveDialog, FilterFollowsTheExtension) {
  const CCommonDialog dialog(L"");
  AskSavePath(kOwner, false, L"a.gallery", L".gallery");
  EXPECT_EQ(dialog.GivenFilter(), kGalleries);
  AskSavePath(kOwner, false, L"a.qdt", L".qdt");
  EXPECT_EQ(dialog.GivenFilter(), L"none");
}

TEST(CommonSaveDialog, OldSystemsAreGivenTheOldSize) {
  struct {
    BOOL succeeds;
    DWORD platform;
    DWORD major;
    DWORD size;
  } const cases[] = {
      {TRUE, VER_PLATFORM_WIN32_NT, 5, sizeof(OPENFILENAMEW)},
      {TRUE, VER_PLATFORM_WIN32_NT, 4, kOldSize},
      {TRUE, VER_PLATFORM_WIN32_WINDOWS, 5, kOldSize},
      {FALSE, VER_PLATFORM_WIN32_NT, 5, kOldSize},
  };
  static BOOL answer;
  static OSVERSIONINFOW version;
  const CImportPatch patch(
      "kernel32.dll", "GetVersionExW", +[](OSVERSIONINFOW* out) -> BOOL {
        out->dwPlatformId = version.dwPlatformId;
        out->dwMajorVersion = version.dwMajorVersion;
        return answer;
      });
  const CCommonDialog dialog(L"");
  for (const auto& [succeeds, platform, major, size] : cases) {
    answer = succeeds;
    version.dwPlatformId = platform;
    version.dwMajorVersion = major;
    AskSavePath(kOwner, false, L"a.folivo", L".folivo");
    EXPECT_EQ(dialog.Given().lStructSize, size);
  }
}

TEST(CommonSaveDialog, LongNameIsCutToTheBuffer) {
  const CCommonDialog dialog(L"");
  AskSavePath(kOwner, false, std::wstring(259, L'n').c_str(), L".qdk");
  EXPECT_EQ(dialog.GivenName(), std::wstring(259, L'n'));
  AskSavePath(kOwner, false, std::wstring(260, L'n').c_str(), L".qdk");
  EXPECT_EQ(dialog.GivenName(), std::wstring(259, L'n'));
  AskSavePath(kOwner, false, std::wstring(5000, L'n').c_str(), L".qdk");
  EXPECT_EQ(dialog.GivenName(), std::wstring(259, L'n'));
}

TEST(SaveChoice, CancellingChoosesNothing) { EXPECT_EQ(ChosenPath(L""), L"nothing"); }

TEST(SaveChoice, PathIsNormalisedOnce) {
  EXPECT_EQ(ChosenPath(L"C:/x/name.qdk"), L"C:\\x\\name.qdk");
  EXPECT_EQ(ChosenPath(L"C:\\x\\name.qdk\\"), L"C:\\x\\name.qdk");
  // What is left of these would be cut by a second time.
  EXPECT_EQ(ChosenPath(L"file:///C:/x/name.qdk"), L"file:\\\\\\C:\\x\\name.qdk");
  EXPECT_EQ(ChosenPath(L"C:\\x\\name.qdk\\\\"), L"C:\\x\\name.qdk\\.folivo");
}

TEST(SaveChoice, ExtensionIsAddedWhereThereIsNone) {
  EXPECT_EQ(ChosenPath(L"C:\\x\\name"), L"C:\\x\\name.folivo");
  EXPECT_EQ(ChosenPath(L"C:\\x.y\\name", L".qdt"), L"C:\\x.y\\name.qdt");
  EXPECT_EQ(ChosenPath(L"C:\\x\\name.txt"), L"C:\\x\\name.txt");
}

TEST(SaveChoice, NoSaveStateOutsideTheProtectedMode) {
  const CCommonDialog dialog(L"C:\\x\\name.qdk");
  EXPECT_FALSE(AskSavePath(kOwner, false, L"a.qdk", L".qdk")->saveState);
}

TEST(SaveChoice, AppendedExtensionReplacesAFileOnlyAfterYes) {
  const CTempSandbox sandbox;
  sandbox.Write(L"taken.folivo", "the user's");
  sandbox.Write(L"taken", "asked about by the dialog");
  std::filesystem::create_directory(sandbox / L"folder.folivo");
  struct {
    std::wstring typed;
    bool isAsked;
  } const cases[] = {
      {L"taken", true}, {L"taken.folivo", false}, {L"free", false}, {L"folder", false}};
  for (const auto& [typed, isAsked] : cases) {
    for (const int answer : {IDYES, IDNO}) {
      SCOPED_TRACE(testing::PrintToString(typed) + " " + std::to_string(answer));
      CMessageRecorder messages(answer);
      const bool isChosen = ChosenPath(sandbox / typed) != L"nothing";
      EXPECT_EQ(isChosen, !isAsked || answer == IDYES);
      const auto shown = messages.Take();
      ASSERT_EQ(shown.size(), isAsked ? 1u : 0u);
      if (isAsked) {
        EXPECT_EQ(shown[0].text, L"taken.folivo already exists. Do you want to replace it?");
        EXPECT_EQ(shown[0].owner, kOwner);
      }
    }
  }
  EXPECT_EQ(ReadFileBytes(sandbox / L"taken.folivo"), "the user's");
}

std::wstring CurrentDirectory() {
  wchar_t path[MAX_PATH] = {};
  GetCurrentDirectoryW(MAX_PATH, path);
  return path;
}

std::wstring g_moveTo;
BOOL g_answer;

BOOL WINAPI MoveTheProcess(OPENFILENAMEW* dialog) {
  EXPECT_TRUE(SetCurrentDirectoryW(g_moveTo.c_str()));
  wcscpy(dialog->lpstrFile, L"C:\\x\\a.qdk");
  return g_answer;
}

TEST(CommonSaveDialog, CurrentDirectoryIsPutBackWhateverTheAnswer) {
  const CTempSandbox sandbox;
  g_moveTo = sandbox.Path();
  const std::wstring before = CurrentDirectory();
  const CLookupPatch patch("GetSaveFileNameW", &MoveTheProcess);
  for (const BOOL answer : {TRUE, FALSE}) {
    g_answer = answer;
    EXPECT_EQ(AskSavePath(kOwner, false, L"a.qdk", L".qdk").has_value(), answer != FALSE);
    EXPECT_EQ(CurrentDirectory(), before);
  }
  SetCurrentDirectoryW(before.c_str());  // so that the folder can be deleted
}

TEST(CommonSaveDialog, CurrentDirectoryIsPutBackByEachOfTwoThatOverlap) {
  const CTempSandbox sandbox;
  const std::wstring before = CurrentDirectory();
  g_moveTo = sandbox.Path();
  static CHandle firstMoved;
  static CHandle secondOpened;
  static CHandle firstClosed;
  for (CHandle* const event : {&firstMoved, &secondOpened, &firstClosed}) {
    event->Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  }
  const CLookupPatch patch(
      "GetSaveFileNameW", +[](OPENFILENAMEW* dialog) -> BOOL {
        const bool isFirst = wcscmp(dialog->lpstrFile, L"first") == 0;
        if (isFirst) {
          EXPECT_TRUE(SetCurrentDirectoryW(g_moveTo.c_str()));
        }
        SetEvent(isFirst ? firstMoved : secondOpened);
        EXPECT_EQ(WaitForSingleObject(isFirst ? secondOpened : firstClosed, 20000), WAIT_OBJECT_0);
        if (!isFirst) {
          EXPECT_NE(CurrentDirectory(), g_moveTo);
          EXPECT_TRUE(SetCurrentDirectoryW(g_moveTo.c_str()));
        }
        return FALSE;
      });
  CParallel first([] {
    AskSavePath(kOwner, false, L"first", L".qdk");
    SetEvent(firstClosed);
  });
  EXPECT_EQ(WaitForSingleObject(firstMoved, 20000), WAIT_OBJECT_0);
  AskSavePath(kOwner, false, L"second", L".qdk");
  first.Join();
  EXPECT_EQ(CurrentDirectory(), before);
  SetCurrentDirectoryW(before.c_str());  // so that the folder can be deleted
}

TEST(CommonSaveDialog, SystemsDirectoryStandsInForOneThatHasGone) {
  const CTempSandbox sandbox;
  const std::wstring before = CurrentDirectory();
  g_moveTo = sandbox.Path();
  const std::wstring gone = sandbox / L"gone";
  ASSERT_TRUE(CreateDirectoryW(gone.c_str(), nullptr));
  ASSERT_TRUE(SetCurrentDirectoryW(gone.c_str()));
  static LPCWSTR removed;
  removed = gone.c_str();
  const CLookupPatch patch(
      "GetSaveFileNameW", +[](OPENFILENAMEW*) -> BOOL {
        EXPECT_TRUE(SetCurrentDirectoryW(g_moveTo.c_str()));
        EXPECT_TRUE(RemoveDirectoryW(removed));
        return FALSE;
      });
  AskSavePath(kOwner, false, L"a.qdk", L".qdk");
  wchar_t system[MAX_PATH] = {};
  GetSystemDirectoryW(system, MAX_PATH);
  EXPECT_EQ(CurrentDirectory(), system);
  SetCurrentDirectoryW(before.c_str());
}

/// The user picks `path` in the browser's dialog.
void Choose(const CIeFrameDouble& browser, const std::wstring& path) {
  browser->saveDialogState = kState;
  path.copy(browser->saveDialogPath, ARRAYSIZE(browser->saveDialogPath) - 1);
}

TEST(ProtectedSaveDialog, IsGivenExactlyWhatItNeeds) {
  const CIeFrameDouble browser;
  AskSavePath(kOwner, true, L"My Lesson.folivo", L".folivo");
  EXPECT_EQ(browser->saveDialogCalls, 1);
  EXPECT_EQ(browser->saveDialogOwner, kOwner);
  EXPECT_EQ(std::wstring(browser->saveDialogFileName), L"My Lesson.folivo");
  EXPECT_FALSE(browser->saveDialogHasFolder);
  EXPECT_EQ(std::wstring(browser->saveDialogFilter), kLessons);
  EXPECT_FALSE(browser->saveDialogHasExtension);
  EXPECT_EQ(browser->saveDialogFilterIndex, 1u);
  EXPECT_EQ(browser->saveDialogFlags, 0x88806u);
}

TEST(ProtectedSaveDialog, FilterFollowsTheExtension) {
  const CIeFrameDouble browser;
  AskSavePath(kOwner, true, L"a.galleryitem", L".galleryitem");
  EXPECT_EQ(std::wstring(browser->saveDialogFilter), kGalleries);
  AskSavePath(kOwner, true, L"a.qdt", L".qdt");
  EXPECT_FALSE(browser->saveDialogHasFilter);
}

TEST(ProtectedSaveDialog, ChoiceComesWithItsState) {
  const CIeFrameDouble browser;
  Choose(browser, L"C:/x/name");
  auto choice = AskSavePath(kOwner, true, L"a.qdk", L".qdk");
  ASSERT_TRUE(choice);
  EXPECT_EQ(choice->path.GetText(), L"C:\\x\\name.qdk");
  EXPECT_EQ(choice->saveState.Detach(), kState);
  choice.reset();
  EXPECT_EQ(browser->cancelCalls, 0);
  EXPECT_EQ(browser->saveCalls, 0);
}

TEST(ProtectedSaveDialog, UnusedStateIsCancelledOnce) {
  const CIeFrameDouble browser;
  Choose(browser, L"C:\\x\\name");
  AskSavePath(kOwner, true, L"a.qdk", L".qdk");
  EXPECT_EQ(browser->cancelCalls, 1);
  EXPECT_EQ(browser->cancelledState, kState);
}

TEST(ProtectedSaveDialog, OutOfMemoryAfterTheChoiceCancelsItOnce) {
  const CIeFrameDouble browser;
  Choose(browser, L"C:\\x\\name");
  // The path is freed when it has been read, before it is made the choice.
  static std::unique_ptr<CFailingMalloc> failing;
  static decltype(&CoTaskMemFree) release;
  const CImportPatch patch(
      "ole32.dll", "CoTaskMemFree", +[](void* memory) {
        release(memory);
        failing = std::make_unique<CFailingMalloc>(0);
      });
  release = patch.Original<void WINAPI(void*)>();
  HRESULT thrown = S_OK;
  const CStringW name(L"a.qdk");
  const CStringW extension(L".qdk");
  try {
    AtlThrow(S_FALSE);  // What a thread keeps for exceptions is allocated with its first one.
  } catch (const CAtlException&) {
  }
  try {
    AskSavePath(kOwner, true, name, extension);
  } catch (const CAtlException& e) {
    thrown = e.m_hr;
  }
  failing.reset();
  EXPECT_EQ(thrown, E_OUTOFMEMORY);
  EXPECT_EQ(browser->cancelCalls, 1);
  EXPECT_EQ(browser->cancelledState, kState);
}

TEST(ProtectedSaveDialog, AppendedExtensionAsksNothing) {
  const CTempSandbox sandbox;
  sandbox.Write(L"taken.qdk", "the user's");
  const CIeFrameDouble browser;
  CMessageRecorder messages(IDNO);
  Choose(browser, sandbox / L"taken");
  EXPECT_TRUE(AskSavePath(kOwner, true, L"a.qdk", L".qdk"));
  EXPECT_TRUE(messages.Take().empty());
}

TEST(ProtectedSaveDialog, EveryAnswerButSuccessCancelsTheSave) {
  for (const HRESULT answer : {S_FALSE, E_FAIL, HRESULT_FROM_WIN32(ERROR_CANCELLED), E_ABORT}) {
    const CIeFrameDouble browser;
    Choose(browser, L"C:\\x\\name.qdk");
    browser->saveDialogResult = answer;
    EXPECT_FALSE(AskSavePath(kOwner, true, L"a.qdk", L".qdk"));
    EXPECT_EQ(browser->cancelCalls, 1);
    EXPECT_EQ(browser->cancelledState, kState);
  }
}

TEST(ProtectedSaveDialog, PathOfTheBrowserIsFreedWhateverItsAnswer) {
  static int freed;
  static decltype(&CoTaskMemFree) release;
  const CImportPatch patch(
      "ole32.dll", "CoTaskMemFree", +[](void* memory) {
        freed += memory != nullptr ? 1 : 0;
        release(memory);
      });
  release = patch.Original<void WINAPI(void*)>();
  for (const HRESULT answer : {S_OK, E_FAIL}) {
    const CIeFrameDouble browser;
    Choose(browser, L"C:\\x\\name.qdk");
    browser->saveDialogResult = answer;
    freed = 0;
    AskSavePath(kOwner, true, L"a.qdk", L".qdk");
    EXPECT_EQ(freed, 1);
  }
}

TEST(ProtectedSaveDialog, LongChoiceIsCutToTheBuffer) {
  const CIeFrameDouble browser;
  Choose(browser, L"C:\\" + std::wstring(400, L'n'));
  const auto choice = AskSavePath(kOwner, true, L"a.qdk", L".qdk");
  ASSERT_TRUE(choice);
  EXPECT_EQ(std::wstring(choice->path), L"C:\\" + std::wstring(256, L'n') + L".qdk");
}

TEST(ProtectedSaveDialog, LibraryIsFreedOnEveryWay) {
  const CIeFrameDouble browser;
  static int balance;
  balance = 0;
  static decltype(&LoadLibraryW) load;
  static decltype(&FreeLibrary) release;
  const CImportPatch loading(
      "kernel32.dll", "LoadLibraryW", +[](LPCWSTR name) -> HMODULE {
        ++balance;
        return load(name);
      });
  const CImportPatch freeing(
      "kernel32.dll", "FreeLibrary", +[](HMODULE module) -> BOOL {
        --balance;
        return release(module);
      });
  load = loading.Original<decltype(LoadLibraryW)>();
  release = freeing.Original<decltype(FreeLibrary)>();
  Choose(browser, L"C:\\a.qdk");
  AskSavePath(kOwner, true, L"a.qdk", L".qdk");
  EXPECT_EQ(balance, 0);
  browser->saveDialogResult = E_FAIL;
  AskSavePath(kOwner, true, L"a.qdk", L".qdk");
  EXPECT_EQ(balance, 0);
}

TEST(SaveChoice, MissingLibraryOrFunctionChoosesNothing) {
  for (const bool isProtected : {false, true}) {
    SCOPED_TRACE(isProtected);
    {
      const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW",
                                           [](LPCWSTR) { return nullptr; });
      EXPECT_FALSE(AskSavePath(kOwner, isProtected, L"a.qdk", L".qdk"));
      EXPECT_FALSE(load.Calls().empty());
    }
    const CImportSpy<&GetProcAddress> find("kernel32.dll", "GetProcAddress",
                                           [](HMODULE, LPCSTR) { return nullptr; });
    EXPECT_FALSE(AskSavePath(kOwner, isProtected, L"a.qdk", L".qdk"));
    EXPECT_FALSE(find.Calls().empty());
  }
}

}  // namespace
