// The browser's frame window.
#pragma once

#include <atlbase.h>

#include <string>
#include <vector>

#include "tools/browser_host/browser_control.h"
#include "tools/browser_host/command_runner.h"
#include "tools/browser_host/event_sink.h"
#include "tools/browser_host/helper_objects.h"
#include "tools/browser_host/navigation_state.h"
#include "tools/support/line_output.h"

/// Control ids of the frame's parts, for programs that drive the window.
enum FrameControlId {
  kGoButton = IDOK,        // Enter presses it
  kStopButton = IDCANCEL,  // Escape presses it
  kBackButton = 101,
  kAddressEdit = 102,
  kStatusBar = 103,
};

/// A window of class "IEFrame" with an address bar, a status line, the WebBrowser control and the
/// helper objects. One thread; the window may be closed at any time, even while an event of the
/// control is being handled further up the stack.
class CBrowserWindow final : public IControlFrame,
                             public IBrowserEventListener,
                             public ICommandTarget {
 public:
  /// `output` gets a line for each event and must outlive the window.
  explicit CBrowserWindow(CLineOutput& output) : m_output(output) {}
  ~CBrowserWindow();
  CBrowserWindow(const CBrowserWindow&) = delete;
  CBrowserWindow& operator=(const CBrowserWindow&) = delete;

  /// Makes the window with the control in it.
  HRESULT Create(bool show);

  /// Creates helper objects (class ids as text), and begins to report events. The host's own sink
  /// comes after theirs, so that it sees the cancel flag as they left it.
  HRESULT Start(const std::vector<std::wstring>& helperClsids);

  HWND Window() const { return m_window; }

  /// Handles keys of the control and of the address bar. True when the message is dealt with.
  bool PreTranslateMessage(MSG& message);

  // IControlFrame
  HWND FrameWindow() const override { return m_window; }
  RECT ControlRect() const override;
  void ShowStatus(const wchar_t* text) override;

  // IBrowserEventListener
  void OnBrowserEvent(const BrowserEvent& event) override;

  // ICommandTarget
  HRESULT Navigate(const std::wstring& url) override;
  HRESULT GoBack() override;
  HRESULT Stop() override;
  bool NavigationUnderWay() const override { return m_navigation.UnderWay(); }
  bool Idle() const override;
  void CloseWindow() override;
  bool Closed() const override { return m_closed; }
  void WakeAfter(DWORD milliseconds) override;

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam);
  bool CreateParts();
  HWND AddPart(const wchar_t* className, const wchar_t* text, DWORD style, int id);
  void Layout();
  void OnCommand(int id);
  void OnDestroy();
  void ShowLocation(const std::wstring& url);

  CLineOutput& m_output;
  HWND m_window = nullptr;
  HFONT m_font = nullptr;
  int m_lineHeight = 0;  // pixels
  bool m_closed = false;
  CBrowserControl m_control;
  CHelperObjects m_helpers;
  CComPtr<CEventSink> m_sink;
  CNavigationState m_navigation;
};
