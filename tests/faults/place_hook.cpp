#include "tests/faults/place_hook.h"

#include <gtest/gtest.h>
#include <wininet.h>

#include <atomic>
#include <utility>

#include "tests/support/user.h"

namespace {

constexpr DWORD kChunkPauses[] = {0, 100};  // after a lesson's chunk, before an archive's

std::atomic<bool> g_isArmed;
Place g_place;
std::function<void()> g_action;
DWORD g_dialogThread;
size_t g_bodySize;
std::atomic<size_t> g_written;

decltype(&InternetOpenW) g_open;
decltype(&Sleep) g_sleep;
decltype(&WriteFile) g_write;
decltype(&EnableWindow) g_enable;
decltype(&PostMessageW) g_post;
decltype(&MessageBoxW) g_message;
decltype(&EndDialog) g_end;

bool Reach(Place place) {
  if (g_place == place && g_isArmed.exchange(false)) {
    g_action();
    return true;
  }
  return false;
}

bool IsWorker() { return GetCurrentThreadId() != g_dialogThread; }

HINTERNET WINAPI Open(LPCWSTR agent, DWORD type, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) {
  Reach(Place::kBeforeOpen);
  return g_open(agent, type, proxy, bypass, flags);
}

void WINAPI Pause(DWORD milliseconds) {
  if (g_written != 0 && g_written < g_bodySize &&
      (milliseconds == kChunkPauses[0] || milliseconds == kChunkPauses[1])) {
    Reach(Place::kBetweenChunks);
  }
  g_sleep(milliseconds);
}

BOOL WINAPI Write(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
  if (g_written + size == g_bodySize) {
    Reach(Place::kLastWrite);
  }
  const BOOL succeeded = g_write(file, data, size, written, overlapped);
  g_written += size;
  return succeeded;
}

BOOL WINAPI Enable(HWND window, BOOL enable) {
  if (IsWorker() && enable) {
    Reach(Place::kEndShown);
  }
  return g_enable(window, enable);
}

BOOL WINAPI Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  const BOOL posted = g_post(window, message, wParam, lParam);
  if (IsWorker() && message == WM_USER) {
    Reach(Place::kResultPosted);
  }
  return posted;
}

int WINAPI Show(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
  Reach(Place::kMessageShown);
  return g_message(owner, text, caption, style);
}

BOOL WINAPI End(HWND dialog, INT_PTR result) {
  const BOOL ended = g_end(dialog, result);
  Reach(Place::kDialogEnding);
  return ended;
}

}  // namespace

CPlaceHook::CPlaceHook(Place place, size_t bodySize, std::function<void()> action)
    : m_open("wininet.dll", "InternetOpenW", &Open),
      m_sleep("kernel32.dll", "Sleep", &Pause),
      m_write("kernel32.dll", "WriteFile", &Write),
      m_enable("user32.dll", "EnableWindow", &Enable),
      m_post("user32.dll", "PostMessageW", &Post),
      m_message("user32.dll", "MessageBoxW", &Show),
      m_end("user32.dll", "EndDialog", &End) {
  g_open = m_open.Original<decltype(InternetOpenW)>();
  g_sleep = m_sleep.Original<decltype(Sleep)>();
  g_write = m_write.Original<decltype(WriteFile)>();
  g_enable = m_enable.Original<decltype(EnableWindow)>();
  g_post = m_post.Original<decltype(PostMessageW)>();
  g_message = m_message.Original<decltype(MessageBoxW)>();
  g_end = m_end.Original<decltype(EndDialog)>();
  g_place = place;
  g_bodySize = bodySize;
  g_action = std::move(action);
  g_dialogThread = GetCurrentThreadId();
  g_written = 0;
  g_isArmed = true;
}

CPlaceHook::~CPlaceHook() { g_isArmed = false; }

bool CPlaceHook::WasReached() const { return !g_isArmed; }

CHeldThread::CHeldThread()
    : m_held(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_letGo(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

CHeldThread::~CHeldThread() {
  CloseHandle(m_held);
  CloseHandle(m_letGo);
}

void CHeldThread::Hold() const {
  SetEvent(m_held);
  EXPECT_EQ(WaitForSingleObject(m_letGo, kUserPatienceMs), WAIT_OBJECT_0) << "never let go";
}

void CHeldThread::WaitUntilHeld() const {
  EXPECT_EQ(WaitForSingleObject(m_held, kUserPatienceMs), WAIT_OBJECT_0)
      << "the place is not reached";
}
