#include "tests/faults/navigation_faults.h"

namespace {

/// Fires the event; an exception is what the browser would see as one.
HRESULT Fire(const CHelperObject& helper, CNavigationEvent& event) {
  try {
    return helper.Fire(DISPID_BEFORENAVIGATE2, event.Params());
  } catch (const CAtlException& error) {
    return error.m_hr;
  }
}

}  // namespace

NavigationFaults::NavigationFaults(int answer) : m_prompt(answer) { m_helper->SetSite(&m_browser); }

CNavigationResult NavigationFaults::Navigate(CNavigationEvent& event) {
  const int prompts = m_prompt.Count();
  const int stops = m_browser.stops;
  const size_t launches = m_launches.Launches().size();
  CNavigationResult outcome;
  outcome.result =
      static_cast<HRESULT>(CallGuardedDialog([&] { return INT_PTR{Fire(m_helper, event)}; }));
  outcome.cancelled = event.Cancelled();
  outcome.prompts = m_prompt.Count() - prompts;
  outcome.stops = m_browser.stops - stops;
  outcome.messages = m_messages.TakeTexts();
  outcome.launches.assign(m_launches.Launches().begin() + static_cast<ptrdiff_t>(launches),
                          m_launches.Launches().end());
  EXPECT_TRUE(event.FlagIntact());
  return outcome;
}

CNavigationResult NavigationFaults::Navigate(const std::wstring& url) {
  CNavigationEvent event(url);
  return Navigate(event);
}

std::wstring NavigationFaults::WriteLauncher(const std::wstring& folder) const {
  return m_sandbox.Write(folder + L"\\LaunchFolivo.exe", "not run");
}

std::wstring NavigationFaults::CannotCreate(const std::wstring& path) {
  return L"Unable to create the destination file " + path + L".";
}
