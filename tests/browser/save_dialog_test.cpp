#include "browser/save_dialog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "browser/current_directory_keeper.h"
#include "tests/browser/fake_save_dialog.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/import_spy.h"
#include "tests/support/message_recorder.h"
#include "tests/support/temp_sandbox.h"

namespace {

constexpr wchar_t kLessons[] =
    L"Folivo Files (*.folivo;*.qdk;*.fvk)|*.folivo;*.qdk;*.fvk|All Files|*.*|";
constexpr wchar_t kGalleries[] =
    L"Gallery Files (*.gallery;*.galleryitem;*.qdc;*.qdt;*.qdi)|"
    L"*.gallery;*.galleryitem;*.qdc;*.qdt;*.qdi|All Files|*.*|";

constexpr DWORD kFlags = 0x88806;
constexpr DWORD kOldSize = 136;  // up to lpTemplateName

const HWND kOwner = GetDesktopWindow();
const HANDLE kState = GetCurrentThread();  // any value: only handed on

std::wstring ChosenPath(const std::wstring& choice, LPCWSTR extension = L".folivo") {
  const CFakeSaveDialog dialog(choice);
  const auto answer = AskSavePath(kOwner, false, L"lesson.folivo", extension);
  return answer ? answer->path.GetText().GetString() : L"nothing";
}

TEST(SaveDialogFilter, FollowsTheTypeOfTheFile) {
  const std::pair<LPCWSTR, LPCWSTR> rows[] = {{L".folivo", kLessons},
                                              {L".qdk", kLessons},
                                              {L".fvk", kLessons},
                                              {L".QDK", kLessons},
                                              {L".gallery", kGalleries},
                                              {L".galleryitem", kGalleries},
                                              {L".qdc", kGalleries},
                                              {L".qdi", kGalleries},
                                              {L".txt", kGalleries},
                                              {L"", kGalleries},
                                              {L".qdt", L""}};
  const CIeFrameDouble browser;
  const CFakeSaveDialog dialog(L"");
  for (const auto& [extension, filter] : rows) {
    const std::wstring expected(filter);
    EXPECT_EQ(GetSaveFilter(extension), filter) << extension;
    AskSavePath(kOwner, false, L"a", extension);
    EXPECT_EQ(dialog.GivenFilter(), expected.empty() ? L"none" : expected) << extension;
    AskSavePath(kOwner, true, L"a", extension);
    EXPECT_EQ(browser->saveDialogHasFilter, !expected.empty()) << extension;
    EXPECT_TRUE(expected.empty() || expected == browser->saveDialogFilter) << extension;
  }
}

TEST(SaveDialogCommon, StructureHasExactlyTheseFields) {
  const std::wstring longest(259, L'n');
  const struct {
    std::wstring name;
    std::wstring given;
    WORD extensionAt;
  } rows[] = {{L"My Lesson.folivo", L"My Lesson.folivo", 10},
              {L"1", L"1", 0},
              {longest, longest, 0},
              {longest + L"n", longest, 0}};
  const CFakeSaveDialog dialog(L"");
  for (const auto& row : rows) {
    AskSavePath(kOwner, false, row.name.c_str(), L".folivo");
    const OPENFILENAMEW& given = dialog.Given();
    EXPECT_EQ(dialog.GivenName(), row.given);
    EXPECT_EQ(given.nFileExtension, row.extensionAt);
    EXPECT_EQ(given.hwndOwner, kOwner);
    EXPECT_EQ(given.nFilterIndex, 1u);
    EXPECT_EQ(given.nMaxFile, 260u);
    EXPECT_EQ(given.Flags, kFlags);
    EXPECT_EQ(given.lpstrInitialDir, nullptr);
    EXPECT_EQ(given.lpstrTitle, nullptr);
    EXPECT_EQ(given.lpstrDefExt, nullptr);
    EXPECT_EQ(given.lpfnHook, nullptr);
    EXPECT_EQ(given.nFileOffset, 0);
  }
}

TEST(SaveDialogCommon, OldSystemIsGivenTheOldSize) {
  const struct {
    BOOL succeeds;
    DWORD platform;
    DWORD major;
    DWORD size;
  } rows[] = {{TRUE, VER_PLATFORM_WIN32_NT, 5, sizeof(OPENFILENAMEW)},
              {TRUE, VER_PLATFORM_WIN32_NT, 4, kOldSize},
              {TRUE, VER_PLATFORM_WIN32_WINDOWS, 5, kOldSize},
              {FALSE, VER_PLATFORM_WIN32_NT, 5, kOldSize}};
  const CFakeSaveDialog dialog(L"");
  for (const auto& row : rows) {
    const CImportSpy<&GetVersionExW> version("kernel32.dll", "GetVersionExW",
                                             [&](OSVERSIONINFOW* out) {
                                               out->dwPlatformId = row.platform;
                                               out->dwMajorVersion = row.major;
                                               return row.succeeds;
                                             });
    AskSavePath(kOwner, false, L"a.folivo", L".folivo");
    EXPECT_EQ(dialog.Given().lStructSize, row.size);
  }
}

class SaveDialogDirectory : public testing::Test {
 protected:
  ~SaveDialogDirectory() override { MoveTo(m_before); }  // so that the sandbox can be deleted
  static std::wstring Current() { return std::filesystem::current_path(); }
  static void MoveTo(const std::wstring& folder) { std::filesystem::current_path(folder); }

  const std::wstring m_before = Current();
  const CTempSandbox m_sandbox;
};

TEST_F(SaveDialogDirectory, IsPutBackWhateverTheAnswer) {
  for (const std::wstring choice : {L"C:\\x\\a.qdk", L""}) {
    const CFakeSaveDialog dialog(choice);
    dialog.WhileOpen([&] { MoveTo(m_sandbox.Path()); });
    EXPECT_EQ(AskSavePath(kOwner, false, L"a.qdk", L".qdk").has_value(), !choice.empty());
    EXPECT_EQ(Current(), m_before);
  }
}

TEST_F(SaveDialogDirectory, IsPutBackByEachOfThreeDialogsThatOverlap) {
  std::vector<std::unique_ptr<CCurrentDirectoryKeeper>> dialogs;
  for (int i = 0; i < 3; ++i) {
    dialogs.push_back(std::make_unique<CCurrentDirectoryKeeper>());
    MoveTo(m_sandbox.Path());
    if (i == 1) {
      dialogs[0].reset();
      EXPECT_EQ(Current(), m_before);
      MoveTo(m_sandbox.Path());
    }
  }
  for (int i = 1; i < 3; ++i) {
    MoveTo(m_sandbox.Path());
    dialogs[i].reset();
    EXPECT_EQ(Current(), m_before);
  }
}

TEST_F(SaveDialogDirectory, SystemsDirectoryStandsInForOneThatHasGone) {
  wchar_t system[MAX_PATH] = {};
  GetSystemDirectoryW(system, MAX_PATH);
  for (const bool isKnown : {true, false}) {
    const CImportSpy<&GetSystemDirectoryW> directory(
        "kernel32.dll", "GetSystemDirectoryW", [&](LPWSTR path, UINT size) {
          wcscpy(path, L"C:\\");  // what a failed call leaves is not used
          return isKnown ? directory.CallOriginal(path, size) : 0;
        });
    const std::wstring gone = m_sandbox / L"gone";
    std::filesystem::create_directory(gone);
    MoveTo(gone);
    {
      const CCurrentDirectoryKeeper keeper;
      MoveTo(m_sandbox.Path());
      EXPECT_TRUE(RemoveDirectoryW(gone.c_str()));
    }
    EXPECT_EQ(Current(), isKnown ? system : m_sandbox.Path());
  }
}

TEST(SaveDialogChoice, IsNormalisedOnceAndGetsAMissingExtension) {
  const struct {
    LPCWSTR typed;
    LPCWSTR path;
    LPCWSTR extension = L".folivo";
  } rows[] = {{L"", L"nothing"},
              {L"C:/x/name.qdk", L"C:\\x\\name.qdk"},
              {L"C:\\x\\name.qdk\\", L"C:\\x\\name.qdk"},
              // A second time would shorten these again.
              {L"file:///C:/x/name.qdk", L"file:\\\\\\C:\\x\\name.qdk"},
              {L"C:\\x\\name.qdk\\\\", L"C:\\x\\name.qdk\\.folivo"},
              {L"C:\\x\\name", L"C:\\x\\name.folivo"},
              {L"C:\\x.y\\name", L"C:\\x.y\\name.qdt", L".qdt"},
              {L"C:\\x\\name.txt", L"C:\\x\\name.txt"}};
  for (const auto& row : rows) {
    EXPECT_EQ(ChosenPath(row.typed, row.extension), row.path);
  }
}

TEST(SaveDialogChoice, AppendedExtensionReplacesAFileOnlyAfterYes) {
  const CTempSandbox sandbox;
  sandbox.Write(L"taken.folivo", "the user's");
  sandbox.Write(L"taken", "asked about by the dialog");
  std::filesystem::create_directory(sandbox / L"folder.folivo");
  const std::pair<std::wstring, bool> rows[] = {
      {L"taken", true}, {L"taken.folivo", false}, {L"free", false}, {L"folder", false}};
  for (const auto& [typed, isAsked] : rows) {
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

/// The user picks `path` in the browser's dialog.
class SaveDialogProtected : public testing::Test {
 protected:
  void Choose(const std::wstring& path) const {
    m_browser->saveDialogState = kState;
    path.copy(m_browser->saveDialogPath, ARRAYSIZE(m_browser->saveDialogPath) - 1);
  }
  void ExpectCancelledOnce() const {
    EXPECT_EQ(m_browser->cancelCalls, 1);
    EXPECT_EQ(m_browser->cancelledState, kState);
  }
  const CIeFrameDouble m_browser;
};

TEST_F(SaveDialogProtected, StructureHasExactlyTheseFields) {
  AskSavePath(kOwner, true, L"My Lesson.folivo", L".folivo");
  EXPECT_EQ(m_browser->saveDialogCalls, 1);
  EXPECT_EQ(m_browser->saveDialogOwner, kOwner);
  EXPECT_EQ(std::wstring(m_browser->saveDialogFileName), L"My Lesson.folivo");
  EXPECT_FALSE(m_browser->saveDialogHasFolder);
  EXPECT_FALSE(m_browser->saveDialogHasExtension);
  EXPECT_EQ(m_browser->saveDialogFilterIndex, 1u);
  EXPECT_EQ(m_browser->saveDialogFlags, kFlags);
}

TEST_F(SaveDialogProtected, ChoiceHasPathAndStateAndIsNotAskedAbout) {
  const CTempSandbox sandbox;
  sandbox.Write(L"taken.qdk", "the user's");
  const std::pair<std::wstring, std::wstring> rows[] = {
      {L"C:/x/name", L"C:\\x\\name.qdk"},
      {sandbox / L"taken", sandbox / L"taken.qdk"},
      {L"C:\\" + std::wstring(400, L'n'), L"C:\\" + std::wstring(256, L'n') + L".qdk"}};
  CMessageRecorder messages(IDNO);
  for (const auto& [chosen, path] : rows) {
    Choose(chosen);
    auto choice = AskSavePath(kOwner, true, L"a.qdk", L".qdk");
    ASSERT_TRUE(choice);
    EXPECT_EQ(std::wstring(choice->path), path);
    EXPECT_EQ(choice->saveState.Detach(), kState);
  }
  EXPECT_TRUE(messages.Take().empty());
  EXPECT_EQ(m_browser->cancelCalls, 0);
  EXPECT_EQ(m_browser->saveCalls, 0);
}

TEST_F(SaveDialogProtected, UnusedChoiceAndEveryFailureCancelOnceAndFreePathAndLibrary) {
  for (const HRESULT answer : {S_OK, S_FALSE, E_FAIL, HRESULT_FROM_WIN32(ERROR_CANCELLED)}) {
    SCOPED_TRACE(answer);
    Choose(L"C:\\x\\name.qdk");
    m_browser->saveDialogResult = answer;
    m_browser->cancelCalls = 0;
    int freedPaths = 0;
    const CImportSpy<&CoTaskMemFree> release("ole32.dll", "CoTaskMemFree", [&](void* memory) {
      freedPaths += memory != nullptr ? 1 : 0;
      release.CallOriginal(memory);
    });
    const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW");
    const CImportSpy<&FreeLibrary> free("kernel32.dll", "FreeLibrary");
    EXPECT_EQ(AskSavePath(kOwner, true, L"a.qdk", L".qdk").has_value(), answer == S_OK);
    ExpectCancelledOnce();
    EXPECT_EQ(freedPaths, 1);
    EXPECT_EQ(free.Calls().size(), load.Calls().size());
  }
}

TEST_F(SaveDialogProtected, OutOfMemoryAfterTheChoiceCancelsItOnce) {
  Choose(L"C:\\x\\name");
  // The path is freed when it has been read, before it is made the choice.
  std::unique_ptr<CFailingMalloc> failing;
  const CImportSpy<&CoTaskMemFree> release("ole32.dll", "CoTaskMemFree", [&](void* memory) {
    release.CallOriginal(memory);
    failing = std::make_unique<CFailingMalloc>(0);
  });
  HRESULT thrown = S_OK;
  const CStringW name(L"a.qdk");
  const CStringW extension(L".qdk");
  try {
    AskSavePath(kOwner, true, name, extension);
  } catch (const CAtlException& e) {
    thrown = e.m_hr;
  }
  failing.reset();
  EXPECT_EQ(thrown, E_OUTOFMEMORY);
  ExpectCancelledOnce();
}

TEST(SaveDialogChoice, MissingLibraryOrFunctionChoosesNothing) {
  for (const bool isProtected : {false, true}) {
    const CImportSpy<&GetProcAddress> find("kernel32.dll", "GetProcAddress",
                                           [](HMODULE, LPCSTR) { return nullptr; });
    EXPECT_FALSE(AskSavePath(kOwner, isProtected, L"a.qdk", L".qdk"));
    EXPECT_FALSE(find.Calls().empty());
    const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW",
                                         [](LPCWSTR) { return nullptr; });
    EXPECT_FALSE(AskSavePath(kOwner, isProtected, L"a.qdk", L".qdk"));
    EXPECT_FALSE(load.Calls().empty());
  }
}

}  // namespace
