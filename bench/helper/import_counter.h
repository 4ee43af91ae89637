#pragma once

#include <windows.h>

#include <string>
#include <vector>

/// Counts every call that a loaded DLL makes to a function of another DLL, for the object's scope,
/// whatever the function takes: each entry of the import table is led through a counter.
class CImportCounter {
 public:
  struct CCount {
    std::string library;   // "KERNEL32.dll"
    std::string function;  // "#12" for one imported by number
    LONGLONG calls;
  };

  explicit CImportCounter(HMODULE importer);
  ~CImportCounter();
  CImportCounter(const CImportCounter&) = delete;
  CImportCounter& operator=(const CImportCounter&) = delete;

  /// The functions that have been called since this object was made.
  std::vector<CCount> Calls() const;

 private:
  struct CDetour;  // machine code, with its counter
  struct CImport {
    std::string library;
    std::string function;
    void** slot;
    CDetour* detour;
  };

  void Divert(const char* library, const std::string& function, void** slot);

  CDetour* m_detours;
  std::vector<CImport> m_imports;
};
