#pragma once

#include <atlbase.h>
#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/parallel.h"

/// Longest wait for anything a tool does, in milliseconds; only a failing test ever waits so long.
constexpr DWORD kToolTimeout = 120000;

/// Full path of a built tool, such as "browser_host.exe".
std::wstring ToolPath(const std::wstring& fileName);

/// A program with pipes to its standard input and output. It is ended at scope end if it still
/// runs.
class CToolProcess {
 public:
  /// `arguments` is the raw rest of the command line, after the quoted program name.
  CToolProcess(const std::wstring& path, const std::wstring& arguments);
  ~CToolProcess();
  CToolProcess(const CToolProcess&) = delete;
  CToolProcess& operator=(const CToolProcess&) = delete;

  DWORD ProcessId() const { return GetProcessId(m_process); }

  /// Writes one line of UTF-8 to the program's standard input.
  void WriteLine(const std::string& line) const;

  /// Reads lines until one begins with the text, and returns that one. Nothing when the output ends
  /// or time runs out first.
  std::optional<std::string> WaitForLine(std::string_view beginning);

  /// Waits for the end of the program and of its output. Returns its exit code; STILL_ACTIVE when
  /// it does not end in time.
  DWORD WaitForExit();

  /// The whole output. After WaitForExit.
  const std::vector<std::string>& Lines() const { return m_lines; }

 private:
  void ReadOutput();

  CHandle m_process;
  CHandle m_input;
  CHandle m_output;
  CONDITION_VARIABLE m_changed = CONDITION_VARIABLE_INIT;
  SRWLOCK m_lock = SRWLOCK_INIT;  // of the following, until the output has ended
  std::vector<std::string> m_lines;
  size_t m_next = 0;  // the first line that has not been waited for
  bool m_ended = false;
  std::optional<CParallel> m_reader;
};
