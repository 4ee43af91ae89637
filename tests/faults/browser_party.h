#pragma once

#include "tests/browser/browser_frame.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"

/// A browser with one window, which clicks find, and its helper object; all of one thread.
class CBrowserParty {
 public:
  CBrowserParty() {
    browser.window = frame;
    SetWindowPos(frame, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    helper->SetSite(&browser);
  }

  CFakeBrowser browser;
  CBrowserFrame frame;
  CHelperObject helper;
};
