#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

/// Takes what this process writes to standard output, for the object's scope. What nobody has taken
/// then is written after all: it may be a failure's message.
class CStdoutCapture {
 public:
  CStdoutCapture() { testing::internal::CaptureStdout(); }
  ~CStdoutCapture() {
    const std::string rest = testing::internal::GetCapturedStdout();
    std::fputs(rest.c_str(), stdout);
  }
  CStdoutCapture(const CStdoutCapture&) = delete;
  CStdoutCapture& operator=(const CStdoutCapture&) = delete;

  /// What has been written since the last call, with "\n" as line end.
  std::string Take() {
    const std::string text = testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    return text;
  }
};
