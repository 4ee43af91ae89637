#pragma once

#include <functional>

#include "tests/faults/started_threads.h"

/// What every run of a fault cell must leave as it was, whatever the fault: no thread of its own,
/// no lock of the module, no handle, no dialog.
class CRunChecks {
 public:
  /// Runs a cell and checks. What the system keeps once (connections, threads of a pool) looks like
  /// a leak the first time: a run that left handles is repeated, and a leak grows each time.
  void Run(const std::function<void()>& cell);

 private:
  CStartedThreads m_threads;
};

/// Calls a function that is inside a modal dialog; gives its result. When the dialog does not end
/// within two minutes, the test fails and the program ends.
INT_PTR CallGuardedDialog(const std::function<INT_PTR()>& modal);
