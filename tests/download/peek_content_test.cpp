// The pre-check: the first bytes of the body are fetched and checked before there is a dialog.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/download/download_fixture.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"

namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::Not;
using Texts = std::vector<std::wstring>;
using TimerSpy = CImportSpy<&SetWaitableTimer>;
using WaitSpy = CImportSpy<&MsgWaitForMultipleObjects>;

constexpr ULONGLONG kLimitMs = 300;
// How far GetTickCount64 may lag behind a timer.
constexpr ULONGLONG kTickMs = 20;

class PeekContent : public SteppedDownloadFixture {};

/// With a time limit of 300 ms instead of 25 s.
class PeekContentLimit : public PeekContent {
 protected:
  const TimerSpy m_limit{
      "kernel32.dll", "SetWaitableTimer",
      [this](HANDLE timer, const LARGE_INTEGER* due, LONG period, auto... others) {
        EXPECT_EQ(due->QuadPart, -250000000);
        EXPECT_EQ(period, 0);
        const LARGE_INTEGER soon = {.QuadPart = -10000 * static_cast<LONGLONG>(kLimitMs)};
        return m_limit.CallOriginal(timer, &soon, period, others...);
      }};
};

TEST_F(PeekContent, OtherContentIsLeftToTheBrowserAndAFailureGivesOneMessageAtOnce) {
  const ScriptedPath page(m_server, HttpAnswer().Bytes("no lesson"));
  const ScriptedPath missing(m_server, HttpAnswer().Status(404));
  const std::wstring refused = missing.Url(L"a.qdk");
  const std::wstring nowhere = L"http://127.0.0.1:1/a";
  const struct {
    std::wstring url;
    Texts messages;
  } cases[] = {{page.Url(L"a.qdk"), {}},
               {refused, {NotAvailable(refused)}},
               {nowhere, {NotAvailable(nowhere)}}};
  for (const auto& [url, messages] : cases) {
    m_sandbox.Write(L"temporary.qdk", "another download");
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(Make(url)->PeekContent(L".qdk"));
    EXPECT_LT(GetTickCount64() - start, 10000u) << "not after the time limit";
    EXPECT_EQ(Messages(), messages);
    EXPECT_EQ(ReadFileBytes(TempPath()), messages.empty() ? "" : "another download")
        << "only a file that it has created is deleted";
  }
  EXPECT_EQ(missing.Requests().size(), 1u);
  EXPECT_TRUE(TakePostedResults().empty());
}

TEST_F(PeekContent, MessageIsOwnedByTheBrowsersWindowAndShownBeforeTheEventIsSignalled) {
  // Which is no owner in place of a browser's window that has gone.
  const CImportSpy<&GetForegroundWindow> foreground("user32.dll", "GetForegroundWindow",
                                                    [] { return GetDesktopWindow(); });
  const HWND browser = CreateWindowExW(0, L"static", L"Browser", WS_POPUP, 0, 0, 10, 10, nullptr,
                                       nullptr, nullptr, nullptr);
  const auto expectOwner = [&](HWND browserWindow, HWND owner) {
    const auto dialog = Make(L"http://127.0.0.1:1/a.qdk", browserWindow);
    const CImportSpy<&MessageBoxW> message("user32.dll", "MessageBoxW", [&](HWND given, auto...) {
      EXPECT_EQ(given, owner);
      EXPECT_FALSE(CProgressDialogPeer{*dialog}.IsPeekSignalled());
      return IDOK;
    });
    EXPECT_FALSE(dialog->PeekContent(L".qdk"));
    EXPECT_EQ(message.Calls().size(), 1u);
  };
  expectOwner(browser, browser);
  expectOwner(nullptr, nullptr);
  DestroyWindow(browser);
  expectOwner(browser, nullptr);  // With a destroyed owner it would not be shown.
}

TEST_F(PeekContent, WithoutATimeLimitNothingIsRequested) {
  const TimerSpy limit("kernel32.dll", "SetWaitableTimer", [](auto...) { return FALSE; });
  EXPECT_FALSE(m_dialog->PeekContent(L".qdk"));
  EXPECT_FALSE(m_peer.IsPeeking());
  EXPECT_TRUE(m_path.Requests().empty());
}

TEST_F(PeekContentLimit, EmptyBodyWaitsForTheTimeLimit) {
  const CImportSpy<&Sleep> sleep("kernel32.dll", "Sleep");
  const ScriptedPath path(m_server, HttpAnswer());
  const ULONGLONG start = GetTickCount64();
  EXPECT_FALSE(Make(path.Url(L"a.qdk"))->PeekContent(L".qdk"));
  EXPECT_GE(GetTickCount64() - start, kLimitMs - kTickMs);
  EXPECT_THAT(sleep.Calls(), AllOf(Not(IsEmpty()), Each(FieldsAre(1u)))) << "yields the processor";
  EXPECT_EQ(m_limit.Calls().size(), 1u);
  EXPECT_EQ(Messages(), Texts());
  EXPECT_EQ(path.Requests().size(), 1u);
}

TEST_F(PeekContentLimit, StalledServerIsGivenUpSilently) {
  const ScriptedPath path(m_server, Lesson(5000).Hold(http_point::kBeforeHeaders));
  // The call that blocks returns only when the server answers; the body is not read any more.
  const CParallel server([&] {
    EXPECT_TRUE(path.WaitForHeld());
    Sleep(kLimitMs + 100);  // the time limit itself is what is waited for
    path.AllowAll();
  });
  EXPECT_FALSE(Make(path.Url(L"a.qdk"))->PeekContent(L".qdk"));
  EXPECT_EQ(Messages(), Texts());
}

/// Between any two steps the pre-check looks for the time limit, its event and the user's clicks,
/// and never blocks in that look.
class PeekContentWait : public PeekContent {
 protected:
  /// Whether a pre-check whose waits answer so takes its first bytes for genuine.
  bool Peek(const std::vector<DWORD>& answers) const {
    const WaitSpy wait("user32.dll", "MsgWaitForMultipleObjects",
                       [&](auto...) { return answers[wait.Calls().size() - 1]; });
    const bool valid = Make(m_url)->PeekContent(L".qdk");
    EXPECT_EQ(wait.Calls().size(), answers.size());
    return valid;
  }
};

constexpr DWORD kTimer = WAIT_OBJECT_0;
constexpr DWORD kEvent = WAIT_OBJECT_0 + 1;
constexpr DWORD kInput = WAIT_OBJECT_0 + 2;

TEST_F(PeekContentWait, StepRunsOnlyAfterATimeOutOfTheWait) {
  for (const DWORD end : {kTimer, kEvent, DWORD{WAIT_FAILED}}) {
    EXPECT_FALSE(Peek({end}));
    EXPECT_TRUE(m_path.Requests().empty());
  }
  EXPECT_FALSE(Peek({WAIT_TIMEOUT, kTimer})) << "opened only";
  EXPECT_TRUE(Peek({WAIT_TIMEOUT, WAIT_TIMEOUT, kEvent}));
}

TEST_F(PeekContentWait, InputDispatchesOneMessage) {
  const CImportSpy<&DispatchMessageW> dispatch("user32.dll", "DispatchMessageW",
                                               [](const MSG* message) {
                                                 EXPECT_EQ(message->message, UINT{WM_APP});
                                                 return 0;
                                               });
  EXPECT_FALSE(Peek({kInput, kTimer})) << "goes on without a message";
  EXPECT_TRUE(dispatch.Calls().empty());
  PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
  PostThreadMessageW(GetCurrentThreadId(), WM_APP + 1, 0, 0);
  EXPECT_FALSE(Peek({kInput, kTimer}));
  EXPECT_EQ(dispatch.Calls().size(), 1u);
  MSG left = {};
  EXPECT_TRUE(PeekMessageW(&left, nullptr, WM_APP + 1, WM_APP + 1, PM_REMOVE));
}

TEST_F(PeekContentWait, QuitMessageEndsThePreCheckAndIsPostedAgain) {
  PostQuitMessage(17);
  EXPECT_FALSE(Peek({kInput}));
  MSG message = {};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 17u);
}

TEST_F(PeekContentWait, LooksForTimerEventAndClicksWithoutBlocking) {
  HANDLE event = nullptr;
  HANDLE timer = nullptr;
  const CImportSpy<&CreateEventW> createEvent(
      "kernel32.dll", "CreateEventW", [&](auto... arguments) {
        EXPECT_EQ(m_peer.Extension(), L".fvk") << "set before the event";
        return event = createEvent.CallOriginal(arguments...);
      });
  const CImportSpy<&CreateWaitableTimerW> createTimer(
      "kernel32.dll", "CreateWaitableTimerW",
      [&](auto... arguments) { return timer = createTimer.CallOriginal(arguments...); });
  const TimerSpy start("kernel32.dll", "SetWaitableTimer", [&](HANDLE started, auto...) {
    EXPECT_EQ(started, timer);
    return TRUE;
  });
  const WaitSpy wait("user32.dll", "MsgWaitForMultipleObjects",
                     [&](DWORD count, const HANDLE* handles, BOOL all, DWORD timeout, DWORD mask) {
                       EXPECT_EQ(std::vector(handles, handles + count),
                                 (std::vector{timer, event}));
                       EXPECT_FALSE(all);
                       EXPECT_EQ(timeout, 0u);
                       EXPECT_EQ(mask, 4u) << "QS_MOUSEBUTTON";
                       return WAIT_FAILED;
                     });
  EXPECT_FALSE(m_dialog->PeekContent(L".fvk"));
  EXPECT_EQ(wait.Calls().size(), 1u) << "a wait that fails ends the loop";
  EXPECT_EQ(start.Calls().size(), 1u);
  EXPECT_THAT(createEvent.Calls(), ElementsAre(FieldsAre(nullptr, TRUE, FALSE, nullptr)));
  EXPECT_THAT(createTimer.Calls(), ElementsAre(FieldsAre(nullptr, FALSE, nullptr)));
  EXPECT_TRUE(m_sandbox.Files().empty()) << "no step was made";
}

}  // namespace
