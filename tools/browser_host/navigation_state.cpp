#include "tools/browser_host/navigation_state.h"

void CNavigationState::Started() {
  m_underWay = true;
  m_failed = false;
  m_downloaded = false;
}

void CNavigationState::Seen(const BrowserEvent& event) {
  switch (event.kind) {
    case BrowserEventKind::kBeforeNavigate2:
      Started();
      m_underWay = !event.cancel;
      break;
    case BrowserEventKind::kDocumentComplete:
      m_underWay = false;
      break;
    case BrowserEventKind::kNavigateError:
      m_failed = true;
      break;
    case BrowserEventKind::kDownloadComplete:
      m_downloaded = true;
      break;
    default:
      break;
  }
  if (m_failed && m_downloaded) {
    m_underWay = false;
  }
}
