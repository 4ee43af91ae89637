#pragma once

#include <atlbase.h>
#include <atlsimpstr.h>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents these conversions

/// A rectangle argument that may be a reference, a pointer, or absent.
class _U_RECT {
 public:
  _U_RECT(LPRECT lpRect) noexcept : m_lpRect(lpRect) {}
  _U_RECT(RECT& rc) noexcept : m_lpRect(&rc) {}
  LPRECT m_lpRect;
};

/// The menu argument of window creation: a menu handle or a child's identifier.
class _U_MENUorID {
 public:
  _U_MENUorID(HMENU hMenu) noexcept : m_hMenu(hMenu) {}
  _U_MENUorID(UINT nID) noexcept : m_hMenu(reinterpret_cast<HMENU>(static_cast<UINT_PTR>(nID))) {}
  HMENU m_hMenu;
};

/// The distance between two edges. Wraps: for the default rectangle it gives CW_USEDEFAULT.
inline int AtlExtent(LONG nFrom, LONG nTo) noexcept {
  return static_cast<int>(static_cast<ULONG>(nTo) - static_cast<ULONG>(nFrom));
}

/// A window handle with the window functions as members. Owns nothing: the window outlives it.
class CWindow {
 public:
  CWindow(HWND hWnd = nullptr) noexcept : m_hWnd(hWnd) {}
  CWindow& operator=(HWND hWnd) noexcept {
    m_hWnd = hWnd;
    return *this;
  }
  operator HWND() const noexcept { return m_hWnd; }

  void Attach(HWND hWndNew) noexcept { m_hWnd = hWndNew; }
  HWND Detach() noexcept { return std::exchange(m_hWnd, nullptr); }

  // Creation and destruction
  HWND Create(LPCTSTR lpstrWndClass, HWND hWndParent, _U_RECT rect = nullptr,
              LPCTSTR szWindowName = nullptr, DWORD dwStyle = 0, DWORD dwExStyle = 0,
              _U_MENUorID MenuOrID = 0U, LPVOID lpCreateParam = nullptr) noexcept {
    const RECT& rc = rect.m_lpRect == nullptr ? rcDefault : *rect.m_lpRect;
    m_hWnd =
        ::CreateWindowEx(dwExStyle, lpstrWndClass, szWindowName, dwStyle, rc.left, rc.top,
                         AtlExtent(rc.left, rc.right), AtlExtent(rc.top, rc.bottom), hWndParent,
                         MenuOrID.m_hMenu, _AtlBaseModule.GetModuleInstance(), lpCreateParam);
    return m_hWnd;
  }
  BOOL DestroyWindow() noexcept {
    ATLASSERT(IsWindow());
    if (!::DestroyWindow(m_hWnd)) {
      return FALSE;
    }
    m_hWnd = nullptr;
    return TRUE;
  }
  BOOL IsWindow() const noexcept { return ::IsWindow(m_hWnd); }

  // Styles and identity
  DWORD GetStyle() const noexcept {
    return static_cast<DWORD>(::GetWindowLongPtr(m_hWnd, GWL_STYLE));
  }
  DWORD GetExStyle() const noexcept {
    return static_cast<DWORD>(::GetWindowLongPtr(m_hWnd, GWL_EXSTYLE));
  }
  /// False when nothing had to change. `nFlags` other than 0: redraws by SetWindowPos with them.
  BOOL ModifyStyle(DWORD dwRemove, DWORD dwAdd, UINT nFlags = 0) noexcept {
    return ChangeStyle(GWL_STYLE, dwRemove, dwAdd, nFlags);
  }
  BOOL ModifyStyleEx(DWORD dwRemove, DWORD dwAdd, UINT nFlags = 0) noexcept {
    return ChangeStyle(GWL_EXSTYLE, dwRemove, dwAdd, nFlags);
  }
  LONG_PTR GetWindowLongPtr(int nIndex) const noexcept {
    return ::GetWindowLongPtr(m_hWnd, nIndex);
  }
  LONG_PTR SetWindowLongPtr(int nIndex, LONG_PTR dwNewLong) noexcept {
    return ::SetWindowLongPtr(m_hWnd, nIndex, dwNewLong);
  }
  int GetDlgCtrlID() const noexcept { return ::GetDlgCtrlID(m_hWnd); }
  DWORD GetWindowThreadID() const noexcept { return ::GetWindowThreadProcessId(m_hWnd, nullptr); }
  CWindow GetParent() const noexcept { return CWindow(::GetParent(m_hWnd)); }
  CWindow GetTopLevelParent() const noexcept {
    return CWindow(::GetAncestor(m_hWnd, GA_ROOTOWNER));
  }
  CWindow GetWindow(UINT nCmd) const noexcept { return CWindow(::GetWindow(m_hWnd, nCmd)); }
  BOOL IsChild(HWND hWnd) const noexcept { return ::IsChild(m_hWnd, hWnd); }

  // Messages
  LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) noexcept {
    return ::SendMessage(m_hWnd, message, wParam, lParam);
  }
  BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) noexcept {
    return ::PostMessage(m_hWnd, message, wParam, lParam);
  }

  // Text and font
  BOOL SetWindowText(LPCTSTR lpszString) noexcept { return ::SetWindowText(m_hWnd, lpszString); }
  int GetWindowText(LPTSTR lpszStringBuf, int nMaxCount) const noexcept {
    return ::GetWindowText(m_hWnd, lpszStringBuf, nMaxCount);
  }
  /// Returns the length. Throws CAtlException(E_OUTOFMEMORY).
  int GetWindowText(CSimpleString& strText) const {
    const int nLength = GetWindowTextLength();
    const LPTSTR pszText = strText.GetBuffer(nLength);
    const int nCopied = GetWindowText(pszText, nLength + 1);
    strText.ReleaseBufferSetLength(nCopied);
    return nCopied;
  }
  int GetWindowTextLength() const noexcept { return ::GetWindowTextLength(m_hWnd); }
  void SetFont(HFONT hFont, BOOL bRedraw = TRUE) noexcept {
    SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(hFont), MAKELPARAM(bRedraw, 0));
  }
  HFONT GetFont() const noexcept {
    return reinterpret_cast<HFONT>(::SendMessage(m_hWnd, WM_GETFONT, 0, 0));
  }

  // State and focus
  BOOL ShowWindow(int nCmdShow) noexcept { return ::ShowWindow(m_hWnd, nCmdShow); }
  BOOL EnableWindow(BOOL bEnable = TRUE) noexcept { return ::EnableWindow(m_hWnd, bEnable); }
  BOOL IsWindowEnabled() const noexcept { return ::IsWindowEnabled(m_hWnd); }
  BOOL IsWindowVisible() const noexcept { return ::IsWindowVisible(m_hWnd); }
  HWND SetFocus() noexcept { return ::SetFocus(m_hWnd); }
  BOOL BringWindowToTop() noexcept { return ::BringWindowToTop(m_hWnd); }

  // Position and size, in pixels
  BOOL MoveWindow(int x, int y, int nWidth, int nHeight, BOOL bRepaint = TRUE) noexcept {
    return ::MoveWindow(m_hWnd, x, y, nWidth, nHeight, bRepaint);
  }
  BOOL MoveWindow(LPCRECT lpRect, BOOL bRepaint = TRUE) noexcept {
    return MoveWindow(lpRect->left, lpRect->top, lpRect->right - lpRect->left,
                      lpRect->bottom - lpRect->top, bRepaint);
  }
  BOOL SetWindowPos(HWND hWndInsertAfter, int x, int y, int cx, int cy, UINT nFlags) noexcept {
    return ::SetWindowPos(m_hWnd, hWndInsertAfter, x, y, cx, cy, nFlags);
  }
  BOOL SetWindowPos(HWND hWndInsertAfter, LPCRECT lpRect, UINT nFlags) noexcept {
    return SetWindowPos(hWndInsertAfter, lpRect->left, lpRect->top, lpRect->right - lpRect->left,
                        lpRect->bottom - lpRect->top, nFlags);
  }
  BOOL GetWindowRect(LPRECT lpRect) const noexcept { return ::GetWindowRect(m_hWnd, lpRect); }
  BOOL GetClientRect(LPRECT lpRect) const noexcept { return ::GetClientRect(m_hWnd, lpRect); }
  BOOL ClientToScreen(LPPOINT lpPoint) const noexcept { return ::ClientToScreen(m_hWnd, lpPoint); }
  BOOL ScreenToClient(LPPOINT lpPoint) const noexcept { return ::ScreenToClient(m_hWnd, lpPoint); }
  /// Rectangles are converted corner by corner; false when either corner fails.
  BOOL ClientToScreen(LPRECT lpRect) const noexcept {
    const auto corners = reinterpret_cast<LPPOINT>(lpRect);
    return ClientToScreen(corners) && ClientToScreen(corners + 1);
  }
  BOOL ScreenToClient(LPRECT lpRect) const noexcept {
    const auto corners = reinterpret_cast<LPPOINT>(lpRect);
    return ScreenToClient(corners) && ScreenToClient(corners + 1);
  }
  int MapWindowPoints(HWND hWndTo, LPPOINT lpPoint, UINT nCount) const noexcept {
    return ::MapWindowPoints(m_hWnd, hWndTo, lpPoint, nCount);
  }
  int MapWindowPoints(HWND hWndTo, LPRECT lpRect) const noexcept {
    return MapWindowPoints(hWndTo, reinterpret_cast<LPPOINT>(lpRect), 2);
  }
  inline BOOL CenterWindow(HWND hWndCenter = nullptr) noexcept;

  // Painting
  BOOL UpdateWindow() noexcept { return ::UpdateWindow(m_hWnd); }
  BOOL Invalidate(BOOL bErase = TRUE) noexcept { return ::InvalidateRect(m_hWnd, nullptr, bErase); }
  BOOL InvalidateRect(LPCRECT lpRect, BOOL bErase = TRUE) noexcept {
    return ::InvalidateRect(m_hWnd, lpRect, bErase);
  }
  /// Device contexts are given back by ReleaseDC.
  HDC GetDC() noexcept { return ::GetDC(m_hWnd); }
  int ReleaseDC(HDC hDC) noexcept { return ::ReleaseDC(m_hWnd, hDC); }
  HDC BeginPaint(LPPAINTSTRUCT lpPaint) noexcept { return ::BeginPaint(m_hWnd, lpPaint); }
  void EndPaint(LPPAINTSTRUCT lpPaint) noexcept { ::EndPaint(m_hWnd, lpPaint); }

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
  UINT GetDlgItemText(int nID, LPTSTR lpStr, int nMaxCount) const noexcept {
    return ::GetDlgItemText(m_hWnd, nID, lpStr, nMaxCount);
  }

  /// Lets the system choose position and size.
  static inline RECT rcDefault = {CW_USEDEFAULT, CW_USEDEFAULT, 0, 0};

  HWND m_hWnd;

 private:
  BOOL ChangeStyle(int nIndex, DWORD dwRemove, DWORD dwAdd, UINT nFlags) noexcept {
    const auto dwOld = static_cast<DWORD>(::GetWindowLongPtr(m_hWnd, nIndex));
    const DWORD dwNew = (dwOld & ~dwRemove) | dwAdd;
    if (dwOld == dwNew) {
      return FALSE;
    }
    ::SetWindowLongPtr(m_hWnd, nIndex, static_cast<LONG_PTR>(dwNew));
    if (nFlags != 0) {
      ::SetWindowPos(m_hWnd, nullptr, 0, 0, 0, 0,
                     SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | nFlags);
    }
    return TRUE;
  }
};

/// Centres the window on `hWndCenter`; null means the parent of a child and the owner of any other
/// window. A child is centred in client coordinates. Any other window is centred on the work area
/// of its monitor if there is no owner or the owner is hidden or minimised, and never leaves that
/// area.
inline BOOL CWindow::CenterWindow(HWND hWndCenter) noexcept {
  ATLASSERT(IsWindow());
  const bool bChild = (GetStyle() & WS_CHILD) != 0;
  if (hWndCenter == nullptr) {
    hWndCenter = bChild ? ::GetParent(m_hWnd) : ::GetWindow(m_hWnd, GW_OWNER);
  }
  if (!bChild && hWndCenter != nullptr &&
      (!::IsWindowVisible(hWndCenter) || ::IsIconic(hWndCenter))) {
    hWndCenter = nullptr;
  }

  RECT rcSelf;
  if (!GetWindowRect(&rcSelf)) {
    return FALSE;
  }
  RECT rcArea;    // where the window has to stay
  RECT rcCenter;  // what it is centred on
  if (bChild) {
    const HWND hWndParent = ::GetParent(m_hWnd);
    if (!::GetClientRect(hWndParent, &rcArea) || !::GetClientRect(hWndCenter, &rcCenter)) {
      return FALSE;
    }
    ::MapWindowPoints(hWndCenter, hWndParent, reinterpret_cast<LPPOINT>(&rcCenter), 2);
  } else {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    const HWND hWndNear = hWndCenter == nullptr ? m_hWnd : hWndCenter;
    if (!::GetMonitorInfo(::MonitorFromWindow(hWndNear, MONITOR_DEFAULTTONEAREST), &info)) {
      return FALSE;
    }
    rcArea = info.rcWork;
    rcCenter = info.rcWork;
    if (hWndCenter != nullptr && !::GetWindowRect(hWndCenter, &rcCenter)) {
      return FALSE;
    }
  }

  // Right and bottom first: a window larger than the area shows its upper left corner.
  const auto place = [](LONG nFrom, LONG nTo, LONG nSize, LONG nMin, LONG nMax) {
    const LONG nCentred = nFrom + (nTo - nFrom) / 2 - nSize / 2;
    const LONG nFitting = nCentred + nSize > nMax ? nMax - nSize : nCentred;
    return nFitting < nMin ? nMin : nFitting;
  };
  const LONG x =
      place(rcCenter.left, rcCenter.right, rcSelf.right - rcSelf.left, rcArea.left, rcArea.right);
  const LONG y =
      place(rcCenter.top, rcCenter.bottom, rcSelf.bottom - rcSelf.top, rcArea.top, rcArea.bottom);
  return SetWindowPos(nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
