#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/temp_sandbox.h"
#include "tests/tools/tool_process.h"
#include "tools/support/utf8.h"

/// The launcher stand-in as the desktop application's launcher, and its record. Until scope end;
/// one at a time.
class CLauncherRecord {
 public:
  /// `folder` gets a copy of the stand-in, and its record.
  explicit CLauncherRecord(const std::wstring& folder)
      : m_folder(folder), m_started(CreateEventW(nullptr, FALSE, FALSE, L"FolivoLauncherStandIn")) {
    // Without the value the stand-in records beside itself.
    RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Software\\FolivoTestTools", L"LauncherRecord");
    std::filesystem::create_directories(m_folder);
    std::filesystem::copy_file(ToolPath(L"LaunchFolivo.exe"), m_folder + L"\\LaunchFolivo.exe");
  }
  ~CLauncherRecord() { CloseHandle(m_started); }
  CLauncherRecord(const CLauncherRecord&) = delete;
  CLauncherRecord& operator=(const CLauncherRecord&) = delete;

  /// Waits for the next start.
  void WaitForStart() const {
    EXPECT_EQ(WaitForSingleObject(m_started, kToolTimeout), WAIT_OBJECT_0) << "no launcher started";
  }
  /// The raw arguments of each start so far.
  std::vector<std::wstring> Arguments() const {
    std::istringstream records(ReadFileBytes(m_folder + L"\\LaunchFolivo.log"));
    std::vector<std::wstring> arguments;
    for (std::string line; std::getline(records, line);) {
      arguments.push_back(FromUtf8(line.substr(0, line.rfind('\t'))));
    }
    return arguments;
  }

 private:
  const std::wstring m_folder;
  HANDLE m_started;
};
