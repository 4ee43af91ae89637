#pragma once

#include <windows.h>

#include <string>

#include "tests/tools/tool_process.h"

/// The browser host with the registered helper objects, as a process of its own with its window
/// shown, and what a person does with the dialogs in it. Its window is closed at scope end.
/// Failures fail the test.
class CBrowserSession {
 public:
  /// Fails when the helper object was not created.
  CBrowserSession();
  ~CBrowserSession();
  CBrowserSession(const CBrowserSession&) = delete;
  CBrowserSession& operator=(const CBrowserSession&) = delete;

  /// Begins a navigation. The answer to the command is not waited for: dialogs may hold it up.
  void Navigate(const std::wstring& url);
  /// Waits until the helper objects have dealt with the navigation; true when they cancelled it.
  bool WaitForEvent();
  /// Closes the window at once, as its close box does, and gives the process's exit code.
  DWORD CloseWindow();

  /// Waits for a dialog of the browser with this title.
  HWND WaitForDialog(const std::wstring& title) const;
  /// Waits for such a dialog, presses a button of it and waits until it has gone.
  void Press(const std::wstring& dialog, int button) const;
  /// Deals with the save dialog.
  void SaveAs(const std::wstring& path) const;
  /// Whether there is a dialog now.
  bool HasDialog() const;

 private:
  CToolProcess m_process;
  bool m_closed = false;
};
