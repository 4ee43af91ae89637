#include "tests/faults/navigation_faults.h"

CSeen NavigationFaults::Navigate(CNavigationEvent& event) {
  const int stops = m_browser.stops;
  const int prompts = m_prompt.Count();
  const size_t launches = m_launches.Launches().size();
  HRESULT result = S_OK;
  CallGuardedDialog([&] {
    try {
      result = m_helper.Fire(DISPID_BEFORENAVIGATE2, event.Params());
    } catch (const CAtlException& error) {
      result = error.m_hr;
    }
    return 0;
  });
  CSeen seen(static_cast<size_t>(m_prompt.Count() - prompts), L"asked");
  for (const std::wstring& text : m_messages.TakeTexts()) {
    seen.push_back(L"message " + text);
  }
  for (size_t i = launches; i < m_launches.Launches().size(); ++i) {
    const CLaunch& launch = m_launches.Launches()[i];
    seen.push_back(L"run " + launch.file + (launch.hasParameters ? L" " + launch.parameters : L""));
  }
  seen.insert(seen.end(), static_cast<size_t>(m_browser.stops - stops), L"stopped");
  if (event.Cancelled()) {
    seen.push_back(L"cancelled");
  }
  if (result != S_OK) {
    seen.push_back(L"failed " + std::to_wstring(result));
  }
  EXPECT_TRUE(event.FlagIntact());
  return seen;
}

CSeen NavigationFaults::Navigate(const std::wstring& url) {
  CNavigationEvent event(url);
  return Navigate(event);
}
