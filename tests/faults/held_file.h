#pragma once

#include <atlbase.h>

#include <optional>
#include <string>

#include "tests/tools/tool_process.h"

/// Holds a file open, shared with nobody, until scope end: this program does or another one.
class CHeldFile {
 public:
  CHeldFile(const std::wstring& path, bool isElsewhere);
  ~CHeldFile();
  CHeldFile(const CHeldFile&) = delete;
  CHeldFile& operator=(const CHeldFile&) = delete;

 private:
  CHandle m_file;
  std::optional<CToolProcess> m_process;
};
