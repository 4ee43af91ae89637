// The launcher stand-in as a process of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tests/tools/tool_process.h"

namespace {

using testing::HasSubstr;

constexpr wchar_t kSettings[] = L"Software\\FolivoTestTools";

std::string ReadFileBytes(const std::wstring& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class LauncherStandIn : public testing::Test {
 protected:
  void SetUp() override {
    DeleteFileW(m_record.c_str());
    SetRecordFile(m_record);
  }
  void TearDown() override {
    DeleteFileW(m_record.c_str());
    RegDeleteKeyValueW(HKEY_CURRENT_USER, kSettings, L"LauncherRecord");
    RegDeleteKeyW(HKEY_CURRENT_USER, kSettings);
  }

  void SetRecordFile(const std::wstring& path) {
    ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, kSettings, L"LauncherRecord", REG_SZ, path.c_str(),
                              static_cast<DWORD>((path.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
  }

  DWORD Launch(const std::wstring& arguments, const wchar_t* directory = L"C:\\") {
    CToolProcess launcher(ToolPath(L"LaunchFolivo.exe"), arguments, directory);
    return launcher.WaitForExit();
  }

  const std::wstring m_record = TestFilePath(L"launcher_standin_test.record");
};

}  // namespace

TEST_F(LauncherStandIn, RecordsTheCommandLineToTheLetter) {
  EXPECT_EQ(Launch(L"C:\\My Lessons\\a  b.folivo"), 0u);
  EXPECT_EQ(Launch(L"/insertinfolivo:\"C:\\\u00e4 \u4f60.url\" ", L"C:\\windows"), 0u);
  EXPECT_EQ(Launch(L""), 0u);
  EXPECT_EQ(ReadFileBytes(m_record),
            "C:\\My Lessons\\a  b.folivo\tC:\\\n"
            "/insertinfolivo:\"C:\\\xc3\xa4 \xe4\xbd\xa0.url\" \tC:\\windows\n"
            "\tC:\\\n");
}

TEST_F(LauncherStandIn, SignalsWhoeverWaits) {
  const HANDLE started = CreateEventW(nullptr, TRUE, FALSE, L"FolivoLauncherStandIn");
  ASSERT_TRUE(started);
  EXPECT_EQ(Launch(L"x"), 0u);
  EXPECT_EQ(WaitForSingleObject(started, 0), WAIT_OBJECT_0);
  CloseHandle(started);
}

TEST_F(LauncherStandIn, LosesNoRecordWhenSeveralRunAtOnce) {
  constexpr int kLaunchers = 6;
  std::vector<std::unique_ptr<CToolProcess>> launchers;
  for (int i = 0; i < kLaunchers; ++i) {
    launchers.push_back(std::make_unique<CToolProcess>(ToolPath(L"LaunchFolivo.exe"),
                                                       L"number" + std::to_wstring(i), L"C:\\"));
  }
  for (const auto& launcher : launchers) {
    // A reader in between sees whole lines only.
    const std::string seen = ReadFileBytes(m_record);
    EXPECT_TRUE(seen.empty() || seen.back() == '\n') << seen;
    EXPECT_EQ(launcher->WaitForExit(), 0u);
  }
  const std::string record = ReadFileBytes(m_record);
  for (int i = 0; i < kLaunchers; ++i) {
    EXPECT_THAT(record, HasSubstr("number" + std::to_string(i) + "\tC:\\\n"));
  }
}
