// What the registry says about the application, in every wrong form, and launchers that are not
// there or do not start: a downloaded lesson that is to be opened, and a link to be inserted.

#include <functional>

#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"

namespace {

using Key = CInstallInformation::Key;
using Texts = std::vector<std::wstring>;

constexpr wchar_t kMarkedUrl[] = L"http://server/insertinfolivo";

/// What is started for a lesson. A marked link is the launcher's or else the browser's.
enum class Start { kLauncher, kNothing, kByType };

struct CLauncherFault {
  const char* name;
  Start start;
  /// Writes the registry; gets the folder that the launcher lies in, "App" in the sandbox.
  std::function<void(const CInstallInformation&, const std::wstring& folder)> prepare;
  std::wstring launcherFolder = L"App";
};

/// A value of any type with these bytes.
std::function<void(const CInstallInformation&, const std::wstring&)> Typed(DWORD type) {
  return [=](const CInstallInformation& information, const std::wstring& folder) {
    information.SetValue(type, folder.c_str(),
                         static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t)));
  };
}

/// A text made of the folder's path, with its terminator.
std::function<void(const CInstallInformation&, const std::wstring&)> Text(
    const std::function<std::wstring(const std::wstring&)>& change, DWORD type = REG_SZ) {
  return [=](const CInstallInformation& information, const std::wstring& folder) {
    const std::wstring text = change(folder);
    information.SetValue(type, text.c_str(),
                         static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  };
}

class LauncherFaults : public NavigationFaults {
 protected:
  LauncherFaults() : NavigationFaults(kOpen) {}

  void RunAll(const std::vector<CLauncherFault>& faults) {
    for (const CLauncherFault& fault : QuickCut(faults)) {
      SCOPED_TRACE(fault.name);
      Checks().Run([&] { Run(fault); });
    }
  }

  void ExpectOpened(Start start, const std::wstring& launcher) {
    const ScriptedPath path(m_server, Lesson());
    const CNavigationResult outcome = Navigate(path.Url(L"My%20Lesson.qdk"));
    EXPECT_TRUE(outcome.cancelled);
    EXPECT_EQ(outcome.prompts, 1);
    EXPECT_EQ(outcome.messages, Texts());
    const std::wstring name = std::wstring(kTempFiles) + L"My Lesson.qdk";
    const std::wstring opened = m_sandbox / name;
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

  void ExpectInserted(Start start, const std::wstring& launcher) {
    const CNavigationResult outcome = Navigate(kMarkedUrl);
    const bool isLaunched = start == Start::kLauncher;
    EXPECT_EQ(outcome.cancelled, isLaunched);
    EXPECT_EQ(outcome.stops, isLaunched ? 1 : 0);
    EXPECT_EQ(outcome.messages, Texts());
    ASSERT_EQ(outcome.launches.size(), isLaunched ? 1u : 0u);
    const std::wstring shortcut = m_sandbox / (std::wstring(kTempFiles) + L"File.url");
    if (isLaunched) {
      EXPECT_EQ(outcome.launches[0].file, launcher);
      EXPECT_EQ(outcome.launches[0].parameters, L"/insertinfolivo:" + shortcut);
    }
    EXPECT_TRUE(DeleteFileW(shortcut.c_str()));
  }

 private:
  void Run(const CLauncherFault& fault) {
    const CInstallInformation information;
    const std::wstring launcher = WriteLauncher(fault.launcherFolder);
    fault.prepare(information, m_sandbox / fault.launcherFolder);
    ExpectOpened(fault.start, launcher);
    ExpectInserted(fault.start, launcher);
    EXPECT_EQ(m_sandbox.Files(), Texts{fault.launcherFolder + L"\\LaunchFolivo.exe"});
    DeleteFileW(launcher.c_str());
  }
};

TEST_F(LauncherFaults, MissingKeysAndValuesOfOtherTypesAreNoInformation) {
  RunAll({
      {"no key", Start::kByType, [](const CInstallInformation&, const std::wstring&) {}},
      {"key without a value", Start::kByType,
       [](const CInstallInformation& information, const std::wstring& folder) {
         information.SetFolder(folder, Key::kPanelDrivers);
         information.Create(Key::kApplication);
       }},
      {"second key only", Start::kLauncher,
       [](const CInstallInformation& information, const std::wstring& folder) {
         information.SetFolder(folder, Key::kPanelDrivers);
       }},
      {"second key without a value", Start::kByType,
       [](const CInstallInformation& information, const std::wstring&) {
         information.Create(Key::kPanelDrivers);
       }},
      {"number", Start::kByType,
       [](const CInstallInformation& information, const std::wstring&) {
         const DWORD number = 42;
         information.SetValue(REG_DWORD, &number, sizeof(number));
       }},
      {"long number", Start::kByType,
       [](const CInstallInformation& information, const std::wstring&) {
         const ULONGLONG number = 42;
         information.SetValue(REG_QWORD, &number, sizeof(number));
       }},
      {"bytes", Start::kByType, Typed(REG_BINARY)},
      {"several texts", Start::kByType, Typed(REG_MULTI_SZ)},
      {"link", Start::kByType, Typed(REG_LINK)},
      {"no type", Start::kByType, Typed(REG_NONE)},
      {"unknown type", Start::kByType, Typed(0x1234)},
      {"text with variables, without any", Start::kLauncher, Typed(REG_EXPAND_SZ)},
      {"text with a variable, which is not expanded", Start::kNothing,
       Text([](const std::wstring&) { return L"%TEMP%\\App"; }, REG_EXPAND_SZ)},
  });
}

TEST_F(LauncherFaults, TextsAreReadToTheirEndAndNoFurther) {
  RunAll({
      {"no terminator", Start::kLauncher,
       [](const CInstallInformation& information, const std::wstring& folder) {
         // The system adds a terminator that lies behind the bytes.
         information.SetValue(REG_SZ, (folder + L"x").c_str(),
                              static_cast<DWORD>(folder.size() * sizeof(wchar_t)));
       }},
      {"half a character at the end", Start::kNothing,
       [](const CInstallInformation& information, const std::wstring& folder) {
         information.SetValue(REG_SZ, (folder + L"x").c_str(),
                              static_cast<DWORD>(folder.size() * sizeof(wchar_t) + 1));
       }},
      {"one byte", Start::kNothing,
       [](const CInstallInformation& information, const std::wstring&) {
         information.SetValue(REG_SZ, "x", 1);
       }},
      {"no bytes", Start::kNothing,
       [](const CInstallInformation& information, const std::wstring&) {
         information.SetValue(REG_SZ, "", 0);
       }},
      {"empty", Start::kNothing, Text([](const std::wstring&) { return L""; })},
      {"text behind a zero", Start::kLauncher,
       Text([](const std::wstring& folder) { return folder + L'\0' + L"behind"; })},
      {"longest", Start::kNothing,
       [](const CInstallInformation& information, const std::wstring& folder) {
         const std::wstring text = folder + std::wstring(513 - folder.size(), L'x');
         information.SetValue(REG_SZ, text.c_str(), 512 * sizeof(wchar_t));
       }},
      {"one character too long", Start::kByType, Text([](const std::wstring& folder) {
         return folder + std::wstring(512 - folder.size(), L'x');
       })},
      {"60,000 characters", Start::kByType,
       Text([](const std::wstring&) { return std::wstring(60000, L'x'); })},
  });
}

TEST_F(LauncherFaults, FoldersAreTakenAsTheyAreWritten) {
  RunAll({
      {"blanks", Start::kLauncher, Text([](const std::wstring& folder) { return folder; }),
       L"Program Files (x86)\\My App"},
      {"letters of other scripts", Start::kLauncher,
       Text([](const std::wstring& folder) { return folder; }), L"Le\u00e7on \u4f60\u597d"},
      {"percent signs", Start::kLauncher, Text([](const std::wstring& folder) { return folder; }),
       L"100%TEMP%s%n"},
      {"quotes", Start::kNothing,
       Text([](const std::wstring& folder) { return L'"' + folder + L'"'; })},
      {"backslash at the end", Start::kLauncher,
       Text([](const std::wstring& folder) { return folder + L"\\"; })},
      {"forward slashes", Start::kLauncher, Text([](std::wstring folder) {
         for (wchar_t& c : folder) {
           c = c == L'\\' ? L'/' : c;
         }
         return folder + L"/";
       })},
      {"blank in front", Start::kNothing,
       Text([](const std::wstring& folder) { return L" " + folder; })},
      {"folder missing", Start::kNothing,
       Text([](const std::wstring& folder) { return folder + L"\\missing"; })},
      {"launcher in place of its folder", Start::kNothing,
       Text([](const std::wstring& folder) { return folder + L"\\LaunchFolivo.exe"; })},
      {"forbidden characters", Start::kNothing,
       Text([](const std::wstring&) { return L"C:\\<*?|>"; })},
      {"relative", Start::kNothing, Text([](const std::wstring&) { return L"App"; })},
  });
}

TEST_F(LauncherFaults, KeyThatMayNotBeReadIsNone) {
  const std::wstring launcher = WriteLauncher();
  m_information.SetFolder(m_sandbox / L"App");
  const CImportPatch patch(
      "advapi32.dll", "RegOpenKeyExW",
      +[](HKEY, LPCWSTR, DWORD, REGSAM, PHKEY) -> LSTATUS { return ERROR_ACCESS_DENIED; });
  Checks().Run([&] {
    ExpectOpened(Start::kByType, launcher);
    ExpectInserted(Start::kByType, launcher);
  });
}

TEST_F(LauncherFaults, LauncherThatIsMissingIsNotMissed) {
  DeleteFileW(WriteLauncher().c_str());
  m_information.SetFolder(m_sandbox / L"App");
  Checks().Run([&] {
    ExpectOpened(Start::kNothing, L"");
    ExpectInserted(Start::kNothing, L"");
  });
}

TEST_F(LauncherFaults, FolderOfTheLaunchersNameIsTriedAllTheSame) {
  CreateDirectoryW((m_sandbox / L"App").c_str(), nullptr);
  const std::wstring launcher = m_sandbox / L"App\\LaunchFolivo.exe";
  CreateDirectoryW(launcher.c_str(), nullptr);
  m_information.SetFolder(m_sandbox / L"App");
  m_launches.SetAnswer(FALSE);
  Checks().Run([&] {
    ExpectOpened(Start::kLauncher, launcher);
    ExpectInserted(Start::kLauncher, launcher);
  });
}

TEST_F(LauncherFaults, StartThatFailsIsNotReported) {
  const std::wstring launcher = WriteLauncher();
  m_launches.SetAnswer(FALSE);
  Checks().Run([&] { ExpectOpened(Start::kByType, launcher); });
  m_information.SetFolder(m_sandbox / L"App");
  Checks().Run([&] {
    ExpectOpened(Start::kLauncher, launcher);
    ExpectInserted(Start::kLauncher, launcher);
  });
}

}  // namespace
