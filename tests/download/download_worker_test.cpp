// A transfer's progress bar and its worker, without a window.

#include <gtest/gtest.h>
#include <windows.h>

#include <commctrl.h>
#include <wininet.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "tests/download/transfer_step.h"
#include "tests/support/import_patch.h"
#include "tests/support/scripted_path.h"

namespace {

std::vector<WPARAM> g_positions;

LRESULT WINAPI RecordPosition(HWND, int id, UINT message, WPARAM wParam, LPARAM) {
  EXPECT_EQ(id, 205);
  EXPECT_EQ(message, static_cast<UINT>(PBM_SETPOS));
  g_positions.push_back(wParam);
  return 0;
}

class TransferProgress : public TransferStep {
 protected:
  TransferProgress() : m_patch("user32.dll", "SendDlgItemMessageW", &RecordPosition) {
    g_positions.clear();
  }

  /// The positions of the bar through the download of this answer, and its end.
  std::vector<WPARAM> PositionsOf(const HttpAnswer& answer, DWORD bufferSize = 0x20000) {
    const ScriptedPath path(m_server, answer);
    const auto dialog = Make(path.Url(L"a.qdk"));
    CProgressDialogPeer peer{*dialog};
    while (peer.Step(bufferSize)) {
    }
    EXPECT_TRUE(peer.IsComplete());
    return std::exchange(g_positions, {});
  }

 private:
  CImportPatch m_patch;
};

TEST_F(TransferProgress, FollowsTheKnownLength) {
  EXPECT_EQ(PositionsOf(Lesson(998), 300), (std::vector<WPARAM>{30, 60, 90, 100, 100}));
}

TEST_F(TransferProgress, OfAnUnknownLengthIsRebasedEachTimeItIsPassed) {
  std::vector<WPARAM> expected;
  int total = 1000000;
  for (int received = 0; received < 3000000;) {
    received = std::min(received + 131072, 3000000);
    if (received > total) {
      total = received + 1000000;
    }
    expected.push_back(static_cast<WPARAM>(received * 100 / total));
  }
  expected.push_back(100);
  const auto positions = PositionsOf(Lesson(3000000 - 2).CloseDelimited());
  EXPECT_EQ(positions, expected);
  const std::vector<WPARAM> begin(positions.begin(), positions.begin() + 9);
  EXPECT_EQ(begin, (std::vector<WPARAM>{13, 26, 39, 52, 65, 78, 91, 51, 57}));
  EXPECT_EQ(std::count(positions.begin(), positions.end(), 100u), 1) << "at the end only";
}

TEST_F(TransferProgress, WrapsInLargeBodies) {
  // Two chunks, the second beyond 2^31 / 100 bytes.
  const auto positions = PositionsOf(Lesson(21474837 - 2), 21474836);
  EXPECT_EQ(positions,
            (std::vector<WPARAM>{99, static_cast<WPARAM>((-2147483647 - 1 + 52) / 21474837), 100}));
}

TEST_F(TransferProgress, StaysWhereItIsWhenTheLengthIsNoNumber) {
  EXPECT_EQ(PositionsOf(Lesson(998).ClaimLength("abc").Close(), 600), (std::vector<WPARAM>{100}))
      << "the end alone";
}

TEST_F(TransferProgress, IsNotShownUnderThePreCheck) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  EXPECT_TRUE(g_positions.empty());
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step(1000));
  EXPECT_EQ(peer.Received(), 1000) << "without the 800 bytes of the pre-check";
  EXPECT_EQ(g_positions, (std::vector<WPARAM>{19}));  // of 5002
}

CProgressDialog* g_dialog;

TEST_F(TransferProgress, IsNotShownOnceStopped) {
  static decltype(&WriteFile) write;
  const CImportPatch patch(
      "kernel32.dll", "WriteFile",
      +[](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) -> BOOL {
        CProgressDialogPeer{*g_dialog}.SetRunning(false);
        return write(file, data, size, written, overlapped);
      });
  write = patch.Original<decltype(WriteFile)>();
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  g_dialog = dialog.get();
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  EXPECT_TRUE(peer.Step(1000)) << "the chunk itself has been written";
  EXPECT_EQ(peer.Received(), 1000);
  EXPECT_TRUE(g_positions.empty());
}

TEST_F(TransferProgress, EndIsNotShownOnceStopped) {
  static decltype(&InternetReadFile) read;
  const CImportPatch patch(
      "wininet.dll", "InternetReadFile",
      +[](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD count) -> BOOL {
        const BOOL result = read(request, buffer, size, count);
        if (*count == 0) {
          CProgressDialogPeer{*g_dialog}.SetRunning(false);
        }
        return result;
      });
  read = patch.Original<decltype(InternetReadFile)>();
  const ScriptedPath path(m_server, Lesson(998));
  const auto dialog = Make(path.Url(L"a.qdk"));
  g_dialog = dialog.get();
  CProgressDialogPeer peer{*dialog};
  ASSERT_TRUE(peer.Step());
  ASSERT_TRUE(peer.Step());
  EXPECT_FALSE(peer.Step());
  EXPECT_FALSE(peer.IsRunning());
  EXPECT_FALSE(peer.IsComplete());
  EXPECT_EQ(g_positions, (std::vector<WPARAM>{100})) << "of the only chunk, not of the end";
}

class TransferWorker : public TransferStep {};

TEST_F(TransferWorker, YieldsAfterEachBufferfulOf128KiB) {
  static std::vector<DWORD> sleeps;
  static std::vector<DWORD> sizes;
  static decltype(&InternetReadFile) readFile;
  sleeps.clear();
  sizes.clear();
  const CImportPatch sleep("kernel32.dll", "Sleep", +[](DWORD time) { sleeps.push_back(time); });
  const CImportPatch read(
      "wininet.dll", "InternetReadFile",
      +[](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD count) -> BOOL {
        sizes.push_back(size);
        return readFile(request, buffer, size, count);
      });
  readFile = read.Original<decltype(InternetReadFile)>();
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer{*dialog}.RunWorker();
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
  // Behind the opening and three chunks; the end of the body is the last read.
  EXPECT_EQ(sleeps, std::vector<DWORD>(4, 0));
  EXPECT_EQ(sizes, std::vector<DWORD>(4, 131072));
}

TEST_F(TransferWorker, PostsOneForACompleteBody) {
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
  EXPECT_TRUE(peer.IsFinished());
  EXPECT_TRUE(peer.IsComplete());
  peer.CloseFile();
  EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(300000));
}

TEST_F(TransferWorker, PostsThreeForAFailure) {
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

TEST_F(TransferWorker, EmptyBodyIsCompleteAndUnchecked) {
  const ScriptedPath path(m_server, HttpAnswer());
  const auto dialog = Make(path.Url(L"a.qdk"));
  CProgressDialogPeer peer{*dialog};
  peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
  EXPECT_TRUE(peer.IsCheckPending());
  EXPECT_EQ(peer.FileSize(), 0);
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

TEST_F(TransferWorker, OneThatIsLeftBehindInAWriteSaysNothingAndCleansUp) {
  static decltype(&WriteFile) write;
  const CImportPatch patch(
      "kernel32.dll", "WriteFile",
      +[](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) -> BOOL {
        CProgressDialogPeer{*g_dialog}.StopDownload();  // which cannot wait for this write
        return write(file, data, size, written, overlapped);
      });
  write = patch.Original<decltype(WriteFile)>();
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  g_dialog = dialog.get();
  CProgressDialogPeer peer{*dialog};
  peer.RunWorker();
  EXPECT_TRUE(TakePostedResults().empty());
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_FALSE(peer.IsFinished());
  EXPECT_EQ(peer.Session(), nullptr);
  EXPECT_EQ(peer.Request(), nullptr);
  EXPECT_EQ(peer.File(), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(m_sandbox.Files().empty());
}

/// Lets this program's memory run out for blocks of a size and above, and keeps what is shown then.
class CNoMemory {
 public:
  explicit CNoMemory(size_t size)
      : m_malloc("msvcrt.dll", "malloc", &Allocate), m_message("user32.dll", "MessageBoxW", &Show) {
    s_malloc = m_malloc.Original<void*(size_t)>();
    s_shown = 0;
    s_size = size;
  }
  static void End() { s_size = SIZE_MAX; }
  static int Shown() { return s_shown; }
  static std::wstring Text() { return s_text; }

 private:
  static void* Allocate(size_t size) { return size >= s_size ? nullptr : s_malloc(size); }
  static int WINAPI Show(HWND, LPCWSTR text, LPCWSTR, UINT) {
    ++s_shown;
    lstrcpynW(s_text, text, static_cast<int>(std::size(s_text)));
    return IDOK;
  }

  static inline void* (*s_malloc)(size_t);
  static inline std::atomic<size_t> s_size;
  static inline int s_shown;
  static inline wchar_t s_text[300];
  CImportPatch m_malloc;
  CImportPatch m_message;
};

TEST_F(TransferWorker, OutOfMemoryIsReportedOnceAndFails) {
  const std::wstring url = L"http://127.0.0.1:1/a.qdk";
  struct CCase {
    size_t fails;
    std::wstring text;
  };
  const CCase cases[] = {{131072, NotAvailable(url)},
                         {1, L"There is not enough memory to download the file."}};
  for (const CCase& c : cases) {
    const auto dialog = Make(url);
    const CNoMemory memory(c.fails);
    CProgressDialogPeer{*dialog}.RunWorker();
    CNoMemory::End();
    EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{3});
    EXPECT_EQ(CNoMemory::Shown(), 1);
    EXPECT_EQ(CNoMemory::Text(), c.text);
  }
}

TEST_F(TransferWorker, NamesItsThread) {
  static std::string name;
  const CImportPatch patch(
      "kernel32.dll", "RaiseException", +[](DWORD code, DWORD, DWORD, const ULONG_PTR* arguments) {
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
