#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/prompt_answer.h"
#include "tests/faults/event_faults.h"
#include "tests/support/deferred_close.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"

/// What a navigation came to, in this order: "asked" for each question, "message TEXT" and "run
/// FILE PARAMETERS" for each of those, "stopped", "cancelled", and "failed RESULT" when Invoke
/// fails or throws. Empty: the browser does it all.
using CSeen = std::vector<std::wstring>;

/// Navigations of a browser with its helper object, through the browser's own event. The question
/// is answered at once, and nothing is run; the download and its dialog are real.
class NavigationFaults : public EventFaults {
 protected:
  /// `answer`: to the question.
  explicit NavigationFaults(int answer) : m_prompt(answer) { m_helper->SetSite(&m_browser); }

  /// Fires BeforeNavigate2.
  CSeen Navigate(CNavigationEvent& event);
  CSeen Navigate(const std::wstring& url);

  /// What is to happen while the question is open.
  void WhileAsked(std::function<void()> action) const { m_prompt.WhileOpen(std::move(action)); }

  static std::wstring CannotCreate(const std::wstring& path) {
    return L"message Unable to create the destination file " + path + L".";
  }

  const CLaunchRecorder m_launches;
  CFakeBrowser m_browser;
  CHelperObject m_helper;

 private:
  const CDeferredClose m_deferredClose;
  CMessageRecorder m_messages;
  const CPromptAnswer m_prompt;
};
