#pragma once

#include <string>

#include "tests/tools/tool_process.h"

/// Has another process hold a file open, shared with nobody, until scope end.
class CHeldFile {
 public:
  explicit CHeldFile(const std::wstring& path);
  ~CHeldFile();
  CHeldFile(const CHeldFile&) = delete;
  CHeldFile& operator=(const CHeldFile&) = delete;

 private:
  CToolProcess m_process;
};
