// The pre-check: the first bytes of the body are fetched and checked before
// there is a dialog.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_spy.h"
#include "tests/support/message_recorder.h"
#include "tests/support/parallel.h"
#include "tests/support/scripted_path.h"

namespace {

constexpr ULONGLONG kLimitMs = 300;
// How far GetTickCount64 may lag behind a timer.
constexpr ULONGLONG kTickMs = 20;

class PeekContent : public DownloadTest {
 protected:
  CMessageRecorder m_messages;
};

/// Makes the time limit 300 ms instead of 25 s.
class CShortLimit {
 public:
  size_t Starts() const { return m_timer.Calls().size(); }

 private:
  const CImportSpy<&SetWaitableTimer> m_timer{
      "kernel32.dll", "SetWaitableTimer",
      [this](HANDLE timer, const LARGE_INTEGER* due, LONG period, auto... others) {
        EXPECT_EQ(due->QuadPart, -250000000);
        EXPECT_EQ(period, 0);
        LARGE_INTEGER soon = {};
        soon.QuadPart = -10000 * static_cast<LONGLONG>(kLimitMs);
        return m_timer.CallOriginal(timer, &soon, period, others...);
      }};
};

TEST_F(PeekContent, GenuineFirstBytesAreKeptAndTheRequestStaysOpen) {
  const ScriptedPath path(m_server, Lesson(300000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  ASSERT_TRUE(dialog->PeekContent(L".qdk"));
  CProgressDialogPeer peer{*dialog};
  EXPECT_TRUE(peer.IsOpened());
  EXPECT_FALSE(peer.IsPeeking());
  EXPECT_EQ(peer.FileSize(), 800);

  peer.RunWorker();
  EXPECT_EQ(TakePostedResults(), std::vector<WPARAM>{1});
  peer.CloseFile();
  EXPECT_EQ(ReadFileBytes(TempPath()), LessonBytes(300000));
  EXPECT_EQ(path.Requests().size(), 1u) << "nothing is fetched twice";
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(PeekContent, OtherContentIsLeftToTheBrowser) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes("no lesson"));
  EXPECT_FALSE(Make(path.Url(L"a.qdk"))->PeekContent(L".qdk"));
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(PeekContent, FailureGivesOneMessageAtOnce) {
  const ScriptedPath missing(m_server, HttpAnswer().Status(404));
  for (const std::wstring& url : {missing.Url(L"a.qdk"), std::wstring(L"http://127.0.0.1:1/a")}) {
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(Make(url)->PeekContent(L".qdk"));
    EXPECT_LT(GetTickCount64() - start, 10000u) << "not after the time limit";
    EXPECT_EQ(m_messages.TakeTexts(), std::vector{NotAvailable(url)});
  }
  EXPECT_EQ(missing.Requests().size(), 1u);
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(PeekContent, MessageIsOwnedByTheBrowsersWindow) {
  const CForeignForeground foreground;
  const std::wstring url = L"http://127.0.0.1:1/a.qdk";
  const HWND browser = CreateWindowExW(0, L"static", L"Browser", WS_POPUP, 0, 0, 10, 10, nullptr,
                                       nullptr, nullptr, nullptr);
  const auto owner = [&](HWND browserWindow) {
    EXPECT_FALSE(Make(url, browserWindow)->PeekContent(L".qdk"));
    const auto shown = m_messages.Take();
    EXPECT_EQ(shown.size(), 1u);
    return shown.empty() ? INVALID_HANDLE_VALUE : static_cast<HANDLE>(shown[0].owner);
  };
  EXPECT_EQ(owner(browser), browser);
  EXPECT_EQ(owner(nullptr), nullptr);
  DestroyWindow(browser);
  EXPECT_EQ(owner(browser), nullptr) << "with a destroyed owner it would not be shown";
}

TEST_F(PeekContent, MessageIsShownBeforeTheEventIsSignalled) {
  const auto dialog = Make(L"http://127.0.0.1:1/a.qdk");
  const CImportSpy<&MessageBoxW> message("user32.dll", "MessageBoxW", [&](auto...) {
    EXPECT_FALSE(CProgressDialogPeer{*dialog}.IsPeekSignalled());
    return IDOK;
  });
  EXPECT_FALSE(dialog->PeekContent(L".qdk"));
  EXPECT_EQ(message.Calls().size(), 1u);
}

TEST_F(PeekContent, WithoutATimeLimitNothingIsRequested) {
  const ScriptedPath path(m_server, Lesson(5000));
  const auto dialog = Make(path.Url(L"a.qdk"));
  const CImportSpy<&SetWaitableTimer> limit("kernel32.dll", "SetWaitableTimer",
                                            [](auto...) { return FALSE; });
  EXPECT_FALSE(dialog->PeekContent(L".qdk"));
  EXPECT_FALSE(CProgressDialogPeer{*dialog}.IsPeeking());
  EXPECT_TRUE(path.Requests().empty());
}

/// Processor time of this thread, in units of 100 ns.
DWORD ThreadTime() {
  FILETIME created;
  FILETIME exited;
  FILETIME kernel;
  FILETIME user;
  GetThreadTimes(GetCurrentThread(), &created, &exited, &kernel, &user);
  return kernel.dwLowDateTime + user.dwLowDateTime;
}

TEST_F(PeekContent, EmptyBodyWaitsForTheTimeLimit) {
  const CShortLimit limit;
  const ScriptedPath path(m_server, HttpAnswer());
  const auto dialog = Make(path.Url(L"a.qdk"));
  const ULONGLONG start = GetTickCount64();
  const DWORD used = ThreadTime();
  EXPECT_FALSE(dialog->PeekContent(L".qdk"));
  EXPECT_LT(ThreadTime() - used, 10000 * kLimitMs / 2) << "leaves the processor to others";
  EXPECT_GE(GetTickCount64() - start, kLimitMs - kTickMs);
  EXPECT_EQ(limit.Starts(), 1u);
  EXPECT_TRUE(m_messages.Take().empty());
  EXPECT_EQ(path.Requests().size(), 1u);
}

TEST_F(PeekContent, StalledServerIsGivenUpSilently) {
  const CShortLimit limit;
  const ScriptedPath path(m_server, Lesson(5000).Hold(http_point::kBeforeHeaders));
  const auto dialog = Make(path.Url(L"a.qdk"));
  // The call that blocks returns only when the server answers; the body is not read any more.
  const CParallel server([&] {
    EXPECT_TRUE(path.WaitForHeld());
    Sleep(kLimitMs + 100);  // the time limit itself is what is waited for
    path.AllowAll();
  });
  EXPECT_FALSE(dialog->PeekContent(L".qdk"));
  EXPECT_TRUE(m_messages.Take().empty());
}

}  // namespace
