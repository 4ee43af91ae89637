#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "download/temp_files.h"
#include "tests/browser/browser_frame.h"
#include "tests/browser/fake_browser.h"
#include "tests/browser/helper_object.h"
#include "tests/browser/install_information.h"
#include "tests/browser/lesson_bytes.h"
#include "tests/browser/navigation_event.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/faults/run_checks.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/http_pattern.h"
#include "tests/support/http_server.h"
#include "tests/support/scripted_path.h"
#include "tests/support/temp_sandbox.h"

using Files = std::vector<std::wstring>;

/// A browser with one window, which clicks find, and its helper object; all of one thread.
class CBrowserParty {
 public:
  CBrowserParty() {
    browser.window = frame;
    SetWindowPos(frame, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    helper->SetSite(&browser);
  }

  CFakeBrowser browser;
  CBrowserFrame frame;
  CHelperObject helper;
};

/// What the browser's events meet. For tables of cells: each runs inside Checks(), which asserts
/// that nothing of it lives on.
class EventFaults : public testing::Test {
 protected:
  ~EventFaults() override { SetTempBaseFolder(CStringW()); }

  CRunChecks& Checks() { return m_checks; }
  std::wstring Temporary(const std::wstring& name) const { return m_sandbox / (kTempFiles + name); }

  /// A lesson (".qdk") as its server answers it, and its bytes.
  static HttpAnswer Lesson() { return HttpAnswer().Bytes(kOldLessonHead).Pattern(kSeed, kLength); }
  static std::string LessonBytes() { return kOldLessonHead + PatternBytes(kSeed, 0, kLength); }

  const CTempSandbox m_sandbox;
  const CInstallInformation m_information;
  const CIeFrameDouble m_ieFrame;
  const HttpTestServer m_server;

 private:
  static constexpr uint64_t kSeed = 40;
  static constexpr size_t kLength = 300000;

  CRunChecks m_checks;
};
