#include "browser/application_handoff.h"

#include <gtest/gtest.h>
#include <shlwapi.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "download/file_operations.h"
#include "tests/atl/base/failing_malloc.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/install_information.h"
#include "tests/browser/navigation_event.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/temp_sandbox.h"

namespace {

using Key = CInstallInformation::Key;

const HWND kOwner = GetDesktopWindow();
constexpr wchar_t kUrl[] = L"http://server/insert.htm?name=a&do=insertinfolivo";

std::wstring InstallFolder() {
  CFilePath folder(L"unset");
  return GetInstallFolder(folder) ? std::wstring(folder) : L"none";
}

void ExpectCommonFields(const CLaunch& launch) {
  EXPECT_EQ(launch.size, sizeof(SHELLEXECUTEINFOW));
  EXPECT_EQ(launch.mask, 0x4100u);
  EXPECT_EQ(launch.owner, kOwner);
  EXPECT_EQ(launch.verb, L"open");
  EXPECT_FALSE(launch.hasFolder);
  EXPECT_EQ(launch.show, 1);
}

/// A program folder with a launcher in it, told in the registry.
class CInstalledApplication {
 public:
  CInstalledApplication() {
    m_sandbox.Write(L"My App\\LaunchFolivo.exe", "not run");
    m_information.SetFolder(Folder());
  }
  std::wstring Folder() const { return m_sandbox / L"My App"; }
  std::wstring Launcher() const { return Folder() + L"\\LaunchFolivo.exe"; }
  void RemoveLauncher() const { std::filesystem::remove(Launcher()); }

 private:
  CTempSandbox m_sandbox;
  CInstallInformation m_information;
};

/// What a registry key holds.
struct CKeyState {
  bool exists = false;
  DWORD type = REG_NONE;  // none: no value
  std::wstring data = {};
  size_t length = std::wstring::npos;  // in characters, of the data and its terminator
};

void Write(const CInstallInformation& information, Key key, const CKeyState& state) {
  if (state.exists && state.type == REG_NONE) {
    information.Create(key);
  } else if (state.exists) {
    const size_t length = std::min(state.length, state.data.size() + 1);
    information.SetValue(state.type, state.data.c_str(),
                         static_cast<DWORD>(length * sizeof(wchar_t)), key);
  }
}

const std::wstring kLongest = L"C:\\" + std::wstring(509, L'a');
const CKeyState kNoKey;
const CKeyState kNoValue = {true};
const CKeyState kPanel = {true, REG_SZ, L"C:\\Panel"};

struct CFolderCase {
  const char* name;
  CKeyState application;
  CKeyState panelDrivers;
  std::wstring folder;
  size_t opens = 1;
};

const CFolderCase kFolderCases[] = {
    {"both", {true, REG_SZ, L"C:\\App"}, kPanel, L"C:\\App"},
    {"no key", kNoKey, kNoKey, L"none", 2},
    {"panel drivers alone", kNoKey, kPanel, L"C:\\Panel", 2},
    {"panel drivers without a value", kNoKey, kNoValue, L"none", 2},
    {"slashes", {true, REG_SZ, L"C:/App/"}, kNoKey, L"C:\\App"},
    {"expandable", {true, REG_EXPAND_SZ, L"C:\\My App\\"}, kNoKey, L"C:\\My App"},
    {"number", {true, REG_DWORD, L"42", 2}, kPanel, L"none"},
    {"bytes", {true, REG_BINARY, L"C:\\App"}, kPanel, L"none"},
    {"empty", {true, REG_SZ, L""}, kNoKey, L""},
    {"no terminator", {true, REG_SZ, L"C:\\App, and no zero here", 6}, kNoKey, L"C:\\App"},
    {"512 characters", {true, REG_SZ, kLongest + L"no zero here", 512}, kNoKey, kLongest},
    {"513 with the terminator", {true, REG_SZ, kLongest}, kNoKey, L"none"},
    {"512 with it", {true, REG_SZ, kLongest.substr(1)}, kNoKey, kLongest.substr(1)},
};

TEST(InstallFolder, IsReadFromTheFirstKeyThatExists) {
  for (const CFolderCase& c : kFolderCases) {
    const CInstallInformation information;
    Write(information, Key::kApplication, c.application);
    Write(information, Key::kPanelDrivers, c.panelDrivers);
    const CImportSpy<&RegCloseKey> close("advapi32.dll", "RegCloseKey");
    size_t opened = 0;
    const CImportSpy<&RegOpenKeyExW> open(
        "advapi32.dll", "RegOpenKeyExW",
        [&](HKEY root, LPCWSTR path, DWORD options, REGSAM access, PHKEY key) {
          EXPECT_EQ(root, HKEY_LOCAL_MACHINE) << c.name;
          EXPECT_EQ(access, 0x20219u) << c.name;  // to read, in the 32-bit view
          const LSTATUS result = open.CallOriginal(root, path, options, access, key);
          opened += result == ERROR_SUCCESS ? 1 : 0;
          return result;
        });
    EXPECT_EQ(InstallFolder(), c.folder) << c.name;
    EXPECT_EQ(open.Calls().size(), c.opens) << c.name;
    EXPECT_EQ(close.Calls().size(), opened) << c.name;
  }
}

TEST(InstallFolder, NoneWithoutAValueEvenIfThePanelDriversHaveOne) {
  const CInstallInformation information;
  Write(information, Key::kApplication, kNoValue);
  Write(information, Key::kPanelDrivers, kPanel);
  EXPECT_EQ(InstallFolder(), L"none");
}

TEST(OpenInApplication, RunsTheLauncherWithTheBarePath) {
  const CInstalledApplication application;
  const CLaunchRecorder recorder;
  OpenInApplication(kOwner, CFilePath(L"C:/My Dir/a b.folivo"));
  ASSERT_EQ(recorder.Launches().size(), 1u);
  const CLaunch& launch = recorder.Launches()[0];
  ExpectCommonFields(launch);
  EXPECT_EQ(launch.file, application.Launcher());
  EXPECT_EQ(launch.parameters, L"C:\\My Dir\\a b.folivo");
}

TEST(OpenInApplication, DoesNothingWithoutTheLauncher) {
  const CInstalledApplication application;
  application.RemoveLauncher();
  const CLaunchRecorder recorder;
  OpenInApplication(kOwner, CFilePath(L"C:\\a.folivo"));
  EXPECT_TRUE(recorder.Launches().empty());
}

TEST(OpenInApplication, RunsTheFileItselfWithoutInstallInformation) {
  const CInstallInformation information;
  const CLaunchRecorder recorder;
  OpenInApplication(kOwner, CFilePath(L"C:\\My Dir\\a b.folivo"));
  ASSERT_EQ(recorder.Launches().size(), 1u);
  const CLaunch& launch = recorder.Launches()[0];
  ExpectCommonFields(launch);
  EXPECT_EQ(launch.file, L"C:\\My Dir\\a b.folivo");
  EXPECT_FALSE(launch.hasParameters);
}

class Shortcut : public testing::Test {
 protected:
  std::wstring Folder() const { return m_sandbox / L"MERLO Technologies\\MERLO Folivo\\TempFiles"; }

  void ExpectFailure() const {
    const size_t files = m_sandbox.Files().size();
    CFilePath path(L"unset");
    EXPECT_EQ(WriteInternetShortcut(kUrl, path), E_FAIL);
    EXPECT_EQ(std::wstring(path), L"unset");
    EXPECT_EQ(m_sandbox.Files().size(), files);
  }

  const CTempSandbox m_sandbox;
};

TEST_F(Shortcut, IsWrittenIntoTheTemporaryFilesFolder) {
  CFilePath path;
  EXPECT_EQ(WriteInternetShortcut(kUrl, path), S_OK);
  EXPECT_EQ(std::wstring(path), Folder() + L"\\File.url");
  // Line ends of a text file; nothing behind the URL.
  EXPECT_EQ(ReadFileBytes(std::wstring(path)),
            "[InternetShortcut]\r\nURL=http://server/insert.htm?name=a&do=insertinfolivo");
}

TEST_F(Shortcut, HoldsAnyUrlUnderANameOfItsOwn) {
  CFilePath path;
  EXPECT_EQ(WriteInternetShortcut(kUrl, path), S_OK);
  const std::string longText(20000, 'a');
  const std::pair<std::wstring, std::string> rows[] = {
      {L"http://server/other", "http://server/other"},
      {L"http://server/\u00e9\u4f60", "http://server/\xc3\xa9\xe4\xbd\xa0"},
      {L"", ""},
      {std::wstring(20000, L'a'), longText}};
  for (const auto& [url, text] : rows) {
    EXPECT_EQ(WriteInternetShortcut(url.c_str(), path), S_OK);
    const std::wstring name(path.GetFileNamePart());
    EXPECT_EQ(name.substr(0, 5), L"File(");
    EXPECT_EQ(name.substr(name.size() - 5), L").url");
    EXPECT_EQ(ReadFileBytes(std::wstring(path)), "[InternetShortcut]\r\nURL=" + text);
  }
  EXPECT_EQ(m_sandbox.Files().size(), 5u);
}

TEST_F(Shortcut, FailsWhereTheFolderCannotBeMade) {
  m_sandbox.Write(L"MERLO Technologies", "a file in its way");
  ExpectFailure();
}

TEST_F(Shortcut, FailsAndLeavesNoFileWhereAnyCallFails) {
  {
    const CImportPatch patch(
        "msvcrt.dll", "_wfopen", +[](LPCWSTR, LPCWSTR) -> FILE* { return nullptr; });
    ExpectFailure();
  }
  {
    const CImportPatch patch(
        "msvcrt.dll", "fwrite", +[](const void*, size_t, size_t, FILE*) -> size_t { return 1; });
    ExpectFailure();
  }
  {
    // A small text goes to the disk when the stream is closed.
    const CImportSpy<&fclose> close("msvcrt.dll", "fclose", [&](FILE* stream) {
      close.CallOriginal(stream);
      return EOF;
    });
    ExpectFailure();
  }
  for (const size_t failing : {1u, 2u}) {
    const CImportSpy<&WideCharToMultiByte> convert(
        "kernel32.dll", "WideCharToMultiByte", [&](auto... arguments) {
          return convert.Calls().size() == failing ? 0 : convert.CallOriginal(arguments...);
        });
    ExpectFailure();
  }
  // The unique name is asked for twice: free at first, taken then.
  int asked = 0;
  const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW", [&](LPCWSTR path) {
    return std::wstring_view(path).ends_with(L".url") && ++asked == 2;
  });
  ExpectFailure();
  EXPECT_EQ(asked, 2);
}

TEST_F(Shortcut, LeavesNoFileWhenMemoryRunsOut) {
  CFilePath path(L"unset");
  HRESULT thrown = S_OK;
  const CStringW url(std::wstring(20000, L'a').c_str());
  try {
    const CFailingMalloc failing(15000);  // nothing but the URL is that long
    WriteInternetShortcut(url, path);
  } catch (const CAtlException& e) {
    thrown = e.m_hr;
  }
  EXPECT_EQ(thrown, E_OUTOFMEMORY);
  EXPECT_EQ(std::wstring(path), L"unset");
  EXPECT_TRUE(m_sandbox.Files().empty());
}

class LaunchInsertion : public testing::Test {
 protected:
  HRESULT Launch() {
    return LaunchInsert(
        kOwner, [this] { return CComPtr<IWebBrowser2>(&m_browser); },
        CFilePath(L"C:/t m p/File.url"), *m_event.Params());
  }
  void ExpectLeftToTheBrowser() {
    EXPECT_EQ(Launch(), S_OK);
    EXPECT_TRUE(m_recorder.Launches().empty());
    EXPECT_EQ(m_browser.stops, 0);
    EXPECT_FALSE(m_event.Cancelled());
  }

  const CLaunchRecorder m_recorder;
  CFakeBrowser m_browser;
  CNavigationEvent m_event{kUrl};
};

TEST_F(LaunchInsertion, TellsTheLauncherAndStopsTheBrowserBeforeTheEvent) {
  const CInstalledApplication application;
  bool cancelledBefore = true;
  m_browser.onStop = [&] { cancelledBefore = m_event.Cancelled(); };
  EXPECT_EQ(Launch(), S_OK);
  ASSERT_EQ(m_recorder.Launches().size(), 1u);
  const CLaunch& launch = m_recorder.Launches()[0];
  ExpectCommonFields(launch);
  EXPECT_EQ(launch.file, application.Launcher());
  EXPECT_EQ(launch.parameters, L"/insertinfolivo:C:\\t m p\\File.url");
  EXPECT_EQ(m_browser.stops, 1);
  EXPECT_FALSE(cancelledBefore);
  EXPECT_TRUE(m_event.Cancelled());
  EXPECT_TRUE(m_event.FlagIntact());
}

TEST_F(LaunchInsertion, LeavesTheUrlToTheBrowserWithoutTheApplication) {
  {
    const CInstallInformation information;
    ExpectLeftToTheBrowser();
  }
  const CInstalledApplication application;
  application.RemoveLauncher();
  ExpectLeftToTheBrowser();
}

TEST_F(LaunchInsertion, FailedLaunchStopsAndCancelsAllTheSame) {
  const CInstalledApplication application;
  m_recorder.SetAnswer(FALSE);
  EXPECT_EQ(Launch(), S_OK);
  EXPECT_EQ(m_browser.stops, 1);
  EXPECT_TRUE(m_event.Cancelled());
}

TEST_F(LaunchInsertion, BrowserMayHaveGone) {
  const CInstalledApplication application;
  EXPECT_EQ(LaunchInsert(
                kOwner, [] { return CComPtr<IWebBrowser2>(); }, CFilePath(L"C:\\File.url"),
                *m_event.Params()),
            S_OK);
  EXPECT_EQ(m_recorder.Launches().size(), 1u);
  EXPECT_TRUE(m_event.Cancelled());
}

}  // namespace
