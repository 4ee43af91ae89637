#pragma once

#include <windows.h>

#include <string>

#include "tests/support/import_patch.h"

/// Decides, for its scope, what the shell says about the user's Documents folder. One at a time.
class CDocumentsFolder {
 public:
  /// The folder; empty: the shell does not know it.
  explicit CDocumentsFolder(const std::wstring& path);
  CDocumentsFolder(const CDocumentsFolder&) = delete;
  CDocumentsFolder& operator=(const CDocumentsFolder&) = delete;

  /// How often it was asked for.
  int Count() const;

 private:
  CImportPatch m_patch;
};
