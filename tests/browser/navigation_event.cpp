#include "tests/browser/navigation_event.h"

#include <algorithm>
#include <iterator>

CNavigationEvent::CNavigationEvent(const std::wstring& url)
    : m_url(url.c_str()), m_arguments(), m_params{m_arguments, nullptr, kArgumentCount, 0} {
  m_arguments[0].vt = VT_BYREF | VT_BOOL;
  m_arguments[0].pboolVal = &m_flag.value;
  m_arguments[5].vt = VT_BYREF | VT_VARIANT;
  m_arguments[5].pvarVal = &m_url;
}

bool CNavigationEvent::FlagIntact() const {
  return (m_flag.value == VARIANT_TRUE || m_flag.value == VARIANT_FALSE) &&
         m_flag.before == kGuard && m_flag.after == kGuard &&
         std::all_of(std::begin(m_flag.behind), std::end(m_flag.behind),
                     [](USHORT word) { return word == 0xA5A5; });
}
