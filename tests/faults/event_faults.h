#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/browser/install_information.h"
#include "tests/browser/navigation_event.h"
#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/faults/run_checks.h"
#include "tests/support/dialogs.h"
#include "tests/support/http_server.h"
#include "tests/support/scripted_path.h"
#include "tests/support/temp_sandbox.h"

/// What the browser's events meet. For tables of cells: each runs inside Checks(), which asserts
/// that nothing of it lives on.
class EventFaults : public testing::Test {
 protected:
  ~EventFaults() override;

  CRunChecks& Checks() { return m_checks; }
  std::wstring Temporary(const std::wstring& name) const { return m_sandbox / (kTempFiles + name); }

  /// A lesson (".qdk") as its server answers it, and its bytes.
  static HttpAnswer Lesson();
  static std::string LessonBytes();

  const CTempSandbox m_sandbox;
  const CInstallInformation m_information;
  const CIeFrameDouble m_ieFrame;
  const HttpTestServer m_server;

 private:
  CRunChecks m_checks;
};
