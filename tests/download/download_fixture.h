#pragma once

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <wininet.h>

#include <string>
#include <vector>

#include "download/progress_dialog.h"
#include "tests/download/progress_dialog_peer.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/http_answer.h"
#include "tests/support/http_server.h"
#include "tests/support/import_spy.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/temp_sandbox.h"

/// The messages about a transfer that fails.
inline std::wstring NotAvailable(const std::wstring& url) {
  return L"The file " + url + L" is not available for downloading.";
}
inline std::wstring NotAFolivoFile(const std::wstring& url) {
  return L"The file " + url +
         L" is not a valid Folivo file. Please ensure that the link to the Folivo file is valid.";
}
inline std::wstring CannotCreate(const std::wstring& path) {
  return L"Unable to create the destination file " + path + L".";
}
inline std::wstring CannotWrite(const std::wstring& path) {
  return L"Unable to write to the destination file " + path + L".";
}

using Files = std::vector<std::wstring>;

/// The results that were posted to this thread, as by a dialog without a
/// window.
std::vector<WPARAM> TakePostedResults();

/// Lessons of a test server, downloaded into a folder of the test's own. At the
/// end of each test no dialog is left, and nothing keeps the module loaded.
class DownloadFixture : public testing::Test {
 protected:
  DownloadFixture();
  ~DownloadFixture() override;

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

/// The head of a lesson body, and a whole one: the head and `length` bytes of a
/// pattern.
inline constexpr char kQdkHead[] = "\x78\x9C";
std::string LessonBytes(size_t length);
/// The same as a server's answer.
HttpAnswer Lesson(size_t length);

/// A download of 5,002 bytes whose steps the test makes one by one, without a window.
class SteppedDownloadFixture : public DownloadFixture {
 protected:
  /// The messages since the last call.
  std::vector<std::wstring> Messages() { return m_messages.TakeTexts(); }

  const ScriptedPath m_path{m_server, Lesson(5000)};
  const std::wstring m_url = m_path.Url(L"a.qdk");
  const CProgressDialog::Ptr m_dialog = Make(m_url);
  CProgressDialogPeer m_peer{*m_dialog};
  CMessageRecorder m_messages;
};

/// An event that stays signalled. `Wait` fails the test when nothing signals it.
class CTestEvent {
 public:
  bool Set() const { return SetEvent(m_event) != FALSE; }
  bool IsSet() const { return WaitForSingleObject(m_event, 0) == WAIT_OBJECT_0; }
  void Wait() const { EXPECT_EQ(WaitForSingleObject(m_event, PatienceMs()), WAIT_OBJECT_0); }

 private:
  const CHandle m_event{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

/// Holds the worker of a running dialog inside its third read, which then fails.
class CFailingRead {
 public:
  void WaitUntilReached() const { m_reached.Wait(); }
  void FailAndWaitForTheWorker() const {
    m_fails.Set();
    EXPECT_EQ(WaitForSingleObject(m_worker, PatienceMs()), WAIT_OBJECT_0);
  }

 private:
  CTestEvent m_reached;
  CTestEvent m_fails;
  mutable CHandle m_worker;
  const CImportSpy<&InternetReadFile> m_read{
      "wininet.dll", "InternetReadFile", [this](auto... arguments) {
        if (m_read.Calls().size() != 3) {
          return m_read.CallOriginal(arguments...);
        }
        m_worker.Attach(OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId()));
        m_reached.Set();
        m_fails.Wait();
        return FALSE;
      }};
};
