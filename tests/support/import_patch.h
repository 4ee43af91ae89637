#pragma once

#include <windows.h>

/// Replaces one function that this program imports, for the object's scope: the product's code is
/// linked into the test program, so it calls the replacement. Or one that a loaded DLL imports. For
/// what the system here cannot show, such as a function that fails or a last error that Windows
/// would leave.
class CImportPatch {
 public:
  /// Fails the test when `importer` (null: this program) does not import `function` from `library`
  /// ("wininet.dll").
  template <typename Function>
  CImportPatch(const char* library, const char* function, Function* replacement,
               HMODULE importer = nullptr)
      : CImportPatch(importer, library, function, reinterpret_cast<void*>(replacement)) {}
  ~CImportPatch();
  CImportPatch(const CImportPatch&) = delete;
  CImportPatch& operator=(const CImportPatch&) = delete;

  /// The function that was replaced.
  template <typename Function>
  Function* Original() const {
    return reinterpret_cast<Function*>(m_original);
  }

 private:
  CImportPatch(HMODULE importer, const char* library, const char* function, void* replacement);

  void* m_slot = nullptr;  // may lie at any multiple of 4 bytes
  void* m_original = nullptr;
};
