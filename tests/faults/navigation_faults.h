#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/install_information.h"
#include "tests/browser/navigation_event.h"
#include "tests/browser/prompt_answer.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/faults/run_checks.h"
#include "tests/support/deferred_close.h"
#include "tests/support/http_server.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/temp_sandbox.h"

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
/// is answered at once, and nothing is run; the download and its dialog are real. For tables of
/// cells: each runs inside Checks(), which asserts that nothing of it lives on.
class NavigationFaults : public testing::Test {
 protected:
  static constexpr int kOpen = 6;
  static constexpr int kSave = 7;
  static constexpr int kCancel = 2;
  /// The folder of the plug-in's temporary files below the sandbox.
  static constexpr wchar_t kTempFiles[] = L"MERLO Technologies\\MERLO Folivo\\TempFiles\\";

  /// `answer`: to the question.
  explicit NavigationFaults(int answer);
  ~NavigationFaults() override;

  /// Fires BeforeNavigate2.
  CNavigationResult Navigate(CNavigationEvent& event);
  CNavigationResult Navigate(const std::wstring& url);

  /// What is to happen while the question is open.
  void WhileAsked(std::function<void()> action) const { m_prompt.WhileOpen(std::move(action)); }

  CRunChecks& Checks() { return m_checks; }

  /// Puts a launcher into this folder of the sandbox, of which the registry says nothing.
  std::wstring WriteLauncher(const std::wstring& folder = L"App") const;
  std::wstring Temporary(const std::wstring& name) const { return m_sandbox / (kTempFiles + name); }

  /// A lesson (".qdk") as its server answers it, and its bytes.
  static HttpAnswer Lesson();
  static std::string LessonBytes();

  static std::wstring CannotCreate(const std::wstring& path);

  const CTempSandbox m_sandbox;
  const CInstallInformation m_information;
  const CIeFrameDouble m_ieFrame;
  const HttpTestServer m_server;
  const CLaunchRecorder m_launches;
  CFakeBrowser m_browser;
  CHelperObject m_helper;

 private:
  const CDeferredClose m_deferredClose;
  CMessageRecorder m_messages;
  const CPromptAnswer m_prompt;
  CRunChecks m_checks;
};
