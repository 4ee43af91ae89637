// The WebBrowser control in the frame window.
#pragma once

#include <atlbase.h>

#include <string>

#include "tools/browser_host/browser_object.h"
#include "tools/browser_host/control_site.h"
#include "tools/browser_host/event_sink.h"

/// Owns the in-place active control: creation, place, navigation, end. One thread.
class CBrowserControl {
 public:
  CBrowserControl() = default;
  ~CBrowserControl() { Close(); }
  CBrowserControl(const CBrowserControl&) = delete;
  CBrowserControl& operator=(const CBrowserControl&) = delete;

  /// Makes the control and activates it in the frame, which must live until Close.
  HRESULT Create(IControlFrame* frame);

  /// Connects a sink to the control's events; sinks are served in the order in which they came.
  /// The connection lasts as long as the control.
  HRESULT Advise(IDispatch* sink);

  /// Ends the in-place activity and takes the control out of its site. The object itself lives on
  /// while somebody holds it, above all a navigation that is still on the stack.
  void Close();

  /// The object that stands for the browser; null before Create.
  IWebBrowser2* Browser() const { return m_browser; }

  /// True when the event's source is this browser, not one of a page's frames.
  bool IsSource(const BrowserEvent& event) const;

  HRESULT Navigate(const std::wstring& url);
  HRESULT GoBack();
  HRESULT Stop();
  bool Busy() const;

  /// Moves the control to the frame's ControlRect.
  void Place();

  /// Offers a keyboard message to the control when that has the focus. True when it took it.
  bool TranslateAccelerator(MSG& message);

 private:
  IControlFrame* m_frame = nullptr;
  CComPtr<CControlSite> m_site;
  CComPtr<CBrowserObject> m_browser;
};
