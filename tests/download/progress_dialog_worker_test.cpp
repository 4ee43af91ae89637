// A transfer's worker and its progress bar, without a window.

#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>
#include <wininet.h>

#include <new>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/download/download_fixture.h"
#include "tests/support/import_spy.h"

namespace {

using Positions = std::vector<WPARAM>;
using Results = std::vector<WPARAM>;
using WriteSpy = CImportSpy<&WriteFile>;
using ReadSpy = CImportSpy<&InternetReadFile>;

class ProgressDialogWorkerBar : public SteppedDownloadFixture {
 protected:
  /// The positions of the bar since the last call.
  Positions TakePositions() const { return std::exchange(m_positions, {}); }

  /// The positions of the bar during the download of this answer.
  Positions PositionsOf(const HttpAnswer& answer, DWORD bufferSize = 0x20000) const {
    const ScriptedPath path(m_server, answer);
    const auto dialog = Make(path.Url(L"a.qdk"));
    CProgressDialogPeer peer{*dialog};
    while (peer.Step(bufferSize)) {
    }
    EXPECT_TRUE(peer.IsComplete());
    return TakePositions();
  }

 private:
  mutable Positions m_positions;
  const CImportSpy<&SendDlgItemMessageW> m_bar{
      "user32.dll", "SendDlgItemMessageW",
      [this](HWND, int id, UINT message, WPARAM position, LPARAM reserved) {
        EXPECT_EQ(id, IDC_PROGRESS);
        EXPECT_EQ(reserved, 0);
        EXPECT_EQ(message, UINT{PBM_SETPOS});
        m_positions.push_back(position);
        return 0;
      }};
};

TEST_F(ProgressDialogWorkerBar, FollowsTheKnownLength) {
  EXPECT_EQ(PositionsOf(Lesson(998), 300), (Positions{30, 60, 90, 100, 100}));
  EXPECT_EQ(PositionsOf(Lesson(998).ClaimLength("abc").Close(), 600), Positions{100})
      << "a length of 0 moves it at the end only";
}

TEST_F(ProgressDialogWorkerBar, AssumedLengthGrowsEachTimeItIsExceeded) {
  EXPECT_EQ(PositionsOf(Lesson(1000000 - 2).CloseDelimited(), 250000),
            (Positions{25, 50, 75, 100, 100}))
      << "reached, not exceeded";
  EXPECT_EQ(PositionsOf(Lesson(3000000 - 2).CloseDelimited()),
            (Positions{13, 26, 39, 52, 65, 78, 91, 51, 57, 63, 70, 76,
                       83, 89, 95, 67, 71, 76, 80, 84, 88, 93, 96, 100}));
}

TEST_F(ProgressDialogWorkerBar, BytesOfThePreCheckAreNotCounted) {
  ASSERT_TRUE(m_dialog->PeekContent(L".qdk"));
  EXPECT_EQ(TakePositions(), Positions());
  ASSERT_TRUE(m_peer.Step(1000));
  EXPECT_EQ(m_peer.Received(), 1000) << "without the 800 bytes of the pre-check";
  EXPECT_EQ(TakePositions(), Positions{19});  // of 5002
}

TEST_F(ProgressDialogWorkerBar, StoppedTransferDoesNotMoveIt) {
  const WriteSpy write("kernel32.dll", "WriteFile", [&](auto... arguments) {
    m_peer.SetRunning(false);
    return write.CallOriginal(arguments...);
  });
  ASSERT_TRUE(m_peer.Step());
  EXPECT_TRUE(m_peer.Step()) << "the chunk itself has been written";
  EXPECT_EQ(m_peer.Received(), 5002);
  m_peer.SetRunning(true);
  const ReadSpy read("wininet.dll", "InternetReadFile", [&](auto... arguments) {
    m_peer.SetRunning(false);
    return read.CallOriginal(arguments...);
  });
  EXPECT_FALSE(m_peer.Step()) << "the end of the body";
  EXPECT_FALSE(m_peer.IsComplete());
  EXPECT_EQ(TakePositions(), Positions());
}

class ProgressDialogWorker : public SteppedDownloadFixture {};

TEST_F(ProgressDialogWorker, NamedThreadReadsAllAndPostsOne) {
  const CImportSpy<&Sleep> sleep("kernel32.dll", "Sleep");
  const ReadSpy read("wininet.dll", "InternetReadFile");
  std::string name;
  const CImportSpy<&RaiseException> raise("kernel32.dll", "RaiseException",
                                          [&](DWORD, DWORD, DWORD, const ULONG_PTR* arguments) {
                                            name = reinterpret_cast<const char*>(arguments[1]);
                                          });
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), Results{1});
  EXPECT_TRUE(peer.IsFinished());
  EXPECT_TRUE(peer.IsComplete());
  peer.CloseFile();
  EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(300000));
  EXPECT_EQ(name, "CProgressDialog");
  // Yields after the opening and three chunks; the end of the body is the last read.
  EXPECT_EQ(sleep.Calls(), std::vector(4, std::tuple(DWORD{0})));
  EXPECT_EQ(read.Calls().size(), 4u);
  for (const auto& call : read.Calls()) {
    EXPECT_EQ(std::get<2>(call), 131072u);
  }
}

TEST_F(ProgressDialogWorker, ResultIsPostedOnceAndTwiceForARefusedStatus) {
  struct {
    HttpAnswer answer;
    Results results;
    size_t messages;
  } const cases[] = {
      {HttpAnswer(), {1}, 0},  // an empty body is complete and unchecked
      {HttpAnswer().Bytes("no lesson"), {3}, 1},
      {HttpAnswer().Status(404), {3, 3}, 1},
  };
  for (const auto& c : cases) {
    const ScriptedPath path(m_server, c.answer);
    const auto dialog = Make(path.Url(L"a.qdk"));
    CProgressDialogPeer peer{*dialog};
    peer.RunWorker();
    EXPECT_EQ(TakePostedResults(), c.results);
    EXPECT_TRUE(peer.IsFinished());
    EXPECT_EQ(peer.IsComplete(), c.messages == 0);
    EXPECT_EQ(Messages().size(), c.messages);
  }
}

TEST_F(ProgressDialogWorker, StoppedWorkerLeavesTheHandlesToTheDialog) {
  ASSERT_TRUE(m_peer.Step());
  ASSERT_TRUE(m_peer.Step(1000));
  m_peer.SetRunning(false);
  m_peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), Results());
  EXPECT_FALSE(m_peer.IsFinished());
  EXPECT_NE(m_peer.Request(), nullptr) << "the dialog may be waiting for the worker's end";
  EXPECT_EQ(m_peer.FileSize(), 1000);
}

TEST_F(ProgressDialogWorker, WorkerThatIsLeftBehindInAWriteReportsNothingAndCleansUp) {
  const WriteSpy write("kernel32.dll", "WriteFile", [&](auto... arguments) {
    m_peer.StopDownload();  // which cannot wait for this write
    return write.CallOriginal(arguments...);
  });
  m_peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), Results());
  EXPECT_TRUE(Messages().empty());
  EXPECT_FALSE(m_peer.IsFinished());
  EXPECT_EQ(m_peer.Session(), nullptr);
  EXPECT_EQ(m_peer.Request(), nullptr);
  EXPECT_EQ(m_peer.File(), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

// The fault matrix fails each allocation; here are the texts.
TEST_F(ProgressDialogWorker, OutOfMemoryIsReportedOnceAndFails) {
  bool isMessageOutOfMemory = false;
  const CImportSpy<&MessageBoxW> message("user32.dll", "MessageBoxW", [&](auto... arguments) {
    if (std::exchange(isMessageOutOfMemory, false)) {
      throw std::bad_alloc();
    }
    return message.CallOriginal(arguments...);
  });
  const ReadSpy read("wininet.dll", "InternetReadFile",
                     [](auto...) -> BOOL { throw std::bad_alloc(); });
  for (const std::wstring& text :
       {NotAvailable(m_url), std::wstring(L"There is not enough memory to download the file.")}) {
    const auto dialog = Make(m_url);
    CProgressDialogPeer{*dialog}.RunWorker();
    EXPECT_EQ(TakePostedResults(), Results{3});
    EXPECT_EQ(Messages(), std::vector{text});
    isMessageOutOfMemory = true;
  }
}

}  // namespace
