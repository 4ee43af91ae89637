#pragma once

#include <windows.h>

#include <atomic>
#include <functional>

#include "tests/faults/run_checks.h"
#include "tests/support/import_patch.h"

/// Lets allocations of this program fail: `new`, malloc and what the product imports of the system
/// for it. The system's own allocations are none of its business, nor is what the language's
/// runtime keeps for each thread: it ends the program when there is no memory for that. One at a
/// time.
class CFailingAllocations {
 public:
  CFailingAllocations();

  /// Runs `action` with the n-th allocation failing that this thread makes in it, or a thread that
  /// is begun in it, or with all from the n-th on; 1 is the first. False when there were fewer.
  bool Run(int n, bool isForGood, const std::function<void()>& action) const;

 private:
  CImportPatch m_malloc;
  CImportPatch m_heap;
  CImportPatch m_global;
  CImportPatch m_string;
  CImportPatch m_thread;
};

/// Counts this program's messages in place of showing them, without memory. One at a time.
class CMessageCount {
 public:
  /// Those since the last time.
  static int Take() { return s_count.exchange(0); }

 private:
  inline static std::atomic<int> s_count;

  const CImportPatch m_message{"user32.dll", "MessageBoxW", +[](HWND, LPCWSTR, LPCWSTR, UINT) {
                                 ++s_count;
                                 return int{IDOK};
                               }};
};

/// Runs a cell for the first allocation, the second and so on until there were fewer, or in a quick
/// run for every `quickStep`th: with that one failing, and with all from it on. The cell calls
/// `Fail` once with what is to run out of memory, and gives its answer: whether it did.
using Fail = std::function<bool(const std::function<void()>& action)>;
void RunOutOfMemory(CRunChecks& checks, const std::function<bool(const Fail& fail)>& cell,
                    int quickStep = 17);
