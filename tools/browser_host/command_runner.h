// Carries out the commands one after the other.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/browser_host/command_queue.h"
#include "tools/support/line_output.h"

/// What the commands are carried out on.
class ICommandTarget {
 public:
  virtual HRESULT Navigate(const std::wstring& url) = 0;
  virtual HRESULT GoBack() = 0;
  virtual HRESULT Stop() = 0;
  virtual bool NavigationUnderWay() const = 0;
  /// No navigation is under way, the browser is not busy and no message waits.
  virtual bool Idle() const = 0;
  /// Closes the window before it returns.
  virtual void CloseWindow() = 0;
  /// True once the window has been closed, by whomever.
  virtual bool Closed() const = 0;
  /// Has the message loop turn at least once more after so many milliseconds.
  virtual void WakeAfter(DWORD milliseconds) = 0;

 protected:
  ~ICommandTarget() = default;
};

/// Runs in the outermost message loop: Step is called after every message, so that no command
/// starts while a modal dialog is open.
class CCommandRunner {
 public:
  enum class Mode {
    kBatch,   // the first error ends the run
    kDialog,  // every command is answered with a line "ok" or "error TEXT"
  };

  /// `target` and `output` must outlive the runner. `timeout` limits waiting for a navigation or
  /// for idleness, in milliseconds.
  CCommandRunner(Mode mode, DWORD timeout, std::shared_ptr<CCommandQueue> queue,
                 ICommandTarget& target, CLineOutput& output);

  /// Carries out what can be carried out now.
  void Step();

  /// The window has been closed: what was not carried out by then has failed.
  void Finish();

  /// Whether every command so far was carried out.
  bool Succeeded() const { return m_succeeded; }

 private:
  /// Begins a command. True when it is done, or has failed, already.
  bool Start(const Command& command);
  /// Looks after a command that waits. True when it is done, or has failed.
  bool Continue(const Command& command);
  void WaitUntil(DWORD milliseconds);
  void Answer();

  const Mode m_mode;
  const DWORD m_timeout;
  const std::shared_ptr<CCommandQueue> m_queue;
  ICommandTarget& m_target;
  CLineOutput& m_output;

  std::optional<Command> m_waiting;
  ULONGLONG m_deadline = 0;  // of the waiting command, in GetTickCount64's milliseconds
  std::string m_error;       // of the current command; empty while it has none
  bool m_succeeded = true;
};
