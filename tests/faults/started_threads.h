#pragma once

#include <windows.h>

#include "tests/support/import_patch.h"

/// Follows the threads that one module starts while it lives: this program, with the product's and
/// the tests' own, or a DLL. The system's are none of its business. One at a time.
class CStartedThreads {
 public:
  /// `importer`: the DLL; null for this program.
  explicit CStartedThreads(HMODULE importer = nullptr);
  ~CStartedThreads();
  CStartedThreads(const CStartedThreads&) = delete;
  CStartedThreads& operator=(const CStartedThreads&) = delete;

  /// Waits until all of them have ended, and forgets them. False when one has not within 20 s.
  [[nodiscard]] bool WaitForEnds();

 private:
  CImportPatch m_patch;
};
