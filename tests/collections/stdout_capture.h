#pragma once

#include <string>

/// Takes what this process writes to standard output, for the object's scope.
class CStdoutCapture {
 public:
  CStdoutCapture();
  ~CStdoutCapture();
  CStdoutCapture(const CStdoutCapture&) = delete;
  CStdoutCapture& operator=(const CStdoutCapture&) = delete;

  /// What has been written since the last call, with "\n" as line end.
  std::string Take();

 private:
  int m_file;
  int m_saved;
};
