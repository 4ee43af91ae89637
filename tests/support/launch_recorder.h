#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/import_patch.h"

/// One call of ShellExecuteExW.
struct CLaunch {
  DWORD size;
  ULONG mask;
  HWND owner;
  std::wstring verb;
  std::wstring file;
  bool hasParameters;
  std::wstring parameters;
  bool hasFolder;
  int show;
};

/// Stands in for the shell while it lives: takes down what is to be run, and runs nothing. One at a
/// time.
class CLaunchRecorder {
 public:
  CLaunchRecorder();
  CLaunchRecorder(const CLaunchRecorder&) = delete;
  CLaunchRecorder& operator=(const CLaunchRecorder&) = delete;

  /// The launches so far.
  const std::vector<CLaunch>& Launches() const;
  /// What every launch answers from now on; TRUE at first.
  void SetAnswer(BOOL answer) const;
  /// What is to happen during a launch.
  void WhileLaunching(std::function<void()> action) const;

 private:
  CImportPatch m_patch;
};
