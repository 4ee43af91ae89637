#pragma once

#include <atldef.h>

#include <algorithm>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// A window handle with the window functions as members. Does not own the window.
class CWindow {
 public:
  CWindow(HWND hWnd = nullptr) noexcept : m_hWnd(hWnd) {}
  operator HWND() const noexcept { return m_hWnd; }

  BOOL IsWindow() const noexcept { return ::IsWindow(m_hWnd); }
  BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) noexcept {
    return ::PostMessage(m_hWnd, message, wParam, lParam);
  }
  BOOL SetWindowText(LPCTSTR lpszString) noexcept { return ::SetWindowText(m_hWnd, lpszString); }
  // Unused: it hides the system's function in derived classes, here as with genuine ATL.
  int MessageBox(LPCTSTR lpszText, LPCTSTR lpszCaption = _T(""), UINT nType = MB_OK) noexcept {
    return ::MessageBox(m_hWnd, lpszText, lpszCaption, nType);
  }
  BOOL ShowWindow(int nCmdShow) noexcept { return ::ShowWindow(m_hWnd, nCmdShow); }

  // Position, in pixels
  BOOL SetWindowPos(HWND hWndInsertAfter, int x, int y, int cx, int cy, UINT nFlags) noexcept {
    return ::SetWindowPos(m_hWnd, hWndInsertAfter, x, y, cx, cy, nFlags);
  }
  BOOL GetWindowRect(LPRECT lpRect) const noexcept { return ::GetWindowRect(m_hWnd, lpRect); }
  inline BOOL CenterWindow() noexcept;

  // Timers; periods in milliseconds
  UINT_PTR SetTimer(UINT_PTR nIDEvent, UINT nElapse,
                    void(CALLBACK* lpfnTimer)(HWND, UINT, UINT_PTR, DWORD) = nullptr) noexcept {
    return ::SetTimer(m_hWnd, nIDEvent, nElapse, lpfnTimer);
  }
  BOOL KillTimer(UINT_PTR nIDEvent) noexcept { return ::KillTimer(m_hWnd, nIDEvent); }

  // Dialog items
  CWindow GetDlgItem(int nID) const noexcept { return CWindow(::GetDlgItem(m_hWnd, nID)); }
  LRESULT SendDlgItemMessage(int nID, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) noexcept {
    return ::SendDlgItemMessage(m_hWnd, nID, message, wParam, lParam);
  }
  BOOL SetDlgItemText(int nID, LPCTSTR lpszString) noexcept {
    return ::SetDlgItemText(m_hWnd, nID, lpszString);
  }

  HWND m_hWnd;
};

/// Centres a window that is not a child on its owner, or on the work area of its monitor if there
/// is no owner or the owner is hidden or minimised. It never leaves that area.
inline BOOL CWindow::CenterWindow() noexcept {
  ATLASSERT(IsWindow() && (::GetWindowLongPtr(m_hWnd, GWL_STYLE) & WS_CHILD) == 0);
  HWND hWndCenter = ::GetWindow(m_hWnd, GW_OWNER);
  if (!::IsWindowVisible(hWndCenter) || ::IsIconic(hWndCenter)) {
    hWndCenter = nullptr;
  }
  MONITORINFO info = {};
  info.cbSize = sizeof(info);
  const HWND hWndNear = hWndCenter == nullptr ? m_hWnd : hWndCenter;
  RECT rcSelf;
  if (!GetWindowRect(&rcSelf) ||
      !::GetMonitorInfo(::MonitorFromWindow(hWndNear, MONITOR_DEFAULTTONEAREST), &info)) {
    return FALSE;
  }
  const RECT& rcArea = info.rcWork;  // where the window has to stay
  RECT rcCenter = info.rcWork;       // what it is centred on
  if (hWndCenter != nullptr && !::GetWindowRect(hWndCenter, &rcCenter)) {
    return FALSE;
  }

  // Right and bottom first, so that of a larger window the upper left corner is visible.
  const auto place = [](LONG nFrom, LONG nTo, LONG nSize, LONG nMin, LONG nMax) {
    const LONG nCentred = nFrom + (nTo - nFrom) / 2 - nSize / 2;
    return std::max(nMin, std::min(nCentred, nMax - nSize));
  };
  const LONG x =
      place(rcCenter.left, rcCenter.right, rcSelf.right - rcSelf.left, rcArea.left, rcArea.right);
  const LONG y =
      place(rcCenter.top, rcCenter.bottom, rcSelf.bottom - rcSelf.top, rcArea.top, rcArea.bottom);
  return SetWindowPos(nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
