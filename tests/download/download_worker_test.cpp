// A transfer's progress bar and its worker, without a window.

#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>
#include <wininet.h>

#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "tests/download/transfer_step.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/scripted_path.h"

namespace {

using Positions = std::vector<WPARAM>;

class TransferProgress : public TransferStep {
 protected:
  /// The positions of the bar since the last call.
  Positions TakePositions() {
    Positions positions;
    const auto calls = m_bar.Calls();
    for (; m_taken < calls.size(); ++m_taken) {
      const auto [window, id, message, position, unused] = calls[m_taken];
      EXPECT_EQ(id, IDC_PROGRESS);
      EXPECT_EQ(message, static_cast<UINT>(PBM_SETPOS));
      positions.push_back(position);
    }
    return positions;
  }

  /// The positions of the bar during the download of this answer.
  Positions PositionsOf(const HttpAnswer& answer, DWORD bufferSize = 0x20000) {
    const ScriptedPath path(m_server, answer);
    const auto dialog = Make(path.Url(L"a.qdk"));
    CProgressDialogPeer peer{*dialog};
    while (peer.Step(bufferSize)) {
    }
    EXPECT_TRUE(peer.IsComplete());
    return TakePositions();
  }

  const CImportSpy<&SendDlgItemMessageW> m_bar{"user32.dll", "SendDlgItemMessageW",
                                               [](auto...) { return 0; }};
  size_t m_taken = 0;
};

TEST_F(TransferProgress, FollowsTheKnownLength) {
  EXPECT_EQ(PositionsOf(Lesson(998), 300), (Positions{30, 60, 90, 100, 100}));
  EXPECT_EQ(PositionsOf(Lesson(998).ClaimLength("abc").Close(), 600), Positions{100})
      << "a length of 0 moves it at the end only";
}

TEST_F(TransferProgress, UnknownLengthIsRaisedEachTimeItIsExceeded) {
  const Positions positions = PositionsOf(Lesson(3000000 - 2).CloseDelimited());
  const Positions expected = {13, 26, 39, 52, 65, 78, 91, 51, 57, 63, 70, 76,
                              83, 89, 95, 67, 71, 76, 80, 84, 88, 93, 96, 100};
  EXPECT_EQ(positions, expected);
}

TEST_F(TransferProgress, IsNotShownUnderThePreCheck) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  EXPECT_TRUE(TakePositions().empty());
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step(1000));
  EXPECT_EQ(peer.Received(), 1000) << "without the 800 bytes of the pre-check";
  EXPECT_EQ(TakePositions(), Positions{19});  // of 5002
}

TEST_F(TransferProgress, IsNotShownOnceStopped) {
  const ScriptedPath path(m_server, Lesson(998));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  const CImportSpy<&WriteFile> write("kernel32.dll", "WriteFile", [&](auto... arguments) {
    peer.SetRunning(false);
    return write.CallOriginal(arguments...);
  });
  ASSERT_TRUE(peer.Step());
  EXPECT_TRUE(peer.Step()) << "the chunk itself has been written";
  EXPECT_EQ(peer.Received(), 1000);
  peer.SetRunning(true);
  const CImportSpy<&InternetReadFile> read("wininet.dll", "InternetReadFile",
                                           [&](auto... arguments) {
                                             peer.SetRunning(false);
                                             return read.CallOriginal(arguments...);
                                           });
  EXPECT_FALSE(peer.Step()) << "the end of the body";
  EXPECT_FALSE(peer.IsComplete());
  EXPECT_TRUE(TakePositions().empty());
}

class TransferWorker : public TransferStep {};

TEST_F(TransferWorker, CompleteBodyPostsOne) {
  const CImportSpy<&Sleep> sleep("kernel32.dll", "Sleep");
  const CImportSpy<&InternetReadFile> read("wininet.dll", "InternetReadFile");
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
  EXPECT_TRUE(peer.IsFinished());
  EXPECT_TRUE(peer.IsComplete());
  peer.CloseFile();
  EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(300000));
  // Yields behind the opening and three chunks; the end of the body is the last
  // read.
  EXPECT_EQ(sleep.Calls(), std::vector(4, std::tuple(DWORD{0})));
  EXPECT_EQ(read.Calls().size(), 4u);
  for (const auto& call : read.Calls()) {
    EXPECT_EQ(std::get<2>(call), 131072u);
  }
}

TEST_F(TransferWorker, EmptyBodyIsCompleteAndUnchecked) {
  const ScriptedPath path(m_server, HttpAnswer());
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
  EXPECT_TRUE(peer.IsCheckPending());
  EXPECT_EQ(peer.FileSize(), 0);
}

TEST_F(TransferWorker, FailurePostsThree) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("no lesson"));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{3});
  EXPECT_TRUE(peer.IsFinished());
  EXPECT_FALSE(peer.IsComplete());
  OnlyMessage();
}

TEST_F(TransferWorker, PostsThreeTwiceForABadStatus) {
  const ScriptedPath path(m_server, HttpAnswer().Status(404));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer{*dialog}.RunWorker();
  EXPECT_EQ(TakePostedResults(), (std::vector<WPARAM>{3, 3}));
  OnlyMessage();
}

TEST_F(TransferWorker, StoppedOneLeavesTheHandlesToTheDialog) {
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  ASSERT_TRUE(peer.Step(1000));
  peer.SetRunning(false);
  peer.RunWorker();
  EXPECT_TRUE(TakePostedResults().empty());
  EXPECT_FALSE(peer.IsFinished());
  EXPECT_NE(peer.Request(), nullptr) << "the dialog may be waiting for the worker's end";
  EXPECT_EQ(peer.FileSize(), 1000);
}

TEST_F(TransferWorker, OneThatIsLeftBehindInAWriteReportsNothingAndCleansUp) {
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  const CImportSpy<&WriteFile> write("kernel32.dll", "WriteFile", [&](auto... arguments) {
    peer.StopDownload();  // which cannot wait for this write
    return write.CallOriginal(arguments...);
  });
  peer.RunWorker();
  EXPECT_TRUE(TakePostedResults().empty());
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_FALSE(peer.IsFinished());
  EXPECT_EQ(peer.Session(), nullptr);
  EXPECT_EQ(peer.Request(), nullptr);
  EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

// What stands in for malloc and for the message box while memory is short: it
// must not allocate.
size_t g_smallestFailing = SIZE_MAX;
void* (*g_malloc)(size_t);
int g_shown = 0;
wchar_t g_text[300];

TEST_F(TransferWorker, OutOfMemoryIsReportedOnceAndFails) {
  const CImportPatch memory(
      "msvcrt.dll", "malloc",
      +[](size_t size) { return size >= g_smallestFailing ? nullptr : g_malloc(size); });
  g_malloc = memory.Original<void*(size_t)>();
  const CImportPatch message(
      "user32.dll", "MessageBoxW", +[](HWND, LPCWSTR text, LPCWSTR, UINT) -> int {
        ++g_shown;
        lstrcpynW(g_text, text, static_cast<int>(std::size(g_text)));
        return IDOK;
      });
  const std::wstring url = L"http://127.0.0.1:1/a.qdk";
  struct {
    size_t fails;
    std::wstring text;
  } const cases[] = {{131072, NotAvailable(url)},
                     {1, L"There is not enough memory to download the file."}};
  for (const auto& c : cases) {
    const auto dialog = Make(url);
    g_shown = 0;
    g_smallestFailing = c.fails;
    CProgressDialogPeer{*dialog}.RunWorker();
    g_smallestFailing = SIZE_MAX;
    EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{3});
    EXPECT_EQ(g_shown, 1);
    EXPECT_EQ(g_text, c.text);
  }
}

TEST_F(TransferWorker, NamesItsThread) {
  std::string name;
  const CImportSpy<&RaiseException> raise(
      "kernel32.dll", "RaiseException", [&](DWORD code, DWORD, DWORD, const ULONG_PTR* arguments) {
        EXPECT_EQ(code, 0x406D1388u);
        name = reinterpret_cast<const char*>(arguments[1]);
      });
  const ScriptedPath path(m_server, HttpAnswer());
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer{*dialog}.RunWorker();
  EXPECT_EQ(name, "CProgressDialog");
  TakePostedResults();
}

}  // namespace
