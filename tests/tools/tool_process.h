// A tool under test, as a process of its own.
#pragma once

#include <windows.h>

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Longest wait for anything a tool does, in milliseconds; only a failing test ever waits so long.
constexpr DWORD kToolTimeout = 120000;

/// Full path of a built tool, such as "browser_host.exe".
std::wstring ToolPath(const std::wstring& fileName);

/// Full path of a file beside the test program.
std::wstring TestFilePath(const std::wstring& fileName);

/// Starts a tool with pipes to its standard input and output, and ends it at scope end if it still
/// runs. A thread of the object's own reads the output; all methods are for the creating thread.
class CToolProcess {
 public:
  /// `arguments` is the raw rest of the command line, after the quoted program name. `directory` is
  /// the working directory, null for the test's own.
  CToolProcess(const std::wstring& path, const std::wstring& arguments,
               const wchar_t* directory = nullptr);
  ~CToolProcess();
  CToolProcess(const CToolProcess&) = delete;
  CToolProcess& operator=(const CToolProcess&) = delete;

  DWORD ProcessId() const { return m_processId; }

  /// Writes one line of UTF-8 to the tool's standard input.
  void WriteLine(const std::string& line);

  /// Ends the tool's standard input.
  void CloseInput();

  /// Reads lines until one begins with the text, and returns that one. Nothing when the output ends
  /// or time runs out first.
  std::optional<std::string> WaitForLine(std::string_view beginning);

  /// Waits for the end of the tool and of its output. Returns its exit code; STILL_ACTIVE when it
  /// does not end in time.
  DWORD WaitForExit();

  /// Every line that was read by WaitForLine and WaitForExit so far.
  const std::vector<std::string>& Lines() const { return m_lines; }

 private:
  static DWORD WINAPI ReaderThread(void* self);
  void ReadOutput();
  bool NextLine(std::string& line);

  HANDLE m_process = nullptr;
  HANDLE m_thread = nullptr;
  HANDLE m_input = nullptr;   // the end that the test writes to
  HANDLE m_output = nullptr;  // the end that the test reads from
  HANDLE m_news = nullptr;    // set by the reader thread whenever what m_lock guards has changed
  DWORD m_processId = 0;
  CRITICAL_SECTION m_lock;
  std::deque<std::string> m_unread;  // guarded by m_lock
  bool m_ended = false;              // guarded by m_lock
  std::vector<std::string> m_lines;
};
