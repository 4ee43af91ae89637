// Whether a navigation is still under way.
#pragma once

#include "tools/browser_host/browser_event.h"

/// Follows the events of the topmost document. A navigation is over when a sink cancelled it, when
/// its document is complete, or when it failed and the download has ended. (Without an HTML engine
/// in the system every navigation that nobody cancels ends in the last way.)
class CNavigationState {
 public:
  /// A navigation was asked for. The control may announce it much later.
  void Started();

  /// The control refused the navigation at once.
  void Refused() { m_underWay = false; }

  /// An event of the topmost document, or one that is about no particular document.
  void Seen(const BrowserEvent& event);

  bool UnderWay() const { return m_underWay; }

 private:
  bool m_underWay = false;
  bool m_failed = false;
  bool m_downloaded = false;
};
