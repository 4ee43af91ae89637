#pragma once

#include <windows.h>

/// A hidden top-level window of the calling thread, of a class of this name. A class that does not
/// exist yet is registered, and stays.
class CTestWindow {
 public:
  explicit CTestWindow(LPCWSTR className) {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = &DefWindowProcW;
    windowClass.lpszClassName = className;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    RegisterClassW(&windowClass);
    m_window = CreateWindowExW(0, className, L"", WS_POPUP, 100, 100, 400, 300, nullptr, nullptr,
                               windowClass.hInstance, nullptr);
  }
  ~CTestWindow() { DestroyWindow(m_window); }
  CTestWindow(const CTestWindow&) = delete;
  CTestWindow& operator=(const CTestWindow&) = delete;

  operator HWND() const { return m_window; }  // NOLINT(google-explicit-constructor)

 private:
  HWND m_window;
};
