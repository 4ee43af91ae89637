// The control's events as plain values.
#pragma once

#include <exdisp.h>

#include <optional>
#include <string>

/// The events that the host reports.
enum class BrowserEventKind {
  kBeforeNavigate2,
  kNavigateComplete2,
  kDocumentComplete,
  kNavigateError,
  kDownloadBegin,
  kDownloadComplete,
  kNewWindow2,
  kWindowClosing,
  kOnQuit,
};

/// One event of DWebBrowserEvents2.
struct BrowserEvent {
  BrowserEventKind kind{};
  const char* name = "";
  IDispatch* browser = nullptr;  // the frame it is about; belongs to the event's sender
  std::wstring url;              // empty for events without one
  bool cancel = false;           // BeforeNavigate2: the cancel flag as it stands
  long status = 0;               // NavigateError: an HTTP status or a failure HRESULT
};

/// Reads an event out of its arguments. Arguments that are missing or of another type leave their
/// field as it is by default. Nothing for events that the host does not report.
std::optional<BrowserEvent> DecodeEvent(DISPID id, const DISPPARAMS& params);

/// A NavigateError's status as text: "404", "0x800c0005".
std::string StatusText(long status);

/// The event as one line of the host's output, such as
/// "event BeforeNavigate2 url=<about:blank> cancel=0".
std::string EventLine(const BrowserEvent& event);
