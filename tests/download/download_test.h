#pragma once

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "download/progress_dialog.h"
#include "tests/download/progress_dialog_peer.h"
#include "tests/support/dialogs.h"
#include "tests/support/http_answer.h"
#include "tests/support/http_server.h"
#include "tests/support/import_patch.h"
#include "tests/support/temp_sandbox.h"

/// The messages about a transfer that fails.
std::wstring NotAvailable(const std::wstring& url);
std::wstring NotAFolivoFile(const std::wstring& url);
std::wstring CannotCreate(const std::wstring& path);
std::wstring CannotWrite(const std::wstring& path);

using Files = std::vector<std::wstring>;

/// The results that were posted to this thread, as by a dialog without a
/// window.
std::vector<WPARAM> TakePostedResults();

/// Runs the dialog modally with a user: a thread that gets the window once it
/// is visible. A dialog that the user leaves open and that does not end by
/// itself is cancelled. Gives its result.
INT_PTR RunDialog(CProgressDialog& dialog, const std::function<void(HWND window)>& user);

/// Lessons of a test server, downloaded into a folder of the test's own. At the
/// end of each test no dialog is left, and nothing keeps the module loaded.
class DownloadTest : public testing::Test {
 protected:
  DownloadTest();
  ~DownloadTest() override;

  /// A dialog whose temporary and final files lie in the sandbox; content rule
  /// ".qdk".
  CProgressDialog::Ptr Make(const std::wstring& url, HWND browserWindow = nullptr) const;

  /// How many more locks the module has than at the begin of the test.
  LONG LocksTaken() const;
  /// Waits for the ends of the workers that were left behind.
  void AwaitWorkers() const;

  std::wstring TempPath() const { return m_sandbox / L"temporary.qdk"; }
  std::wstring DestPath() const { return m_sandbox / L"Lesson.qdk"; }

  const HttpTestServer m_server;
  const CTempSandbox m_sandbox;

 private:
  const LONG m_locksBefore;
};

/// An event that stays signalled. `Wait` fails the test after 20 seconds.
class CTestEvent {
 public:
  bool Set() const { return SetEvent(m_event) != FALSE; }
  bool IsSet() const { return WaitForSingleObject(m_event, 0) == WAIT_OBJECT_0; }
  void Wait() const { EXPECT_EQ(WaitForSingleObject(m_event, 20000), WAIT_OBJECT_0); }

 private:
  const CHandle m_event{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

/// While it lives, a window that has nothing to do with the download is in the
/// foreground.
class CForeignForeground {
 public:
  CForeignForeground()
      : m_patch("user32.dll", "GetForegroundWindow", +[]() -> HWND { return Window(); }) {}
  static HWND Window() { return GetDesktopWindow(); }

 private:
  CImportPatch m_patch;
};

/// The head of a lesson body, and a whole one: the head and `length` bytes of a
/// pattern.
inline constexpr char kLessonHead[] = "\x78\x9C";
std::string LessonBytes(size_t length);
/// The same as a server's answer.
HttpAnswer Lesson(size_t length);
