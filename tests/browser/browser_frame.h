#pragma once

#include <windows.h>

#include <functional>
#include <utility>

/// A window as a browser has one, of the thread that makes the object: that is the browser's
/// thread. A user's thread has the browser do something through it while a dialog is open.
class CBrowserFrame {
 public:
  /// A class that does not exist yet is registered, and stays.
  explicit CBrowserFrame(LPCWSTR className = L"IEFrame") {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &Procedure;
    windowClass.lpszClassName = className;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    RegisterClassW(&windowClass);
    m_window = CreateWindowExW(0, className, L"Browser", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50,
                               800, 600, nullptr, nullptr, windowClass.hInstance, nullptr);
  }
  ~CBrowserFrame() {
    if (IsWindow(m_window)) {
      DestroyWindow(m_window);
    }
  }
  CBrowserFrame(const CBrowserFrame&) = delete;
  CBrowserFrame& operator=(const CBrowserFrame&) = delete;

  // NOLINTNEXTLINE(google-explicit-constructor): an argument of system calls
  operator HWND() const { return m_window; }

  /// Runs the action on the browser's thread, which must serve messages, and waits for its end.
  void Run(const std::function<void()>& action) const {
    SendMessageW(m_window, kRun, 0, reinterpret_cast<LPARAM>(&action));
  }
  /// Posts the action and returns at once, for actions that open a modal dialog. One at a time.
  void Begin(std::function<void()> action) {
    m_begun = std::move(action);
    PostMessageW(m_window, kRun, 0, reinterpret_cast<LPARAM>(&m_begun));
  }

 private:
  static constexpr UINT kRun = WM_APP + 1;  // lParam: the action

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != kRun) {
      return DefWindowProcW(window, message, wParam, lParam);
    }
    (*reinterpret_cast<const std::function<void()>*>(lParam))();
    return 0;
  }

  std::function<void()> m_begun;
  HWND m_window;
};
