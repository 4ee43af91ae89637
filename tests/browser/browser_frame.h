#pragma once

#include <windows.h>

#include <functional>

/// The browser's visible window, of the thread that makes the object: that is the browser's thread.
/// A user's thread has the browser do something through it while a dialog is open.
class CBrowserFrame {
 public:
  CBrowserFrame();
  ~CBrowserFrame();
  CBrowserFrame(const CBrowserFrame&) = delete;
  CBrowserFrame& operator=(const CBrowserFrame&) = delete;

  operator HWND() const { return m_window; }  // NOLINT(google-explicit-constructor)

  /// Runs the action on the browser's thread, which must serve messages, and waits for its end.
  void Run(const std::function<void()>& action) const;
  /// The same without waiting: for actions that open a dialog of their own. One at a time.
  void Begin(std::function<void()> action);

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  std::function<void()> m_begun;
  HWND m_window;
};
