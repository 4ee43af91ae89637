#include "tools/browser_host/browser_event.h"

#include <exdispid.h>

#include <cstdio>

#include "tools/support/utf8.h"

namespace {

constexpr int kNone = -1;

/// Where the arguments of an event stand in DISPPARAMS::rgvarg, which is in reverse order.
struct EventLayout {
  DISPID id;
  BrowserEventKind kind;
  const char* name;
  int browser;
  int url;
  int status;
  int cancel;
};

constexpr EventLayout kLayouts[] = {
    {DISPID_BEFORENAVIGATE2, BrowserEventKind::kBeforeNavigate2, "BeforeNavigate2", 6, 5, kNone, 0},
    {DISPID_NAVIGATECOMPLETE2, BrowserEventKind::kNavigateComplete2, "NavigateComplete2", 1, 0,
     kNone, kNone},
    {DISPID_DOCUMENTCOMPLETE, BrowserEventKind::kDocumentComplete, "DocumentComplete", 1, 0, kNone,
     kNone},
    {DISPID_NAVIGATEERROR, BrowserEventKind::kNavigateError, "NavigateError", 4, 3, 1, kNone},
    {DISPID_DOWNLOADBEGIN, BrowserEventKind::kDownloadBegin, "DownloadBegin", kNone, kNone, kNone,
     kNone},
    {DISPID_DOWNLOADCOMPLETE, BrowserEventKind::kDownloadComplete, "DownloadComplete", kNone, kNone,
     kNone, kNone},
    {DISPID_NEWWINDOW2, BrowserEventKind::kNewWindow2, "NewWindow2", kNone, kNone, kNone, 0},
    {DISPID_WINDOWCLOSING, BrowserEventKind::kWindowClosing, "WindowClosing", kNone, kNone, kNone,
     0},
    {DISPID_ONQUIT, BrowserEventKind::kOnQuit, "OnQuit", kNone, kNone, kNone, kNone},
};

/// The argument at an index, behind a reference to a variant if there is one; null when missing.
const VARIANT* Argument(const DISPPARAMS& params, int index) {
  if (index < 0 || static_cast<UINT>(index) >= params.cArgs) {
    return nullptr;
  }
  const VARIANT* argument = &params.rgvarg[index];
  return argument->vt == (VT_BYREF | VT_VARIANT) ? argument->pvarVal : argument;
}

std::wstring TextOf(const VARIANT* argument) {
  if (!argument || argument->vt != VT_BSTR || !argument->bstrVal) {
    return {};
  }
  return {argument->bstrVal, SysStringLen(argument->bstrVal)};
}

bool FlagOf(const VARIANT* argument) {
  if (!argument) {
    return false;
  }
  if (argument->vt == (VT_BYREF | VT_BOOL)) {
    return argument->pboolVal && *argument->pboolVal != VARIANT_FALSE;
  }
  return argument->vt == VT_BOOL && argument->boolVal != VARIANT_FALSE;
}

}  // namespace

std::optional<BrowserEvent> DecodeEvent(DISPID id, const DISPPARAMS& params) {
  for (const EventLayout& layout : kLayouts) {
    if (layout.id != id) {
      continue;
    }
    BrowserEvent event;
    event.kind = layout.kind;
    event.name = layout.name;
    event.url = TextOf(Argument(params, layout.url));
    event.cancel = FlagOf(Argument(params, layout.cancel));
    const VARIANT* browser = Argument(params, layout.browser);
    if (browser && browser->vt == VT_DISPATCH) {
      event.browser = browser->pdispVal;
    }
    const VARIANT* status = Argument(params, layout.status);
    if (status && status->vt == VT_I4) {
      event.status = status->lVal;
    }
    return event;
  }
  return std::nullopt;
}

std::string StatusText(long status) {
  // HTTP statuses are small numbers that people know; HRESULTs are known by their hex digits.
  char text[16];
  std::snprintf(text, sizeof(text), status >= 0 ? "%ld" : "0x%08lx", status);
  return text;
}

std::string EventLine(const BrowserEvent& event) {
  std::string line = std::string("event ") + event.name;
  switch (event.kind) {
    case BrowserEventKind::kBeforeNavigate2:
      return line + " url=<" + ToUtf8(event.url) + "> cancel=" + (event.cancel ? "1" : "0");
    case BrowserEventKind::kNavigateComplete2:
    case BrowserEventKind::kDocumentComplete:
      return line + " url=<" + ToUtf8(event.url) + ">";
    case BrowserEventKind::kNavigateError:
      return line + " url=<" + ToUtf8(event.url) + "> status=" + StatusText(event.status);
    default:
      return line;
  }
}
