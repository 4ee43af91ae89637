#pragma once

#include <windows.h>

#include <bit>

#include "tests/support/import_patch.h"

/// Replaces one function that this program, or a loaded DLL, looks up at run time (GetProcAddress),
/// for the object's scope. One at a time.
class CLookupPatch {
 public:
  template <typename Function>
  CLookupPatch(const char* name, Function* replacement, HMODULE importer = nullptr)
      : CLookupPatch(importer, name, std::bit_cast<FARPROC>(replacement)) {}
  CLookupPatch(const CLookupPatch&) = delete;
  CLookupPatch& operator=(const CLookupPatch&) = delete;

 private:
  CLookupPatch(HMODULE importer, const char* name, FARPROC replacement);

  CImportPatch m_patch;
};
