#include "browser/application_handoff.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "download/file_operations.h"
#include "tests/atl/base/failing_malloc.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/install_information.h"
#include "tests/browser/navigation_event.h"
#include "tests/support/import_patch.h"
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

TEST(InstallFolder, IsReadFromTheApplicationsKey) {
  const CInstallInformation information;
  information.SetFolder(L"C:\\App");
  EXPECT_EQ(InstallFolder(), L"C:\\App");
}

TEST(InstallFolder, PanelDriversKeyStandsInForAMissingOne) {
  const CInstallInformation information;
  information.SetFolder(L"C:\\Panel", Key::kPanelDrivers);
  EXPECT_EQ(InstallFolder(), L"C:\\Panel");
  information.SetFolder(L"C:\\App");
  EXPECT_EQ(InstallFolder(), L"C:\\App");
}

TEST(InstallFolder, NoneWithoutAKey) {
  const CInstallInformation information;
  EXPECT_EQ(InstallFolder(), L"none");
}

TEST(InstallFolder, NoneWithoutAValueEvenIfThePanelDriversHaveOne) {
  const CInstallInformation information;
  information.SetFolder(L"C:\\Panel", Key::kPanelDrivers);
  information.Create(Key::kApplication);
  EXPECT_EQ(InstallFolder(), L"none");
}

TEST(InstallFolder, NoneWhenThePanelDriversKeyHasNoValue) {
  const CInstallInformation information;
  information.Create(Key::kPanelDrivers);
  EXPECT_EQ(InstallFolder(), L"none");
}

TEST(InstallFolder, IsNormalised) {
  const CInstallInformation information;
  information.SetFolder(L"C:/App/");
  EXPECT_EQ(InstallFolder(), L"C:\\App");
  information.SetFolder(L"C:\\Program Files\\App\\");
  EXPECT_EQ(InstallFolder(), L"C:\\Program Files\\App");
}

TEST(InstallFolder, ValueOfAnotherTypeIsNone) {
  const CInstallInformation information;
  const DWORD number = 42;
  information.SetValue(REG_DWORD, &number, sizeof(number));
  EXPECT_EQ(InstallFolder(), L"none");
  information.SetValue(REG_BINARY, L"C:\\App", 14);
  EXPECT_EQ(InstallFolder(), L"none");
}

TEST(InstallFolder, StringWithoutTerminatorEndsAtItsEnd) {
  const CInstallInformation information;
  information.SetValue(REG_SZ, L"C:\\App, and no zero here", 6 * sizeof(wchar_t));
  EXPECT_EQ(InstallFolder(), L"C:\\App");
}

TEST(InstallFolder, UpTo512CharactersAreRead) {
  const CInstallInformation information;
  const std::wstring longest = L"C:\\" + std::wstring(509, L'a');
  information.SetValue(REG_SZ, (longest + L"no zero here").data(), 512 * sizeof(wchar_t));
  EXPECT_EQ(InstallFolder(), longest);
  information.SetFolder(longest);  // one more, for the terminator
  EXPECT_EQ(InstallFolder(), L"none");
  information.SetFolder(longest.substr(0, 511));
  EXPECT_EQ(InstallFolder(), longest.substr(0, 511));
}

TEST(InstallFolder, EmptyValueIsAnEmptyFolder) {
  const CInstallInformation information;
  information.SetFolder(L"");
  EXPECT_EQ(InstallFolder(), L"");
}

/// Takes down how the program opens registry keys, and whether it closes them.
class CRegistryRecorder {
 public:
  CRegistryRecorder()
      : m_open("advapi32.dll", "RegOpenKeyExW", &Open),
        m_close("advapi32.dll", "RegCloseKey", &Close) {
    s_openOriginal = m_open.Original<LSTATUS WINAPI(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY)>();
    s_closeOriginal = m_close.Original<LSTATUS WINAPI(HKEY)>();
    s_accesses.clear();
    s_open = 0;
  }
  /// The access asked for, with each key.
  static const std::vector<REGSAM>& Accesses() { return s_accesses; }
  /// How many keys are open now.
  static int OpenKeys() { return s_open; }

 private:
  static LSTATUS WINAPI Open(HKEY root, LPCWSTR path, DWORD options, REGSAM access, PHKEY key) {
    EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
    s_accesses.push_back(access);
    const LSTATUS result = s_openOriginal(root, path, options, access, key);
    s_open += result == ERROR_SUCCESS ? 1 : 0;
    return result;
  }
  static LSTATUS WINAPI Close(HKEY key) {
    --s_open;
    return s_closeOriginal(key);
  }

  static inline LSTATUS(WINAPI* s_openOriginal)(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY);
  static inline LSTATUS(WINAPI* s_closeOriginal)(HKEY);
  static inline std::vector<REGSAM> s_accesses;
  static inline int s_open;
  CImportPatch m_open;
  CImportPatch m_close;
};

/// Asks for the folder and expects it to be read only, `opens` keys to be tried and none left open.
void ExpectKeysReadAndClosed(size_t opens) {
  const CRegistryRecorder recorder;
  InstallFolder();
  EXPECT_EQ(CRegistryRecorder::Accesses(), std::vector<REGSAM>(opens, 0x20219));
  EXPECT_EQ(CRegistryRecorder::OpenKeys(), 0);
}

TEST(InstallFolder, KeysAreReadOnlyAndClosedOnEveryWay) {
  const CInstallInformation information;
  ExpectKeysReadAndClosed(2);
  information.Create(Key::kPanelDrivers);
  ExpectKeysReadAndClosed(2);
  information.SetFolder(L"C:\\Panel", Key::kPanelDrivers);
  ExpectKeysReadAndClosed(2);
  information.Create(Key::kApplication);
  ExpectKeysReadAndClosed(1);
  const DWORD number = 42;
  information.SetValue(REG_DWORD, &number, sizeof(number));
  ExpectKeysReadAndClosed(1);
  information.SetFolder(L"C:\\App");
  ExpectKeysReadAndClosed(1);
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

TEST_F(Shortcut, SecondOneGetsAnotherName) {
  CFilePath first;
  CFilePath second;
  EXPECT_EQ(WriteInternetShortcut(kUrl, first), S_OK);
  EXPECT_EQ(WriteInternetShortcut(L"http://server/other", second), S_OK);
  EXPECT_NE(std::wstring(first), std::wstring(second));
  const std::wstring name(second.GetFileNamePart());
  EXPECT_EQ(name.substr(0, 5), L"File(");
  EXPECT_EQ(name.substr(name.size() - 5), L").url");
  EXPECT_EQ(ReadFileBytes(std::wstring(first)).substr(20, 5), "URL=h");
  EXPECT_EQ(ReadFileBytes(std::wstring(second)), "[InternetShortcut]\r\nURL=http://server/other");
}

TEST_F(Shortcut, OtherCharactersAreUtf8) {
  CFilePath path;
  EXPECT_EQ(WriteInternetShortcut(L"http://server/\u00e9\u4f60", path), S_OK);
  EXPECT_EQ(ReadFileBytes(std::wstring(path)),
            "[InternetShortcut]\r\nURL=http://server/\xc3\xa9\xe4\xbd\xa0");
}

TEST_F(Shortcut, EmptyAndVeryLongUrlsAreWritten) {
  CFilePath path;
  EXPECT_EQ(WriteInternetShortcut(L"", path), S_OK);
  EXPECT_EQ(ReadFileBytes(std::wstring(path)), "[InternetShortcut]\r\nURL=");
  EXPECT_EQ(WriteInternetShortcut(std::wstring(20000, L'a').c_str(), path), S_OK);
  EXPECT_EQ(ReadFileBytes(std::wstring(path)),
            "[InternetShortcut]\r\nURL=" + std::string(20000, 'a'));
}

TEST_F(Shortcut, FailsWhereTheFolderCannotBeMade) {
  m_sandbox.Write(L"MERLO Technologies", "a file in its way");
  CFilePath path(L"unset");
  EXPECT_EQ(WriteInternetShortcut(kUrl, path), E_FAIL);
  EXPECT_EQ(std::wstring(path), L"unset");
}

TEST_F(Shortcut, FailsWhereTheFileCannotBeCreated) {
  const CImportPatch patch(
      "msvcrt.dll", "_wfopen", +[](LPCWSTR, LPCWSTR) -> FILE* { return nullptr; });
  CFilePath path(L"unset");
  EXPECT_EQ(WriteInternetShortcut(kUrl, path), E_FAIL);
  EXPECT_EQ(std::wstring(path), L"unset");
}

TEST_F(Shortcut, FailsAndLeavesNoFileWhereItCannotBeWritten) {
  static decltype(&fclose) closeStream;
  CFilePath path(L"unset");
  {
    const CImportPatch patch(
        "msvcrt.dll", "fwrite", +[](const void*, size_t, size_t, FILE*) -> size_t { return 1; });
    EXPECT_EQ(WriteInternetShortcut(kUrl, path), E_FAIL);
  }
  {
    // A small text goes to the disk when the stream is closed.
    const CImportPatch patch(
        "msvcrt.dll", "fclose", +[](FILE* stream) {
          closeStream(stream);
          return EOF;
        });
    closeStream = patch.Original<int(FILE*)>();
    EXPECT_EQ(WriteInternetShortcut(kUrl, path), E_FAIL);
  }
  EXPECT_EQ(std::wstring(path), L"unset");
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(Shortcut, LeavesNoFileWhereItsTextCannotBeMade) {
  CFilePath path(L"unset");
  static int calls;
  static int failing;
  static decltype(&WideCharToMultiByte) convert;
  for (failing = 1; failing <= 2; ++failing) {
    calls = 0;
    const CImportPatch patch(
        "kernel32.dll", "WideCharToMultiByte",
        +[](UINT page, DWORD flags, LPCWCH text, int length, LPSTR out, int size, LPCCH standIn,
            LPBOOL isUsed) {
          return ++calls == failing
                     ? 0
                     : convert(page, flags, text, length, out, size, standIn, isUsed);
        });
    convert = patch.Original<decltype(WideCharToMultiByte)>();
    EXPECT_EQ(WriteInternetShortcut(kUrl, path), E_FAIL) << failing;
  }
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

TEST_F(Shortcut, FailsWhenThePathIsTakenAfterAll) {
  // The unique name is asked for twice: free at first, taken then.
  static int asked;
  asked = 0;
  const CImportPatch patch(
      "shlwapi.dll", "PathFileExistsW", +[](LPCWSTR path) -> BOOL {
        const std::wstring text(path);
        return text.size() > 4 && text.substr(text.size() - 4) == L".url" && ++asked == 2;
      });
  CFilePath path(L"unset");
  EXPECT_EQ(WriteInternetShortcut(kUrl, path), E_FAIL);
  EXPECT_EQ(asked, 2);
  EXPECT_EQ(std::wstring(path), L"unset");
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

TEST_F(LaunchInsertion, LeavesTheUrlToTheBrowserWithoutInstallInformation) {
  const CInstallInformation information;
  ExpectLeftToTheBrowser();
}

TEST_F(LaunchInsertion, LeavesTheUrlToTheBrowserWithoutTheLauncher) {
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
