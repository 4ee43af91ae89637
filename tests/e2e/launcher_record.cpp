#include "tests/e2e/launcher_record.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/support/temp_sandbox.h"
#include "tests/tools/tool_process.h"
#include "tools/support/utf8.h"

namespace {

constexpr wchar_t kToolsKey[] = L"Software\\FolivoTestTools";

}  // namespace

CLauncherRecord::CLauncherRecord(const std::wstring& folder)
    : m_folder(folder), m_started(CreateEventW(nullptr, FALSE, FALSE, L"FolivoLauncherStandIn")) {
  // Without the value the stand-in records beside itself.
  RegDeleteKeyValueW(HKEY_CURRENT_USER, kToolsKey, L"LauncherRecord");
  std::filesystem::create_directories(m_folder);
  std::filesystem::copy_file(ToolPath(L"LaunchFolivo.exe"), LauncherPath());
}

CLauncherRecord::~CLauncherRecord() { CloseHandle(m_started); }

void CLauncherRecord::WaitForStart() const {
  EXPECT_EQ(WaitForSingleObject(m_started, kToolTimeout), WAIT_OBJECT_0) << "no launcher started";
}

std::vector<std::wstring> CLauncherRecord::Arguments() const {
  std::istringstream records(ReadFileBytes(m_folder + L"\\LaunchFolivo.log"));
  std::vector<std::wstring> arguments;
  for (std::string line; std::getline(records, line);) {
    arguments.push_back(FromUtf8(line.substr(0, line.rfind('\t'))));
  }
  return arguments;
}
