#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/prompt_answer.h"
#include "tests/faults/event_faults.h"
#include "tests/support/deferred_close.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"

/// Everything that a navigation came to.
struct CNavigationResult {
  HRESULT result = S_OK;   // of Invoke, or of the exception that left it
  bool cancelled = false;  // the flag that is sent by reference
  int prompts = 0;
  int stops = 0;  // of the browser
  std::vector<std::wstring> messages = {};
  std::vector<CLaunch> launches = {};
};

/// Navigations of a browser with its helper object, through the browser's own event. The question
/// is answered at once, and nothing is run; the download and its dialog are real.
class NavigationFaults : public EventFaults {
 protected:
  /// `answer`: to the question.
  explicit NavigationFaults(int answer);

  /// Fires BeforeNavigate2.
  CNavigationResult Navigate(CNavigationEvent& event);
  CNavigationResult Navigate(const std::wstring& url);

  /// What is to happen while the question is open.
  void WhileAsked(std::function<void()> action) const { m_prompt.WhileOpen(std::move(action)); }

  /// Puts a launcher into this folder of the sandbox, of which the registry says nothing.
  std::wstring WriteLauncher(const std::wstring& folder = L"App") const;

  static std::wstring CannotCreate(const std::wstring& path);

  const CLaunchRecorder m_launches;
  CFakeBrowser m_browser;
  CHelperObject m_helper;

 private:
  const CDeferredClose m_deferredClose;
  CMessageRecorder m_messages;
  const CPromptAnswer m_prompt;
};
