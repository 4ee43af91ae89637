// Line by line output for programs that are read by scripts.
#pragma once

#include <windows.h>

#include <string_view>

/// Writes whole lines of UTF-8 to standard output and, when asked to, to a log file as well.
/// Lines end with LF alone, so that shell scripts need not strip a CR; each line is one write and
/// is not buffered. Any thread may call WriteLine.
class CLineOutput {
 public:
  CLineOutput();
  ~CLineOutput();
  CLineOutput(const CLineOutput&) = delete;
  CLineOutput& operator=(const CLineOutput&) = delete;

  /// Creates (or empties) a log file that gets every further line. False when it cannot be made.
  bool OpenLog(const wchar_t* path);

  /// Writes one line. Line breaks inside the text become blanks: one call is one line.
  void WriteLine(std::string_view line);

 private:
  CRITICAL_SECTION m_lock;
  HANDLE m_standardOutput;  // belongs to the process
  HANDLE m_log = INVALID_HANDLE_VALUE;
};
