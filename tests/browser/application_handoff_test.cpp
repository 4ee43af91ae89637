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
#include "tests/browser/fake_browser.h"
#include "tests/browser/install_information.h"
#include "tests/browser/navigation_event.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/temp_sandbox.h"

namespace {

using Key = CInstallInformation::Key;

const HWND kOwner = GetDesktopWindow();
const std::wstring kProgramFolder = L"Le\u00e7on (x86)\\100%TEMP%s%n \u4f60";
constexpr wchar_t kUrl[] = L"http://server/insert.htm?name=a&do=insertinfolivo";

class ApplicationHandoff : public testing::Test {
 protected:
  /// A program folder with a launcher in it, which the registry names.
  void Install() const {
    m_sandbox.Write(kProgramFolder + L"\\LaunchFolivo.exe", "not run");
    m_information.SetFolder(m_sandbox / kProgramFolder);
  }
  std::wstring Launcher() const { return m_sandbox / kProgramFolder + L"\\LaunchFolivo.exe"; }

  /// The only launch; empty parameters stand for none.
  void ExpectLaunch(const std::wstring& file, const std::wstring& parameters) const {
    ASSERT_EQ(m_recorder.Launches().size(), 1u);
    const CLaunch& launch = m_recorder.Launches()[0];
    EXPECT_EQ(launch.size, sizeof(SHELLEXECUTEINFOW));
    EXPECT_EQ(launch.mask, 0x4100u);
    EXPECT_EQ(launch.owner, kOwner);
    EXPECT_EQ(launch.verb, L"open");
    EXPECT_EQ(launch.file, file);
    EXPECT_EQ(launch.hasParameters, !parameters.empty());
    EXPECT_EQ(launch.parameters, parameters);
    EXPECT_FALSE(launch.hasFolder);
    EXPECT_EQ(launch.show, 1);
  }

  const CTempSandbox m_sandbox;
  const CInstallInformation m_information;
  const CLaunchRecorder m_recorder;
};

/// What a registry key holds.
struct CKeyState {
  bool exists = false;
  DWORD type = REG_NONE;  // none: no value
  std::wstring data = {};
  size_t size = std::wstring::npos;  // in bytes, of the data and its terminator
};

void Write(const CInstallInformation& information, Key key, const CKeyState& state) {
  if (state.exists && state.type == REG_NONE) {
    information.Create(key);
  } else if (state.exists) {
    const size_t size = std::min(state.size, (state.data.size() + 1) * sizeof(wchar_t));
    information.SetValue(state.type, state.data.c_str(), static_cast<DWORD>(size), key);
  }
}

const std::wstring kLongest = L"C:\\" + std::wstring(509, L'a');
const CKeyState kNoKey;
const CKeyState kNoValue = {true};
const CKeyState kPanel = {true, REG_SZ, L"C:\\Panel"};

const struct {
  const char* name;
  CKeyState application;
  CKeyState panelDrivers;
  std::wstring folder;
  size_t opens = 1;
} kFolderRows[] = {
    {"both", {true, REG_SZ, L"C:\\App"}, kPanel, L"C:\\App"},
    {"no key", kNoKey, kNoKey, L"none", 2},
    {"application without a value", kNoValue, kPanel, L"none"},
    {"panel drivers alone", kNoKey, kPanel, L"C:\\Panel", 2},
    {"panel drivers without a value", kNoKey, kNoValue, L"none", 2},
    {"slashes", {true, REG_SZ, L"C:/App/"}, kNoKey, L"C:\\App"},
    {"expandable", {true, REG_EXPAND_SZ, L"C:\\My App\\"}, kNoKey, L"C:\\My App"},
    {"number", {true, REG_DWORD, L"42", 4}, kPanel, L"none"},
    {"bytes", {true, REG_BINARY, L"C:\\App"}, kPanel, L"none"},
    {"several texts", {true, REG_MULTI_SZ, L"C:\\App"}, kPanel, L"none"},
    {"unknown type", {true, 0x1234, L"C:\\App"}, kPanel, L"none"},
    {"variable", {true, REG_EXPAND_SZ, L"%TEMP%\\App"}, kNoKey, L"%TEMP%\\App"},
    {"quotes", {true, REG_SZ, L"\"C:\\App\""}, kNoKey, L"\"C:\\App\""},
    {"no bytes", {true, REG_SZ, L"", 0}, kNoKey, L""},
    {"one byte", {true, REG_SZ, L"x", 1}, kNoKey, L"x"},
    {"half a character", {true, REG_SZ, L"C:\\Appx", 13}, kNoKey, L"C:\\Appx"},
    {"text after a zero", {true, REG_SZ, std::wstring(L"C:\\App\0x", 8)}, kNoKey, L"C:\\App"},
    {"empty", {true, REG_SZ, L""}, kNoKey, L""},
    {"no terminator", {true, REG_SZ, L"C:\\App, and no zero here", 12}, kNoKey, L"C:\\App"},
    {"512 characters", {true, REG_SZ, kLongest + L"no zero here", 1024}, kNoKey, kLongest},
    {"513 with the terminator", {true, REG_SZ, kLongest}, kNoKey, L"none"},
    {"512 with it", {true, REG_SZ, kLongest.substr(1)}, kNoKey, kLongest.substr(1)},
};

TEST_F(ApplicationHandoff, FolderIsReadFromTheFirstKeyThatExists) {
  for (const auto& row : kFolderRows) {
    SCOPED_TRACE(row.name);
    const CInstallInformation information;
    Write(information, Key::kApplication, row.application);
    Write(information, Key::kPanelDrivers, row.panelDrivers);
    const CImportSpy<&RegCloseKey> close("advapi32.dll", "RegCloseKey");
    size_t opened = 0;
    const CImportSpy<&RegOpenKeyExW> open(
        "advapi32.dll", "RegOpenKeyExW",
        [&](HKEY root, LPCWSTR path, DWORD options, REGSAM access, PHKEY key) {
          EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
          EXPECT_EQ(access, 0x20219u);  // to read, in the 32-bit view
          const LSTATUS result = open.CallOriginal(root, path, options, access, key);
          opened += result == ERROR_SUCCESS ? 1 : 0;
          return result;
        });
    CFilePath folder(L"unset");
    EXPECT_EQ(GetInstallFolder(folder) ? std::wstring(folder) : L"none", row.folder);
    EXPECT_EQ(open.Calls().size(), row.opens);
    EXPECT_EQ(close.Calls().size(), opened);
  }
}

TEST_F(ApplicationHandoff, KeyThatMayNotBeReadGivesNoFolder) {
  Install();
  const CImportSpy<&RegOpenKeyExW> open("advapi32.dll", "RegOpenKeyExW",
                                        [](auto...) { return LSTATUS{ERROR_ACCESS_DENIED}; });
  CFilePath folder;
  EXPECT_FALSE(GetInstallFolder(folder));
}

TEST_F(ApplicationHandoff, OpenRunsTheLauncherWithTheBarePath) {
  Install();
  OpenInApplication(kOwner, CFilePath(L"C:/My Dir/a b.folivo"));
  ExpectLaunch(Launcher(), L"C:\\My Dir\\a b.folivo");
}

TEST_F(ApplicationHandoff, OpenDoesNothingWithoutTheLauncher) {
  Install();
  for (const std::wstring& folder : {m_sandbox / L"missing", Launcher(), std::wstring(L"App")}) {
    m_information.SetFolder(folder);
    OpenInApplication(kOwner, CFilePath(L"C:\\a.folivo"));
  }
  EXPECT_TRUE(m_recorder.Launches().empty());
  // Whatever has its name is started.
  m_sandbox.Write(L"F\\LaunchFolivo.exe\\file", "");
  m_information.SetFolder(m_sandbox / L"F");
  OpenInApplication(kOwner, CFilePath(L"C:\\a.folivo"));
  EXPECT_EQ(m_recorder.Launches().size(), 1u);
}

TEST_F(ApplicationHandoff, OpenRunsTheFileItselfWithoutInstallInformation) {
  OpenInApplication(kOwner, CFilePath(L"C:\\My Dir\\a b.folivo"));
  ExpectLaunch(L"C:\\My Dir\\a b.folivo", L"");
}

class ApplicationHandoffShortcut : public ApplicationHandoff {
 protected:
  void ExpectFailure() const {
    CFilePath path(L"unset");
    EXPECT_EQ(WriteInternetShortcut(kUrl, path), E_FAIL);
    EXPECT_EQ(std::wstring(path), L"unset");
    EXPECT_TRUE(m_sandbox.Files().empty());
  }
};

TEST_F(ApplicationHandoffShortcut, HoldsTheWholeUrlUnderANameOfItsOwn) {
  const std::pair<std::wstring, std::string> rows[] = {
      {kUrl, "http://server/insert.htm?name=a&do=insertinfolivo"},
      {L"http://server/\u00e9\u4f60", "http://server/\xc3\xa9\xe4\xbd\xa0"},
      {L"", ""},
      {std::wstring(20000, L'a'), std::string(20000, 'a')}};
  std::wstring name = m_sandbox / kTempFiles + L"File.url";
  for (const auto& [url, text] : rows) {
    CFilePath path;
    EXPECT_EQ(WriteInternetShortcut(url.c_str(), path), S_OK);
    EXPECT_TRUE(std::wstring(path).starts_with(name));
    EXPECT_TRUE(std::wstring(path).ends_with(L".url"));
    // Line ends of a text file; nothing after the URL.
    EXPECT_EQ(ReadFileBytes(std::wstring(path)), "[InternetShortcut]\r\nURL=" + text);
    name = m_sandbox / kTempFiles + L"File(";
  }
  EXPECT_EQ(m_sandbox.Files().size(), std::size(rows));
}

TEST_F(ApplicationHandoffShortcut, FailsAndLeavesNoFileWhereAnyCallFails) {
  for (const auto& [dll, name] : {std::pair("msvcrt.dll", "_wfopen"),
                                  {"msvcrt.dll", "fwrite"},
                                  {"kernel32.dll", "WideCharToMultiByte"}}) {
    const CImportPatch patch(dll, name, +[]() -> ULONG_PTR { return 0; });
    ExpectFailure();
  }
  {
    const CImportSpy<&WideCharToMultiByte> convert(
        "kernel32.dll", "WideCharToMultiByte", [&](auto... arguments) {
          return convert.Calls().size() == 2 ? 0 : convert.CallOriginal(arguments...);
        });
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
  // The unique name is asked for twice: free at first, taken then.
  int asked = 0;
  const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW", [&](LPCWSTR path) {
    return std::wstring_view(path).ends_with(L".url") && ++asked == 2;
  });
  ExpectFailure();
  EXPECT_EQ(asked, 2);
}

TEST_F(ApplicationHandoffShortcut, OutOfMemoryLeavesNoFile) {
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

class ApplicationHandoffInsert : public ApplicationHandoff {
 protected:
  /// Launches; gives whether the navigation is cancelled.
  bool Launch() {
    const CFilePath shortcut(L"C:/t m p/File.url");
    EXPECT_EQ(
        LaunchInsert(kOwner, [this] { return &m_browser; }, shortcut, *m_event.Params()), S_OK);
    EXPECT_TRUE(m_event.FlagIntact());
    return m_event.Cancelled();
  }

  CFakeBrowser m_browser;
  CNavigationEvent m_event{kUrl};
};

TEST_F(ApplicationHandoffInsert, RunsTheLauncherAndStopsTheBrowserBeforeItCancels) {
  Install();
  bool isCancelledBefore = true;
  m_browser.onStop = [&] { isCancelledBefore = m_event.Cancelled(); };
  EXPECT_TRUE(Launch());
  ExpectLaunch(Launcher(), L"/insertinfolivo:C:\\t m p\\File.url");
  EXPECT_EQ(m_browser.stops, 1);
  EXPECT_FALSE(isCancelledBefore);
}

TEST_F(ApplicationHandoffInsert, MissingApplicationOrLauncherLeavesTheUrlToTheBrowser) {
  EXPECT_FALSE(Launch());
  Install();
  std::filesystem::remove(Launcher());
  EXPECT_FALSE(Launch());
  EXPECT_TRUE(m_recorder.Launches().empty());
  EXPECT_EQ(m_browser.stops, 0);
}

TEST_F(ApplicationHandoffInsert, FailedLaunchStopsAndCancels) {
  Install();
  m_recorder.SetAnswer(FALSE);
  EXPECT_TRUE(Launch());
  EXPECT_EQ(m_browser.stops, 1);
}

}  // namespace
