// What the registry says about the application, in every wrong form, and launchers that are not
// there or do not start: a downloaded lesson is to be opened.

#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/import_spy.h"

namespace {

const std::wstring kFolder = L"Le\u00e7on (x86)\\100%TEMP%s%n \u4f60";
const std::wstring kLauncher = kFolder + L"\\LaunchFolivo.exe";

/// What is started for a lesson.
enum class Start { kLauncher, kNothing, kByType };

class NavigationLauncherFaults : public NavigationFaults {
 protected:
  NavigationLauncherFaults() : NavigationFaults(kOpenButton) {}

  std::wstring Launcher() const { return m_sandbox / kLauncher; }
  void WriteLauncher() const { m_sandbox.Write(kLauncher, "not run"); }

  void ExpectStarted(Start start) {
    const ScriptedPath path(m_server, Lesson());
    const std::wstring opened = Temporary(L"My Lesson.qdk");
    CSeen seen = {L"asked", L"cancelled"};
    if (start != Start::kNothing) {
      // The path is unquoted, blanks or not.
      seen.insert(seen.begin() + 1,
                  L"run " + (start == Start::kLauncher ? Launcher() + L" " : L"") + opened);
    }
    EXPECT_EQ(Navigate(path.Url(L"My%20Lesson.qdk")), seen);
    EXPECT_TRUE(ReadFileBytes(opened) == LessonBytes()) << "the lesson stays, whoever opens it";
    DeleteFileW(opened.c_str());
  }
};

TEST_F(NavigationLauncherFaults, RegistryValueInWrongFormGivesNoFolder) {
  // A text with its terminator, in which "@" is the launcher's folder. Further values
  // are in application_handoff_test.cpp. The system adds a terminator that lies behind the bytes.
  struct {
    const char* name;
    Start start;
    std::wstring text = L"@";
    DWORD type = REG_SZ;
    DWORD lessBytes = 0;  // at the end of the value
  } const faults[] = {
      {"half a character at the end", Start::kNothing, L"@x", REG_SZ, 3},
      {"one byte", Start::kNothing, L"x", REG_SZ, 3},
      {"no bytes", Start::kNothing, L"", REG_SZ, 2},
      {"text behind a zero", Start::kLauncher, std::wstring(L"@\0behind", 8)},
      {"60,000 characters", Start::kByType, std::wstring(60000, L'x')},
      {"four bytes", Start::kByType, L"x", REG_DWORD},
      {"several texts", Start::kByType, L"@", REG_MULTI_SZ},
      {"unknown type", Start::kByType, L"@", 0x1234},
      {"a variable, which is not expanded", Start::kNothing, L"%TEMP%\\App", REG_EXPAND_SZ},
      {"whole", Start::kLauncher},
      {"quotes", Start::kNothing, L"\"@\""},
      {"folder missing", Start::kNothing, L"@\\missing"},
      {"launcher in place of its folder", Start::kNothing, L"@\\LaunchFolivo.exe"},
      {"relative", Start::kNothing, L"App"},
  };
  for (const auto& fault : QuickCut(faults)) {
    SCOPED_TRACE(fault.name);
    Checks().Run([&] {
      const CInstallInformation information;
      std::wstring text = fault.text;
      if (const size_t place = text.find(L'@'); place != std::wstring::npos) {
        text.replace(place, 1, m_sandbox / kFolder);
      }
      const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
      information.SetValue(fault.type, text.c_str(), bytes - fault.lessBytes);
      WriteLauncher();
      ExpectStarted(fault.start);
      EXPECT_EQ(m_sandbox.Files(), Files{kLauncher});
      DeleteFileW(Launcher().c_str());
    });
  }
}

TEST_F(NavigationLauncherFaults, KeyThatMayNotBeReadGivesNoFolder) {
  WriteLauncher();
  m_information.SetFolder(m_sandbox / kFolder);
  const CImportSpy<&RegOpenKeyExW> open("advapi32.dll", "RegOpenKeyExW",
                                        [](auto...) { return LSTATUS{ERROR_ACCESS_DENIED}; });
  Checks().Run([&] { ExpectStarted(Start::kByType); });
}

TEST_F(NavigationLauncherFaults, LauncherThatIsMissingOrDoesNotStartIsNotReported) {
  m_launches.SetAnswer(FALSE);
  Checks().Run([&] { ExpectStarted(Start::kByType); });
  m_information.SetFolder(m_sandbox / kFolder);
  Checks().Run([&] { ExpectStarted(Start::kNothing); });
  m_sandbox.Write(kLauncher + L"\\file", "");  // a folder of its name is started
  Checks().Run([&] { ExpectStarted(Start::kLauncher); });
}

}  // namespace
