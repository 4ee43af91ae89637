// Cancelling: the dialog ends at once whatever the server does, and nothing is left in the end.

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"
#include "tests/support/user.h"

namespace {

/// How long a cancelled dialog may take to be gone, on a busy machine.
constexpr DWORD kAtOnceMs = 10000;

/// Where the server stalls in a body of 1,000,000 bytes.
const std::string kInTheBody = http_point::BodyByte(400000);

class CancelledDownload : public DownloadTest {
 protected:
  /// Runs a dialog for the stalled path and cancels it by `cancel` once the server holds `point`.
  void CancelAt(const ScriptedPath& path, const std::string& point,
                const std::function<void(HWND)>& cancel) {
    const auto dialog = Make(path.Url(L"a.qdk"));
    const INT_PTR result = RunDialog(*dialog, [&](HWND window) {
      EXPECT_TRUE(path.WaitForHeld(point));
      if (point == kInTheBody) {
        // The worker has made the file, has written what came and waits for more.
        WaitUntil("three chunks", [=] { return BarPosition(window) == 39; });
      }
      cancel(window);
      WaitUntilGone(window, kAtOnceMs);
    });
    EXPECT_EQ(result, 2);
    EXPECT_TRUE(m_sandbox.Files().empty()) << "gone with the dialog";
    const CProgressDialogPeer peer{*dialog};
    EXPECT_FALSE(peer.HasThread());
    EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(peer.Request(), nullptr);
    EXPECT_EQ(peer.Session(), nullptr);
  }

  CMessageRecorder m_messages;
};

void PressCancel(HWND window) { Click(window, IDCANCEL); }

TEST_F(CancelledDownload, StalledBodyLeavesNoFile) {
  const ScriptedPath path(m_server, Lesson(1000000).Hold(kInTheBody));
  CancelAt(path, kInTheBody, &PressCancel);
  path.AllowAll();
  EXPECT_TRUE(path.WaitForEnd());
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(CancelledDownload, ServerThatNeverAnswersHoldsNobodyUp) {
  const std::string point(http_point::kBeforeHeaders);
  const ScriptedPath path(m_server, Lesson(1000).Hold(point));
  CancelAt(path, point, &PressCancel);
  path.AllowAll();
  EXPECT_TRUE(path.WaitForEnd());
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(CancelledDownload, WorkerThatIsLeftBehindNeverMakesAFileAgain) {
  const HttpAnswer answers[] = {Lesson(100000), HttpAnswer().Status(404),
                                HttpAnswer().Bytes("no lesson")};
  const std::string point(http_point::kBeforeHeaders);
  for (HttpAnswer answer : answers) {
    const ScriptedPath path(m_server, answer.Hold(point));
    {
      const auto dialog = Make(path.Url(L"a.qdk"));
      RunDialog(*dialog, [&](HWND window) {
        EXPECT_TRUE(path.WaitForHeld(point));
        Click(window, IDCANCEL);
      });
    }
    // The name is free again, and another download may have come to use it.
    m_sandbox.Write(L"temporary.qdk", "another download");
    path.AllowAll();
    WaitUntil("the worker's end", [this] { return LocksTaken() == 0; });
    EXPECT_EQ(ReadFileBytes(TempPath()), "another download");
    DeleteFileW(TempPath().c_str());
  }
  EXPECT_TRUE(m_messages.Take().empty()) << "nobody is there to read it";
}

TEST_F(CancelledDownload, EscapeAndTheCloseBoxCancelToo) {
  const std::function<void(HWND)> ways[] = {
      [](HWND window) { Close(window); },
      [](HWND window) { PostMessageW(window, WM_KEYDOWN, VK_ESCAPE, 1); },
  };
  for (const auto& way : ways) {
    const ScriptedPath path(m_server, Lesson(1000000).Hold(kInTheBody));
    CancelAt(path, kInTheBody, way);
    path.AllowAll();
  }
}

TEST_F(CancelledDownload, FinalFileIsNotTouched) {
  m_sandbox.Write(L"Lesson.qdk", "old");
  const ScriptedPath path(m_server, Lesson(1000000).Hold(kInTheBody));
  const auto dialog = Make(path.Url(L"a.qdk"));
  RunDialog(*dialog, [&](HWND window) {
    EXPECT_TRUE(path.WaitForHeld(kInTheBody));
    Click(window, IDCANCEL);
  });
  EXPECT_EQ(ReadFileBytes(DestPath()), "old");
  path.AllowAll();
}

TEST_F(CancelledDownload, OneAfterThePreCheckLeavesNoFile) {
  const ScriptedPath path(m_server, Lesson(1000000).Hold(kInTheBody));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  EXPECT_EQ(RunDialog(*dialog,
                      [&](HWND window) {
                        EXPECT_TRUE(path.WaitForHeld(kInTheBody));
                        Click(window, IDCANCEL);
                      }),
            2);
  EXPECT_TRUE(m_sandbox.Files().empty());
  path.AllowAll();
}

TEST_F(CancelledDownload, ObjectMayGoWhileItsWorkerIsStillInTheNetwork) {
  const std::string point(http_point::kBeforeHeaders);
  const ScriptedPath path(m_server, Lesson(1000).Hold(point));
  std::weak_ptr<CProgressDialog> watched;
  {
    auto dialog = Make(path.Url(L"a.qdk"));
    watched = dialog->weak_from_this();
    RunDialog(*dialog, [&](HWND window) {
      EXPECT_TRUE(path.WaitForHeld());
      Click(window, IDCANCEL);
    });
  }
  EXPECT_FALSE(watched.expired()) << "the worker still uses it";
  path.AllowAll();
  WaitUntil("the worker to let go", [&] { return watched.expired(); });
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(CancelledDownload, ObjectIsGoneAtOnceWhenNoWorkerIsLeft) {
  const ScriptedPath path(m_server, Lesson(1000));
  std::weak_ptr<CProgressDialog> watched;
  {
    const auto dialog = Make(path.Url(L"a.qdk"));
    watched = dialog->weak_from_this();
    EXPECT_EQ(dialog->DoModal(nullptr), 1);
  }
  EXPECT_TRUE(watched.expired());
}

TEST_F(CancelledDownload, WorkersThatAreLeftBehindEndWhenTheServerLetsGo) {
  std::vector<std::unique_ptr<ScriptedPath>> paths;
  for (int i = 0; i < 5; ++i) {
    paths.push_back(std::make_unique<ScriptedPath>(m_server, Lesson(1000000).Hold(kInTheBody)));
    CancelAt(*paths.back(), kInTheBody, &PressCancel);
  }
  // Not each of them: a worker that was cancelled between two reads has ended by itself.
  EXPECT_GE(LocksTaken(), 1);
  paths.clear();
}

}  // namespace
