// What the registry says about the application, in every wrong form, and launchers that are not
// there or do not start: a downloaded lesson that is to be opened, and a link to be inserted.

#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/import_spy.h"

namespace {

/// What is started for a lesson. A marked link is the launcher's or else the browser's.
enum class Start { kLauncher, kNothing, kByType };

class NavigationLauncherFaults : public NavigationFaults {
 protected:
  NavigationLauncherFaults() : NavigationFaults(kOpenButton) {}

  std::wstring Launcher(const std::wstring& folder = L"App") const {
    return m_sandbox / (folder + L"\\LaunchFolivo.exe");
  }
  void WriteLauncher(const std::wstring& folder = L"App") const {
    m_sandbox.Write(folder + L"\\LaunchFolivo.exe", "not run");
  }

  void ExpectStarted(Start start, const std::wstring& launcher) {
    const ScriptedPath path(m_server, Lesson());
    const std::wstring opened = Temporary(L"My Lesson.qdk");
    CSeen seen = {L"asked", L"cancelled"};
    if (start != Start::kNothing) {
      // The path is unquoted, blanks or not.
      seen.insert(seen.begin() + 1,
                  L"run " + (start == Start::kLauncher ? launcher + L" " : L"") + opened);
    }
    EXPECT_EQ(Navigate(path.Url(L"My%20Lesson.qdk")), seen);
    EXPECT_TRUE(ReadFileBytes(opened) == LessonBytes()) << "the lesson stays, whoever opens it";
    DeleteFileW(opened.c_str());

    const std::wstring shortcut = Temporary(L"File.url");
    seen.clear();
    if (start == Start::kLauncher) {
      seen = {L"run " + launcher + L" /insertinfolivo:" + shortcut, L"stopped", L"cancelled"};
    }
    EXPECT_EQ(Navigate(L"http://server/insertinfolivo"), seen);
    EXPECT_TRUE(DeleteFileW(shortcut.c_str()));
  }
};

TEST_F(NavigationLauncherFaults, RegistryValueInWrongFormGivesNoFolder) {
  // A text with its terminator, in which "@" is the launcher's folder. Beyond the table of
  // InstallFolder. The system adds a terminator that lies behind the bytes.
  struct {
    const char* name;
    Start start;
    std::wstring text = L"@";
    DWORD type = REG_SZ;
    DWORD lessBytes = 0;           // at the end of the value
    std::wstring folder = L"App";  // below the sandbox
  } const faults[] = {
      {"half a character at the end", Start::kNothing, L"@x", REG_SZ, 3},
      {"one byte", Start::kNothing, L"x", REG_SZ, 3},
      {"no bytes", Start::kNothing, L"", REG_SZ, 2},
      {"text behind a zero", Start::kLauncher, std::wstring(L"@\0behind", 8)},
      {"60,000 characters", Start::kByType, std::wstring(60000, L'x')},
      {"four bytes", Start::kByType, L"x", REG_DWORD},
      {"several texts", Start::kByType, L"@", REG_MULTI_SZ},
      {"no type", Start::kByType, L"@", REG_NONE},
      {"unknown type", Start::kByType, L"@", 0x1234},
      {"a variable, which is not expanded", Start::kNothing, L"%TEMP%\\App", REG_EXPAND_SZ},
      {"blanks", Start::kLauncher, L"@", REG_SZ, 0, L"Program Files (x86)\\My App"},
      {"other scripts", Start::kLauncher, L"@", REG_SZ, 0, L"Le\u00e7on \u4f60\u597d"},
      {"percent signs", Start::kLauncher, L"@", REG_SZ, 0, L"100%TEMP%s%n"},
      {"quotes", Start::kNothing, L"\"@\""},
      {"blank in front", Start::kNothing, L" @"},
      {"folder missing", Start::kNothing, L"@\\missing"},
      {"launcher in place of its folder", Start::kNothing, L"@\\LaunchFolivo.exe"},
      {"forbidden characters", Start::kNothing, L"C:\\<*?|>"},
      {"relative", Start::kNothing, L"App"},
  };
  for (const auto& fault : QuickCut(faults)) {
    SCOPED_TRACE(fault.name);
    Checks().Run([&] {
      const CInstallInformation information;
      std::wstring text = fault.text;
      if (const size_t place = text.find(L'@'); place != std::wstring::npos) {
        text.replace(place, 1, m_sandbox / fault.folder);
      }
      const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
      information.SetValue(fault.type, text.c_str(), bytes - fault.lessBytes);
      WriteLauncher(fault.folder);
      ExpectStarted(fault.start, Launcher(fault.folder));
      EXPECT_EQ(m_sandbox.Files(), Files{fault.folder + L"\\LaunchFolivo.exe"});
      DeleteFileW(Launcher(fault.folder).c_str());
    });
  }
}

TEST_F(NavigationLauncherFaults, KeyThatMayNotBeReadGivesNoFolder) {
  WriteLauncher();
  m_information.SetFolder(m_sandbox / L"App");
  const CImportSpy<&RegOpenKeyExW> open("advapi32.dll", "RegOpenKeyExW",
                                        [](auto...) { return LSTATUS{ERROR_ACCESS_DENIED}; });
  Checks().Run([&] { ExpectStarted(Start::kByType, L""); });
}

TEST_F(NavigationLauncherFaults, LauncherThatIsMissingOrDoesNotStartIsNotReported) {
  m_launches.SetAnswer(FALSE);
  Checks().Run([&] { ExpectStarted(Start::kByType, L""); });
  m_information.SetFolder(m_sandbox / L"App");
  Checks().Run([&] { ExpectStarted(Start::kNothing, L""); });
  CreateDirectoryW((m_sandbox / L"App").c_str(), nullptr);
  CreateDirectoryW(Launcher().c_str(), nullptr);  // a folder of its name is started
  Checks().Run([&] { ExpectStarted(Start::kLauncher, Launcher()); });
}

}  // namespace
