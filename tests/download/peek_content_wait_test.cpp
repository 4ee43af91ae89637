// How the pre-check waits: between any two steps it looks for the time limit, its event and the
// user's clicks, and never sleeps in that look.

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/import_patch.h"

namespace {

struct CMadeObject {
  HANDLE handle;
  bool hasSecurity;
  BOOL manualReset;
  BOOL signalled;
  bool hasName;
};
struct CWaitCall {
  std::vector<HANDLE> handles;
  BOOL all;
  DWORD timeout;
  DWORD mask;
};

CProgressDialog* g_dialog;
std::vector<CMadeObject> g_events;
std::vector<CMadeObject> g_timers;
std::vector<HANDLE> g_startedTimers;
std::vector<CWaitCall> g_waits;
CStringW g_extensionAtTheEvent;
decltype(&CreateEventW) g_createEvent;
decltype(&CreateWaitableTimerW) g_createTimer;

HANDLE WINAPI RecordEvent(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL signalled,
                          LPCWSTR name) {
  const HANDLE event = g_createEvent(security, manualReset, signalled, name);
  g_events.push_back({event, security != nullptr, manualReset, signalled, name != nullptr});
  g_extensionAtTheEvent = CProgressDialogPeer{*g_dialog}.Extension();
  return event;
}

HANDLE WINAPI RecordTimer(LPSECURITY_ATTRIBUTES security, BOOL manualReset, LPCWSTR name) {
  const HANDLE timer = g_createTimer(security, manualReset, name);
  g_timers.push_back({timer, security != nullptr, manualReset, FALSE, name != nullptr});
  return timer;
}

BOOL WINAPI RecordStart(HANDLE timer, const LARGE_INTEGER*, LONG, PTIMERAPCROUTINE, LPVOID, BOOL) {
  g_startedTimers.push_back(timer);
  return TRUE;
}

/// A wait that fails at once.
DWORD WINAPI RecordWait(DWORD count, const HANDLE* handles, BOOL all, DWORD timeout, DWORD mask) {
  g_waits.push_back({{handles, handles + count}, all, timeout, mask});
  return WAIT_FAILED;
}

class PeekContentWait : public DownloadTest {
 protected:
  PeekContentWait()
      : m_event("kernel32.dll", "CreateEventW", &RecordEvent),
        m_timer("kernel32.dll", "CreateWaitableTimerW", &RecordTimer),
        m_start("kernel32.dll", "SetWaitableTimer", &RecordStart),
        m_wait("user32.dll", "MsgWaitForMultipleObjects", &RecordWait) {
    g_createEvent = m_event.Original<decltype(CreateEventW)>();
    g_createTimer = m_timer.Original<decltype(CreateWaitableTimerW)>();
    g_events.clear();
    g_timers.clear();
    g_startedTimers.clear();
    g_waits.clear();
    const auto dialog = Make(L"http://127.0.0.1:1/a.fvk");
    g_dialog = dialog.get();
    m_result = dialog->PeekContent(L".fvk");
  }

  bool m_result = true;

 private:
  CImportPatch m_event;
  CImportPatch m_timer;
  CImportPatch m_start;
  CImportPatch m_wait;
};

TEST_F(PeekContentWait, EventStaysSignalledAndIsMadeOnceTheRuleIsKnown) {
  ASSERT_EQ(g_events.size(), 1u);
  EXPECT_FALSE(g_events[0].hasSecurity);
  EXPECT_TRUE(g_events[0].manualReset);
  EXPECT_FALSE(g_events[0].signalled);
  EXPECT_FALSE(g_events[0].hasName);
  EXPECT_EQ(g_extensionAtTheEvent, L".fvk");
}

TEST_F(PeekContentWait, TimerIsOneOfItsOwnAndStartedOnce) {
  ASSERT_EQ(g_timers.size(), 1u);
  EXPECT_FALSE(g_timers[0].hasSecurity);
  EXPECT_FALSE(g_timers[0].manualReset);
  EXPECT_FALSE(g_timers[0].hasName);
  EXPECT_EQ(g_startedTimers, std::vector<HANDLE>{g_timers[0].handle});
}

TEST_F(PeekContentWait, LooksForTimerEventAndClicksWithoutBlocking) {
  ASSERT_FALSE(g_waits.empty());
  ASSERT_EQ(g_timers.size(), 1u);
  ASSERT_EQ(g_events.size(), 1u);
  EXPECT_EQ(g_waits[0].handles, (std::vector<HANDLE>{g_timers[0].handle, g_events[0].handle}));
  EXPECT_FALSE(g_waits[0].all);
  EXPECT_EQ(g_waits[0].timeout, 0u);
  EXPECT_EQ(g_waits[0].mask, 4u) << "QS_MOUSEBUTTON";
}

TEST_F(PeekContentWait, FailureEndsIt) {
  EXPECT_EQ(g_waits.size(), 1u);
  EXPECT_FALSE(m_result);
  EXPECT_TRUE(m_sandbox.Files().empty()) << "without a step";
}

}  // namespace
