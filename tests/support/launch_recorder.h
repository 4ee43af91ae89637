#pragma once

#include <windows.h>

#include <shellapi.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/import_spy.h"

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

/// Stands in for the shell while it lives: records what is to be run, and runs nothing.
class CLaunchRecorder {
 public:
  CLaunchRecorder()
      : m_spy("shell32.dll", "ShellExecuteExW",
              [this](SHELLEXECUTEINFOW* info) { return Record(*info); }) {}
  CLaunchRecorder(const CLaunchRecorder&) = delete;
  CLaunchRecorder& operator=(const CLaunchRecorder&) = delete;

  /// The launches so far.
  const std::vector<CLaunch>& Launches() const { return m_launches; }
  /// What every launch answers from now on; TRUE at first.
  void SetAnswer(BOOL answer) const { m_answer = answer; }
  /// Sets what is called during a launch.
  void WhileLaunching(std::function<void()> action) const { m_action = std::move(action); }

 private:
  static std::wstring TextOf(LPCWSTR text) { return text != nullptr ? text : L""; }

  BOOL Record(const SHELLEXECUTEINFOW& info) const {
    m_launches.push_back({info.cbSize, info.fMask, info.hwnd, TextOf(info.lpVerb),
                          TextOf(info.lpFile), info.lpParameters != nullptr,
                          TextOf(info.lpParameters), info.lpDirectory != nullptr, info.nShow});
    if (m_action) {
      m_action();
    }
    return m_answer;
  }

  mutable std::vector<CLaunch> m_launches;
  mutable BOOL m_answer = TRUE;
  mutable std::function<void()> m_action;
  const CImportSpy<&ShellExecuteExW> m_spy;
};
