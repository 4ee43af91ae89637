#pragma once

#include <functional>

#include "tests/faults/started_threads.h"

/// Checks that a run of a fault cell leaves no thread, no lock of the module, no handle and no
/// dialog.
class CRunChecks {
 public:
  /// Runs a cell and checks. Handles that the system opens once and keeps (connections, threads of
  /// a pool) are no leak: repeats a run that left handles, and fails if each further one leaves
  /// more.
  void Run(const std::function<void()>& cell);

 private:
  CStartedThreads m_threads;
};

/// Calls a function that is inside a modal dialog; gives its result. When the dialog does not end
/// within two minutes, the test fails and the program ends.
INT_PTR CallGuardedDialog(const std::function<INT_PTR()>& modal);
