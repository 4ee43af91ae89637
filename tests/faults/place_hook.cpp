#include "tests/faults/place_hook.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/user.h"

CPlaceHook::CPlaceHook(Place place, size_t bodySize, std::function<void()> action)
    : m_place(place),
      m_bodySize(bodySize),
      m_action(std::move(action)),
      m_open("wininet.dll", "InternetOpenW",
             [this](LPCWSTR agent, DWORD type, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) {
               ReachIf(true, Place::kBeforeOpen);
               return m_open.CallOriginal(agent, type, proxy, bypass, flags);
             }),
      m_sleep("kernel32.dll", "Sleep",
              [this](DWORD milliseconds) {
                // After a lesson's chunk, or before an archive's.
                const bool isPause = milliseconds == 0 || milliseconds == 100;
                ReachIf(isPause && m_written != 0 && m_written < m_bodySize, Place::kBetweenChunks);
                m_sleep.CallOriginal(milliseconds);
              }),
      m_write("kernel32.dll", "WriteFile",
              [this](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED how) {
                ReachIf(m_written + size == m_bodySize, Place::kLastWrite);
                const BOOL succeeded = m_write.CallOriginal(file, data, size, written, how);
                m_written += size;
                return succeeded;
              }),
      m_enable("user32.dll", "EnableWindow",
               [this](HWND window, BOOL enable) {
                 ReachIf(IsWorker() && enable, Place::kEndShown);
                 return m_enable.CallOriginal(window, enable);
               }),
      m_post("user32.dll", "PostMessageW",
             [this](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
               const BOOL posted = m_post.CallOriginal(window, message, wParam, lParam);
               ReachIf(IsWorker() && message == WM_USER, Place::kResultPosted);
               return posted;
             }),
      m_message("user32.dll", "MessageBoxW",
                [this](HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
                  ReachIf(true, Place::kMessageShown);
                  return m_message.CallOriginal(owner, text, caption, style);
                }),
      m_end("user32.dll", "EndDialog", [this](HWND dialog, INT_PTR result) {
        const BOOL ended = m_end.CallOriginal(dialog, result);
        ReachIf(true, Place::kDialogEnding);
        return ended;
      }) {}

CPlaceHook::~CPlaceHook() { m_isArmed = false; }

void CPlaceHook::ReachIf(bool isThere, Place place) {
  if (isThere && m_place == place && m_isArmed.exchange(false)) {
    m_action();
  }
}

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
