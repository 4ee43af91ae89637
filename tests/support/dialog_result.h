#pragma once

#include <windows.h>

#include <functional>

#include "tests/support/import_patch.h"

/// Ends dialogs made from the program's resources at once with a result, without showing them. One
/// at a time.
class CDialogResult {
 public:
  explicit CDialogResult(INT_PTR result);
  CDialogResult(const CDialogResult&) = delete;
  CDialogResult& operator=(const CDialogResult&) = delete;

  /// How often a dialog was run, and with which template and parent the last time.
  int Count() const;
  UINT Template() const;
  HWND Parent() const;
  /// The parameter of the dialog's WM_INITDIALOG: the address of its object.
  static LPARAM Parameter();
  /// What is to happen while it runs.
  void WhileRunning(std::function<void()> action) const;

 private:
  CImportPatch m_patch;
};
