// How the pre-check waits: between any two steps it looks for the time limit,
// its event and the user's clicks, and never blocks in that look.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_spy.h"
#include "tests/support/scripted_path.h"

namespace {

using testing::ElementsAre;
using testing::FieldsAre;

class PeekContentWait : public DownloadTest {
 protected:
  /// Whether a pre-check whose waits answer so takes its first bytes for
  /// genuine.
  bool Peek(std::vector<DWORD> answers) const {
    const CImportSpy<&MsgWaitForMultipleObjects> wait(
        "user32.dll", "MsgWaitForMultipleObjects",
        [&](auto...) { return answers[wait.Calls().size() - 1]; });
    const bool valid = Make(m_path.Url(L"a.qdk"))->PeekContent(L".qdk");
    EXPECT_EQ(wait.Calls().size(), answers.size());
    return valid;
  }

  const ScriptedPath m_path{m_server, Lesson(5000)};
};

constexpr DWORD kTimer = WAIT_OBJECT_0;
constexpr DWORD kEvent = WAIT_OBJECT_0 + 1;
constexpr DWORD kInput = WAIT_OBJECT_0 + 2;

TEST_F(PeekContentWait, OnlyATimeOutMakesAStep) {
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

TEST_F(PeekContentWait, QuitMessageEndsItAndIsPutBack) {
  PostQuitMessage(17);
  EXPECT_FALSE(Peek({kInput}));
  MSG message = {};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 17u);
}

TEST_F(PeekContentWait, LooksForTimerEventAndClicksWithoutBlocking) {
  const auto dialog = Make(L"http://127.0.0.1:1/a.fvk");
  HANDLE event = nullptr;
  HANDLE timer = nullptr;
  const CImportSpy<&CreateEventW> createEvent(
      "kernel32.dll", "CreateEventW", [&](auto... arguments) {
        EXPECT_EQ(CProgressDialogPeer{*dialog}.Extension(), L".fvk") << "set before the event";
        return event = createEvent.CallOriginal(arguments...);
      });
  const CImportSpy<&CreateWaitableTimerW> createTimer(
      "kernel32.dll", "CreateWaitableTimerW",
      [&](auto... arguments) { return timer = createTimer.CallOriginal(arguments...); });
  const CImportSpy<&SetWaitableTimer> start("kernel32.dll", "SetWaitableTimer",
                                            [&](HANDLE started, auto...) {
                                              EXPECT_EQ(started, timer);
                                              return TRUE;
                                            });
  const CImportSpy<&MsgWaitForMultipleObjects> wait(
      "user32.dll", "MsgWaitForMultipleObjects",
      [&](DWORD count, const HANDLE* handles, BOOL all, DWORD timeout, DWORD mask) {
        EXPECT_EQ(std::vector(handles, handles + count), (std::vector{timer, event}));
        EXPECT_FALSE(all);
        EXPECT_EQ(timeout, 0u);
        EXPECT_EQ(mask, 4u) << "QS_MOUSEBUTTON";
        return WAIT_FAILED;
      });
  EXPECT_FALSE(dialog->PeekContent(L".fvk"));
  EXPECT_EQ(wait.Calls().size(), 1u) << "a wait that fails ends the loop";
  EXPECT_EQ(start.Calls().size(), 1u);
  EXPECT_THAT(createEvent.Calls(), ElementsAre(FieldsAre(nullptr, TRUE, FALSE, nullptr)));
  EXPECT_THAT(createTimer.Calls(), ElementsAre(FieldsAre(nullptr, FALSE, nullptr)));
  EXPECT_TRUE(m_sandbox.Files().empty()) << "no step was made";
}

}  // namespace
