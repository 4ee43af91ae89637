#include "bench/transfer/answer_watch.h"

#include <process.h>

#include <algorithm>

#include "bench/support/program.h"

namespace {

constexpr UINT kPatienceMs = 60000;
constexpr DWORD kBetweenQuestionsMs = 1;
constexpr int kFewestQuestions = 20;

HWND CreateBrowserWindow() {
  return CreateWindowExW(0, L"static", L"Browser", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 800,
                         600, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
}

}  // namespace

CAnswerWatch::CAnswerWatch()
    : m_window(CreateBrowserWindow()),
      m_thread(
          reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &AskAllTheTime, this, 0, nullptr))) {
  DemandSuccess(m_window != nullptr, "CreateWindow");
}

CAnswerWatch::~CAnswerWatch() {
  Stop();
  DestroyWindow(m_window);
}

void CAnswerWatch::ServeOneMessage() const {
  // One question comes every few milliseconds, so this returns soon.
  MsgWaitForMultipleObjects(0, nullptr, FALSE, INFINITE, QS_ALLINPUT);
  MSG message;
  if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    DispatchMessageW(&message);
  }
}

double CAnswerWatch::LongestSilence() {
  Stop();
  Demand(m_questions >= kFewestQuestions, "the browser was hardly ever asked");
  return m_longest;
}

void CAnswerWatch::Stop() {
  m_running = false;
  // The last question may still wait for its answer.
  const HANDLE thread = m_thread.Get();
  while (MsgWaitForMultipleObjects(1, &thread, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
  }
}

unsigned __stdcall CAnswerWatch::AskAllTheTime(void* self) {
  auto& watch = *static_cast<CAnswerWatch*>(self);
  while (watch.m_running) {
    const CStopwatch stopwatch;
    DWORD_PTR answer = 0;
    SendMessageTimeoutW(watch.m_window, WM_NULL, 0, 0, SMTO_NORMAL, kPatienceMs, &answer);
    watch.m_longest = std::max(watch.m_longest, stopwatch.Elapsed());
    ++watch.m_questions;
    Sleep(kBetweenQuestionsMs);
  }
  return 0;
}
