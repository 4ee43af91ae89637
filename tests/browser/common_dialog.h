#pragma once

#include <windows.h>

#include <commdlg.h>

#include <string>

#include "tests/support/lookup_patch.h"

/// Stands in for the system's save dialog while it lives: takes down what it is given, and chooses
/// without showing anything. One at a time.
class CCommonDialog {
 public:
  /// An empty choice cancels.
  explicit CCommonDialog(const std::wstring& choice);
  CCommonDialog(const CCommonDialog&) = delete;
  CCommonDialog& operator=(const CCommonDialog&) = delete;

  /// How often it was shown, and what it was given the last time.
  int Calls() const;
  const OPENFILENAMEW& Given() const;
  const std::wstring& GivenName() const;
  /// The filter with a bar for each text's NUL; "none" for a null filter.
  const std::wstring& GivenFilter() const;

 private:
  CLookupPatch m_patch;
};
