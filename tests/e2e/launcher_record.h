#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// The launcher stand-in as the desktop application's launcher: where it records its starts, and
/// what it has recorded. Until scope end; one at a time.
class CLauncherRecord {
 public:
  /// `folder` gets a copy of the stand-in, and its record.
  explicit CLauncherRecord(const std::wstring& folder);
  ~CLauncherRecord();
  CLauncherRecord(const CLauncherRecord&) = delete;
  CLauncherRecord& operator=(const CLauncherRecord&) = delete;

  std::wstring LauncherPath() const { return m_folder + L"\\LaunchFolivo.exe"; }
  /// Waits for the next start.
  void WaitForStart() const;
  /// The raw arguments of each start so far.
  std::vector<std::wstring> Arguments() const;

 private:
  const std::wstring m_folder;
  HANDLE m_started;
};
