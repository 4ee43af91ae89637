#pragma once

#include <windows.h>

#include <commdlg.h>

#include <functional>
#include <string>
#include <utility>

#include "tests/support/lookup_patch.h"

/// Stands in for the system's save dialog while it lives: records what it is given, and chooses
/// without showing anything. One at a time.
class CFakeSaveDialog {
 public:
  /// An empty choice cancels.
  explicit CFakeSaveDialog(std::wstring choice)
      : m_choice(std::move(choice)), m_patch("GetSaveFileNameW", &Show) {
    s_current = this;
  }

  /// How often it was shown, and what it was given the last time.
  int Calls() const { return m_calls; }
  const OPENFILENAMEW& Given() const { return m_given; }
  const std::wstring& GivenName() const { return m_name; }
  /// The filter with a bar for each text's NUL; "none" for a null filter.
  const std::wstring& GivenFilter() const { return m_filter; }
  /// Sets what is called while it is open.
  void WhileOpen(std::function<void()> action) const { m_action = std::move(action); }

 private:
  static BOOL WINAPI Show(OPENFILENAMEW* dialog) { return s_current->Answer(*dialog); }

  BOOL Answer(OPENFILENAMEW& dialog) const {
    ++m_calls;
    m_given = dialog;
    m_name = dialog.lpstrFile;
    m_filter = dialog.lpstrFilter != nullptr ? L"" : L"none";
    // The second of two NULs ends the filter.
    for (LPCWSTR text = dialog.lpstrFilter; text != nullptr && *text != L'\0';
         text += wcslen(text) + 1) {
      m_filter += std::wstring(text) + L"|";
    }
    if (m_action) {
      m_action();
    }
    if (m_choice.empty()) {
      return FALSE;
    }
    wcscpy(dialog.lpstrFile, m_choice.c_str());
    return TRUE;
  }

  inline static const CFakeSaveDialog* s_current = nullptr;

  const std::wstring m_choice;
  mutable std::function<void()> m_action;
  mutable int m_calls = 0;
  mutable OPENFILENAMEW m_given = {};
  mutable std::wstring m_name;
  mutable std::wstring m_filter;
  const CLookupPatch m_patch;
};
