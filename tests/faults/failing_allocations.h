#pragma once

#include <windows.h>

#include <atomic>
#include <functional>

#include "tests/faults/run_checks.h"
#include "tests/support/import_patch.h"

/// Counts this program's messages in place of showing them, without memory. One at a time.
class CMessageCount {
 public:
  /// The number of messages since the last call.
  static int Take() { return s_count.exchange(0); }

 private:
  inline static std::atomic<int> s_count;

  const CImportPatch m_message{"user32.dll", "MessageBoxW", +[](HWND, LPCWSTR, LPCWSTR, UINT) {
                                 ++s_count;
                                 return int{IDOK};
                               }};
};

/// Calls what is to run out of memory; gives whether it did.
using Fail = std::function<bool(const std::function<void()>& action)>;

/// Runs a cell with its first allocation failing, then the second and so on until there were fewer,
/// or in a quick run with every `quickStep`th; and once more with all from that one on. The cell
/// calls `Fail` once, and gives its answer. Allocations are those of its thread in `Fail`, and of
/// threads that are begun there: `new`, malloc and what the product imports of the system for it.
/// The system's own are ignored, nor is what the language's runtime keeps for each
/// thread: it ends the program when there is no memory for that.
void RunOutOfMemory(CRunChecks& checks, const std::function<bool(const Fail& fail)>& cell,
                    int quickStep = 17);
