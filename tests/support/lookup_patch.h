#pragma once

#include <windows.h>

#include <bit>

#include "tests/support/import_patch.h"

/// Replaces one function that this program looks up at run time (GetProcAddress), for the object's
/// scope. One at a time.
class CLookupPatch {
 public:
  template <typename Function>
  CLookupPatch(const char* name, Function* replacement)
      : CLookupPatch(name, std::bit_cast<FARPROC>(replacement)) {}
  CLookupPatch(const CLookupPatch&) = delete;
  CLookupPatch& operator=(const CLookupPatch&) = delete;

 private:
  CLookupPatch(const char* name, FARPROC replacement);

  CImportPatch m_patch;
};
