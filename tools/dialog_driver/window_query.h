// What the dialog driver sees of other processes' windows.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// How long a window may take to answer a question, in milliseconds.
inline constexpr UINT kAnswerTimeout = 20000;

/// Which top-level window is wanted. Fields that are not set match any window.
struct WindowFilter {
  std::optional<std::wstring> title;      // the whole title, compared exactly
  std::optional<std::wstring> className;  // compared without regard to case
  DWORD processId = 0;                    // 0: any process
};

/// One window, as it was when it was looked at.
struct WindowFacts {
  HWND window = nullptr;
  DWORD processId = 0;
  int id = 0;  // control id; 0 for a top-level window
  std::wstring className;
  std::wstring text;
  bool visible = false;
  bool enabled = false;
  RECT rect{};  // screen pixels
};

/// The window's text, asked of the window itself, so that edit fields of other processes answer
/// too. Empty when the window does not answer within two seconds.
std::wstring WindowText(HWND window);

/// The window's class name; empty when the window has gone.
std::wstring WindowClass(HWND window);

/// Reads one window.
WindowFacts ReadWindow(HWND window);

/// Every visible top-level window, the topmost first.
std::vector<WindowFacts> VisibleTopLevelWindows();

/// All children, grandchildren and so on of a window, in the order of the Z axis.
std::vector<WindowFacts> ChildWindows(HWND parent);

/// The topmost visible window that fits the filter; null when there is none.
HWND FindVisibleWindow(const WindowFilter& filter);
