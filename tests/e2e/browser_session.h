#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <optional>
#include <string>

#include "tests/support/dialogs.h"
#include "tests/tools/tool_process.h"
#include "tools/dialog_driver/polling.h"
#include "tools/dialog_driver/window_actions.h"
#include "tools/dialog_driver/window_query.h"
#include "tools/support/utf8.h"

/// The browser host with the registered helper objects, as a process of its own with its window
/// shown, and what a person does with the dialogs in it. Its window is closed at scope end.
/// Failures fail the test.
class CBrowserSession {
 public:
  /// Fails when the helper object was not created.
  CBrowserSession() : m_process(ToolPath(L"browser_host.exe"), L"--show --commands-from-stdin") {
    const auto helper = m_process.WaitForLine("helper ");
    EXPECT_TRUE(helper) << "no helper object is registered";
    EXPECT_NE(helper.value_or("").find(" hr=0x00000000"), std::string::npos) << *helper;
  }
  ~CBrowserSession() {
    if (!m_closed) {
      CloseWindow();
    }
  }
  CBrowserSession(const CBrowserSession&) = delete;
  CBrowserSession& operator=(const CBrowserSession&) = delete;

  /// Begins a navigation. The answer to the command is not waited for: dialogs may hold it up.
  void Navigate(const std::wstring& url) { m_process.WriteLine("navigate " + ToUtf8(url)); }
  /// Waits until the helper objects have dealt with the navigation; true when they cancelled it.
  bool WaitForEvent() {
    const auto line = m_process.WaitForLine("event BeforeNavigate2 ");
    EXPECT_TRUE(line) << "no end of the event";
    return line && line->find(" cancel=1") != std::string::npos;
  }
  /// Closes the window at once, as its close box does, and gives the process's exit code.
  DWORD CloseWindow() {
    m_closed = true;
    m_process.WriteLine("close");
    return m_process.WaitForExit();
  }

  /// Waits for a dialog of the browser with this title.
  HWND WaitForDialog(const std::wstring& title) const {
    HWND dialog = nullptr;
    EXPECT_TRUE(PollUntil(kToolTimeout, [&] {
      dialog = FindVisibleWindow({title, kDialogClass, m_process.ProcessId()});
      return dialog != nullptr;
    })) << ToUtf8(title);
    return dialog;
  }
  /// Waits for such a dialog, presses a button of it and waits until it has gone.
  void Press(const std::wstring& dialog, int button) const {
    const HWND window = WaitForDialog(dialog);
    EXPECT_EQ(Click(window, button, kToolTimeout), ActionResult::kDone) << ToUtf8(dialog);
    EXPECT_EQ(WaitGone(window, kToolTimeout), ActionResult::kDone) << ToUtf8(dialog);
  }
  /// Deals with the save dialog.
  void SaveAs(const std::wstring& path) const {
    constexpr int kNameField = 0x47C;
    const HWND dialog = WaitForDialog(kSaveTitle);
    EXPECT_EQ(SetControlText(dialog, kNameField, path, kToolTimeout), ActionResult::kDone);
    EXPECT_EQ(SendCommand(dialog, IDOK), ActionResult::kDone);
  }
  /// Whether there is a dialog now.
  bool HasDialog() const {
    return FindVisibleWindow({std::nullopt, kDialogClass, m_process.ProcessId()}) != nullptr;
  }

 private:
  static constexpr wchar_t kDialogClass[] = L"#32770";

  CToolProcess m_process;
  bool m_closed = false;
};
