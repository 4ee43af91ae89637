#pragma once

#include <string>
#include <vector>

#include "tests/tools/tool_process.h"

/// A script, as a page has it, run by the system's script host in a process of its own. It runs
/// through tools/wininet_bridge, which makes up for what Wine's WinINet leaves in the last error.
class CScriptRun {
 public:
  /// Writes `source` (JScript, ASCII) to `folder` and starts it; WScript.Arguments holds
  /// `argument`.
  CScriptRun(const std::wstring& folder, const std::string& source, const std::wstring& argument);

  /// Waits until the script has ended, which must be by itself, and gives what it printed.
  std::vector<std::string> Finish();

 private:
  CToolProcess m_process;
};
