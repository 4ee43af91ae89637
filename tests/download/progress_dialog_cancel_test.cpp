// Cancelling: the dialog ends at once whatever the server does, and nothing is left in the end.

#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <string>

#include "tests/download/download_test.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

/// How long a cancelled dialog may take to be gone, on a busy machine.
constexpr DWORD kAtOnceMs = 10000;

const std::string kNoAnswer(http_point::kBeforeHeaders);

class CancelledDownload : public DownloadTest {
 protected:
  /// Runs a dialog and cancels it once the server holds `point`.
  void CancelAt(
      CProgressDialog& dialog, const ScriptedPath& path, const std::string& point,
      void (*cancel)(HWND) = [](HWND window) { Click(window, IDCANCEL); }) {
    const INT_PTR result = RunDialog(dialog, [&](HWND window) {
      EXPECT_TRUE(path.WaitForHeld(point));
      cancel(window);
      WaitUntilGone(window, kAtOnceMs);
    });
    EXPECT_EQ(result, 2);
  }

  CMessageRecorder m_messages;
};

TEST_F(CancelledDownload, ServerThatNeverAnswersHoldsNobodyUp) {
  const ScriptedPath path(m_server, Lesson(1000).Hold(kNoAnswer));
  std::weak_ptr<CProgressDialog> watched;
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    watched = dialog->weak_from_this();
    CancelAt(*dialog, path, kNoAnswer);
    const CProgressDialogPeer peer{*dialog};
    EXPECT_FALSE(peer.HasThread());
    EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(peer.Request(), nullptr);
    EXPECT_EQ(peer.Session(), nullptr);
  }
  EXPECT_FALSE(watched.expired()) << "the worker still uses it";
  EXPECT_EQ(LocksTaken(), 1);
  path.AllowAll();
  EXPECT_TRUE(path.WaitForEnd());
  AwaitWorkers();
  EXPECT_TRUE(watched.expired());
  EXPECT_TRUE(m_sandbox.Files().empty());
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(CancelledDownload, EveryWayToCancelDeletesTheFileOfAStalledBody) {
  const std::string inTheBody = http_point::BodyByte(400000);
  void (*const ways[])(HWND) = {
      [](HWND window) { Click(window, IDCANCEL); },
      [](HWND window) { Close(window); },
      [](HWND window) { PostMessageW(window, WM_KEYDOWN, VK_ESCAPE, 1); },
  };
  m_sandbox.Write(L"Lesson.qdk", "old");
  for (const auto way : ways) {
    const ScriptedPath path(m_server, Lesson(1000000).Hold(inTheBody));
    const auto dialog = Make(path.Url(L"a.qdk"));
    CancelAt(*dialog, path, inTheBody, way);
    EXPECT_EQ(m_sandbox.Files(), Files{L"Lesson.qdk"});
    EXPECT_EQ(ReadFileBytes(DestPath()), "old");
    path.AllowAll();
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(CancelledDownload, WorkerThatIsLeftBehindNeverCreatesAFile) {
  const HttpAnswer answers[] = {Lesson(100000), HttpAnswer().Status(404),
                                HttpAnswer().Bytes("no lesson")};
  for (HttpAnswer answer : answers) {
    const ScriptedPath path(m_server, answer.Hold(kNoAnswer));
    CancelAt(*Make(path.Url(L"a.qdk")), path, kNoAnswer);
    // The name is free again, and another download may use it.
    m_sandbox.Write(L"temporary.qdk", "another download");
    path.AllowAll();
    AwaitWorkers();
    EXPECT_EQ(ReadFileBytes(TempPath()), "another download");
    DeleteFileW(TempPath().c_str());
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

}  // namespace
