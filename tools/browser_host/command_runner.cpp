#include "tools/browser_host/command_runner.h"

#include <cstdio>
#include <utility>

#include "tools/support/utf8.h"

namespace {

constexpr char kUnknownCommand[] = "no such command, or its argument is missing or bad";
constexpr char kTimedOut[] = "not in time";
constexpr char kClosed[] = "the window has been closed";

bool EndsTheRun(const Command& command) {
  return command.kind == CommandKind::kQuit || command.kind == CommandKind::kClose;
}

std::string FailureText(HRESULT hr) {
  if (SUCCEEDED(hr)) {
    return {};
  }
  char text[24];
  std::snprintf(text, sizeof(text), "hr=0x%08lx", static_cast<unsigned long>(hr));
  return text;
}

}  // namespace

CCommandRunner::CCommandRunner(Mode mode, DWORD timeout, std::shared_ptr<CCommandQueue> queue,
                               ICommandTarget& target, CLineOutput& output)
    : m_mode(mode),
      m_timeout(timeout),
      m_queue(std::move(queue)),
      m_target(target),
      m_output(output) {}

void CCommandRunner::Step() {
  if (m_waiting) {
    if (!Continue(*m_waiting)) {
      return;
    }
    m_waiting.reset();
    Answer();
  }
  CCommandQueue::Entry entry;
  while (!m_target.Closed() && m_queue->Pop(entry)) {
    if (!entry) {
      m_error = kUnknownCommand;
    } else if (!Start(*entry)) {
      m_waiting = std::move(entry);
      return;
    }
    Answer();
  }
}

bool CCommandRunner::Start(const Command& command) {
  switch (command.kind) {
    case CommandKind::kNavigate:
      m_error = FailureText(m_target.Navigate(command.text));
      return true;
    case CommandKind::kBack:
      m_error = FailureText(m_target.GoBack());
      return true;
    case CommandKind::kStop:
      m_error = FailureText(m_target.Stop());
      return true;
    case CommandKind::kPrint:
      m_output.WriteLine(ToUtf8(command.text));
      return true;
    case CommandKind::kQuit:
    case CommandKind::kClose:
      m_target.CloseWindow();
      return true;
    case CommandKind::kWait:
      WaitUntil(command.milliseconds);
      break;
    case CommandKind::kWaitNavigation:
    case CommandKind::kWaitIdle:
      WaitUntil(m_timeout);
      break;
  }
  return Continue(command);
}

void CCommandRunner::WaitUntil(DWORD milliseconds) {
  m_deadline = GetTickCount64() + milliseconds;
  m_target.WakeAfter(milliseconds);
}

bool CCommandRunner::Continue(const Command& command) {
  const ULONGLONG now = GetTickCount64();
  const bool late = now >= m_deadline;
  bool done = late;
  if (command.kind == CommandKind::kWaitNavigation) {
    done = !m_target.NavigationUnderWay();
  } else if (command.kind == CommandKind::kWaitIdle) {
    done = m_target.Idle();
  }
  if (!done && late) {
    m_error = kTimedOut;
  } else if (!done) {
    // Timers may come a little early.
    m_target.WakeAfter(static_cast<DWORD>(m_deadline - now));
  }
  return done || late;
}

void CCommandRunner::Answer() {
  const std::string error = std::exchange(m_error, {});
  if (!error.empty()) {
    m_succeeded = false;
    m_output.WriteLine("error " + error);
    if (m_mode == Mode::kBatch) {
      m_target.CloseWindow();
    }
  } else if (m_mode == Mode::kDialog) {
    m_output.WriteLine("ok");
  }
}

void CCommandRunner::Finish() {
  CCommandQueue::Entry entry;
  if (m_waiting) {
    m_error = kClosed;
    m_waiting.reset();
    Answer();
  }
  // Who reads a batch's output wants to know why it failed, not each command that never came up.
  while ((m_mode == Mode::kDialog || m_succeeded) && m_queue->Pop(entry)) {
    if (!entry || !EndsTheRun(*entry)) {
      m_error = kClosed;
    }
    Answer();
  }
}
