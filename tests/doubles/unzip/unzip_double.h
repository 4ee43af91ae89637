#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>

#include "tests/doubles/unzip/unzip_script.h"
#include "tests/doubles/unzip/unzip_search_path.h"

/// A test's hold on the scripted double: this process finds it, and it stays loaded with its script
/// empty until `Release`.
class CUnzipDouble {
 public:
  CUnzipDouble() : m_path(UnzipDoubleFolder(L"scripted")), m_library(LoadLibraryW(L"UNZIP32.DLL")) {
    const auto get = reinterpret_cast<GetUnzipScriptFn>(
        reinterpret_cast<void*>(GetProcAddress(m_library, "GetUnzipScript")));
    if (get == nullptr) {
      ADD_FAILURE() << "the scripted double is not found";
      TerminateProcess(GetCurrentProcess(), EXIT_FAILURE);
    }
    m_script = get();
  }
  CUnzipDouble(const CUnzipDouble&) = delete;
  CUnzipDouble& operator=(const CUnzipDouble&) = delete;

  CUnzipScript* operator->() const { return m_script; }

  /// Lets go of the library. True when nobody else holds it.
  bool Release() {
    m_script = nullptr;
    FreeLibrary(m_library);
    return !IsUnzipLoaded();
  }

 private:
  const CUnzipSearchPath m_path;
  const HMODULE m_library;
  CUnzipScript* m_script;
};
