// What the registry says about the application, in every wrong form, and launchers that are not
// there or do not start: a downloaded lesson that is to be opened, and a link to be inserted.

#include <functional>

#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialogs.h"

namespace {

using Texts = std::vector<std::wstring>;

/// What is started for a lesson. A marked link is the launcher's or else the browser's.
enum class Start { kLauncher, kNothing, kByType };

/// A value of the registry: a text with its terminator, in which "@" is the launcher's folder.
struct CLauncherFault {
  const char* name;
  Start start;
  std::wstring text = L"@";
  DWORD type = REG_SZ;
  std::wstring folder = L"App";  // below the sandbox
  DWORD lessBytes = 0;           // at the end of the value
};

class LauncherFaults : public NavigationFaults {
 protected:
  LauncherFaults() : NavigationFaults(kOpenButton) {}

  void RunAll(const std::vector<CLauncherFault>& faults) {
    for (const CLauncherFault& fault : QuickCut(faults)) {
      SCOPED_TRACE(fault.name);
      Checks().Run([&] {
        const CInstallInformation information;
        std::wstring text = fault.text;
        if (const size_t place = text.find(L'@'); place != std::wstring::npos) {
          text.replace(place, 1, m_sandbox / fault.folder);
        }
        const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
        information.SetValue(fault.type, text.c_str(), bytes - fault.lessBytes);
        const std::wstring launcher = WriteLauncher(fault.folder);
        ExpectStarted(fault.start, launcher);
        EXPECT_EQ(m_sandbox.Files(), Texts{fault.folder + L"\\LaunchFolivo.exe"});
        DeleteFileW(launcher.c_str());
      });
    }
  }

  void ExpectStarted(Start start, const std::wstring& launcher) {
    ExpectOpened(start, launcher);
    const CNavigationResult outcome = Navigate(L"http://server/insertinfolivo");
    const bool isLaunched = start == Start::kLauncher;
    EXPECT_EQ(outcome.cancelled, isLaunched);
    EXPECT_EQ(outcome.stops, isLaunched ? 1 : 0);
    EXPECT_EQ(outcome.messages, Texts());
    ASSERT_EQ(outcome.launches.size(), isLaunched ? 1u : 0u);
    const std::wstring shortcut = Temporary(L"File.url");
    if (isLaunched) {
      EXPECT_EQ(outcome.launches[0].file, launcher);
      EXPECT_EQ(outcome.launches[0].parameters, L"/insertinfolivo:" + shortcut);
    }
    EXPECT_TRUE(DeleteFileW(shortcut.c_str()));
  }

 private:
  void ExpectOpened(Start start, const std::wstring& launcher) {
    const ScriptedPath path(m_server, Lesson());
    const CNavigationResult outcome = Navigate(path.Url(L"My%20Lesson.qdk"));
    EXPECT_TRUE(outcome.cancelled);
    EXPECT_EQ(outcome.prompts, 1);
    EXPECT_EQ(outcome.messages, Texts());
    const std::wstring opened = Temporary(L"My Lesson.qdk");
    ASSERT_EQ(outcome.launches.size(), start == Start::kNothing ? 0u : 1u);
    if (start == Start::kLauncher) {
      EXPECT_EQ(outcome.launches[0].file, launcher);
      EXPECT_EQ(outcome.launches[0].parameters, opened) << "unquoted, blanks or not";
    } else if (start == Start::kByType) {
      EXPECT_EQ(outcome.launches[0].file, opened);
      EXPECT_FALSE(outcome.launches[0].hasParameters);
    }
    EXPECT_TRUE(ReadFileBytes(opened) == LessonBytes()) << "the lesson stays, whoever opens it";
    DeleteFileW(opened.c_str());
  }
};

TEST_F(LauncherFaults, OddRegistryValuesGiveNoFolder) {
  // Beyond the table of InstallFolder. The system adds a terminator that lies behind the bytes.
  RunAll({
      {"half a character at the end", Start::kNothing, L"@x", REG_SZ, L"App", 3},
      {"one byte", Start::kNothing, L"x", REG_SZ, L"App", 3},
      {"no bytes", Start::kNothing, L"", REG_SZ, L"App", 2},
      {"text behind a zero", Start::kLauncher, std::wstring(L"@\0behind", 8)},
      {"60,000 characters", Start::kByType, std::wstring(60000, L'x')},
      {"four bytes", Start::kByType, L"x", REG_DWORD},
      {"several texts", Start::kByType, L"@", REG_MULTI_SZ},
      {"link", Start::kByType, L"@", REG_LINK},
      {"no type", Start::kByType, L"@", REG_NONE},
      {"unknown type", Start::kByType, L"@", 0x1234},
      {"a variable, which is not expanded", Start::kNothing, L"%TEMP%\\App", REG_EXPAND_SZ},
  });
}

TEST_F(LauncherFaults, FoldersAreTakenAsTheyAreWritten) {
  RunAll({
      {"blanks", Start::kLauncher, L"@", REG_SZ, L"Program Files (x86)\\My App"},
      {"letters of other scripts", Start::kLauncher, L"@", REG_SZ, L"Le\u00e7on \u4f60\u597d"},
      {"percent signs", Start::kLauncher, L"@", REG_SZ, L"100%TEMP%s%n"},
      {"quotes", Start::kNothing, L"\"@\""},
      {"backslash at the end", Start::kLauncher, L"@\\"},
      {"forward slash at the end", Start::kLauncher, L"@/"},
      {"blank in front", Start::kNothing, L" @"},
      {"folder missing", Start::kNothing, L"@\\missing"},
      {"launcher in place of its folder", Start::kNothing, L"@\\LaunchFolivo.exe"},
      {"forbidden characters", Start::kNothing, L"C:\\<*?|>"},
      {"relative", Start::kNothing, L"App"},
  });
}

TEST_F(LauncherFaults, KeyThatMayNotBeReadGivesNoFolder) {
  const std::wstring launcher = WriteLauncher();
  m_information.SetFolder(m_sandbox / L"App");
  const CImportSpy<&RegOpenKeyExW> open(
      "advapi32.dll", "RegOpenKeyExW",
      [](HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) { return LSTATUS{ERROR_ACCESS_DENIED}; });
  Checks().Run([&] { ExpectStarted(Start::kByType, launcher); });
}

TEST_F(LauncherFaults, MissingLauncherIsNotReported) {
  m_information.SetFolder(m_sandbox / L"App");
  Checks().Run([&] { ExpectStarted(Start::kNothing, L""); });
}

TEST_F(LauncherFaults, FolderOfTheLaunchersNameIsStarted) {
  const std::wstring launcher = m_sandbox / L"App\\LaunchFolivo.exe";
  CreateDirectoryW((m_sandbox / L"App").c_str(), nullptr);
  CreateDirectoryW(launcher.c_str(), nullptr);
  m_information.SetFolder(m_sandbox / L"App");
  m_launches.SetAnswer(FALSE);
  Checks().Run([&] { ExpectStarted(Start::kLauncher, launcher); });
}

TEST_F(LauncherFaults, StartThatFailsIsNotReported) {
  const std::wstring launcher = WriteLauncher();
  m_launches.SetAnswer(FALSE);
  Checks().Run([&] { ExpectStarted(Start::kByType, launcher); });
  m_information.SetFolder(m_sandbox / L"App");
  Checks().Run([&] { ExpectStarted(Start::kLauncher, launcher); });
}

}  // namespace
