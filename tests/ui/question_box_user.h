#pragma once

#include <atlstr.h>
#include <windows.h>

#include <functional>

/// The arguments of ShowCustomMessageBox, with those that most tests use as defaults.
struct CQuestion {
  HWND owner = nullptr;
  LPCWSTR title = L"Question";
  LPCWSTR text = L"Shall we?";
  UINT iconId = 32514;  // IDI_QUESTION
  CStringW labels[4] = {L"Open", L"Save", L"Cancel", L""};
  CStringW checkLabel = L"";
  LONG* checkState = nullptr;
};

/// Shows the box and gives its result.
int Show(const CQuestion& question);

/// Shows the box to a user: a thread that gets the window once it is visible. A box that the user
/// leaves open is closed then, by the command 2.
int ShowTo(const CQuestion& question, const std::function<void(HWND box)>& user);

/// A window of the calling thread, visible or not, 200 x 100 pixels at (300, 400).
class COwnerWindow {
 public:
  explicit COwnerWindow(bool visible)
      : m_window(CreateWindowExW(0, L"static", L"Owner", WS_POPUP | (visible ? WS_VISIBLE : 0), 300,
                                 400, 200, 100, nullptr, nullptr, nullptr, nullptr)) {}
  ~COwnerWindow() { DestroyWindow(m_window); }
  COwnerWindow(const COwnerWindow&) = delete;
  COwnerWindow& operator=(const COwnerWindow&) = delete;
  // NOLINTNEXTLINE(google-explicit-constructor): an argument of system calls
  operator HWND() const { return m_window; }

 private:
  const HWND m_window;
};
