#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/browser/browser_frame.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/install_information.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/support/dialogs.h"
#include "tests/support/http_server.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/temp_sandbox.h"

/// A browser with its helper object, a web server and a user in front of real dialogs. Only what
/// would be run is recorded instead.
class InterceptionDesktop : public testing::Test {
 protected:
  InterceptionDesktop();
  ~InterceptionDesktop() override;

  /// Navigates while `user`, on a thread of its own, deals with the dialogs. True when the event
  /// comes back cancelled. Fails the test when a dialog is left.
  bool Navigate(const std::wstring& url, const std::function<void()>& user);

  /// For users: waits for the question and presses one of its buttons.
  static void AnswerPrompt(int button);

  /// A lesson of `length` bytes behind its head.
  static HttpAnswer Lesson(size_t length = kLessonLength);
  static std::string LessonBytes(size_t length = kLessonLength);
  static constexpr size_t kLessonLength = 300000;

  const CTempSandbox m_sandbox;
  const CLaunchRecorder m_launches;
  const CInstallInformation m_information;
  const CIeFrameDouble m_ieFrame;
  const HttpTestServer m_server;
  CFakeBrowser m_browser;
  CBrowserFrame m_frame;
  CHelperObject m_helper;
};
