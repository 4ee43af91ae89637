#pragma once

#include <atlbase.h>
#include <exdisp.h>

#include "bench/helper/helper_library.h"

/// A browser for helper objects: its frame's window and the system's own browser control, whose
/// libraries are with it, as in every browser. One thread, which has COM initialised for as long as
/// the object lives.
class CBrowserWindow {
 public:
  /// Throws CMeasurementError when there is no such control.
  CBrowserWindow();
  ~CBrowserWindow();
  CBrowserWindow(const CBrowserWindow&) = delete;
  CBrowserWindow& operator=(const CBrowserWindow&) = delete;

  HWND Window() const { return m_window; }

  /// Hands the browser to the helper object. Throws CMeasurementError when that refuses it.
  void Attach(IObjectWithSite& helper) const;

 private:
  HWND m_window = nullptr;
  CComPtr<IWebBrowser2> m_browser;
};
