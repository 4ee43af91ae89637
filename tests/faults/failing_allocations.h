#pragma once

#include <windows.h>

#include <functional>

#include "tests/faults/run_checks.h"
#include "tests/support/import_patch.h"

/// Lets allocations of this program fail: `new`, malloc and what the product imports of the system
/// for it. The system's own allocations are none of its business, nor is what the language's
/// runtime keeps for each thread: it ends the program when there is no memory for that. One at a
/// time.
class CFailingAllocations {
 public:
  enum class Mode {
    kOnce,     // one fails and all others succeed
    kForGood,  // from that one on all fail
  };

  CFailingAllocations();

  /// Runs `action` with the n-th allocation failing that this thread makes in it, or a thread that
  /// is begun in it; 1 is the first. False when there were fewer than n.
  bool Run(Mode mode, int n, const std::function<void()>& action) const;

 private:
  CImportPatch m_malloc;
  CImportPatch m_heap;
  CImportPatch m_global;
  CImportPatch m_string;
  CImportPatch m_thread;
};

/// Runs a cell for the first allocation, the second and so on until there were fewer, or in a quick
/// run for every `quickStep`th. The cell calls `Fail` once with what is to run out of memory, and
/// gives its answer: whether it did.
using Fail = std::function<bool(const std::function<void()>& action)>;
void RunOutOfMemory(CRunChecks& checks, CFailingAllocations::Mode mode,
                    const std::function<bool(const Fail& fail)>& cell, int quickStep = 17);
