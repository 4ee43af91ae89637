#pragma once

#include <windows.h>

#include "tests/support/import_patch.h"

/// Follows the threads that this program starts while it lives, the product's and the tests' own;
/// the system's are none of its business. One at a time.
class CStartedThreads {
 public:
  CStartedThreads();
  ~CStartedThreads();
  CStartedThreads(const CStartedThreads&) = delete;
  CStartedThreads& operator=(const CStartedThreads&) = delete;

  /// Waits until all of them have ended, and forgets them. False when one has not within 20 s.
  [[nodiscard]] bool WaitForEnds();

 private:
  CImportPatch m_patch;
};
