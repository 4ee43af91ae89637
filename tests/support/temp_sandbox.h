#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// A temporary folder of the test's own, which the process's TMP and TEMP name for as long as the
/// object lives; deleted with all in it at the end.
class CTempSandbox {
 public:
  CTempSandbox();
  ~CTempSandbox();
  CTempSandbox(const CTempSandbox&) = delete;
  CTempSandbox& operator=(const CTempSandbox&) = delete;

  /// Without a trailing backslash.
  const std::wstring& Path() const { return m_path; }
  /// `name` below the folder.
  std::wstring operator/(const std::wstring& name) const { return m_path + L"\\" + name; }

  /// Every file below the folder, by its path relative to it.
  std::vector<std::wstring> Files() const;

  /// Creates a file (and the folders above it) with these bytes and gives its full path.
  std::wstring Write(const std::wstring& name, const std::string& bytes) const;

 private:
  std::wstring m_path;
  std::wstring m_previousTmp;
  std::wstring m_previousTemp;
};

/// The file's bytes; empty when it cannot be read.
std::string ReadFileBytes(const std::wstring& path);
