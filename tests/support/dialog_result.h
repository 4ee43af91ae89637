#pragma once

#include <windows.h>

#include <functional>
#include <utility>

#include "tests/support/import_spy.h"

/// Ends dialogs made from the program's resources at once with a result, without showing them.
class CDialogResult {
 public:
  explicit CDialogResult(INT_PTR result)
      : m_spy("user32.dll", "DialogBoxParamW",
              [this, result](HINSTANCE, LPCWSTR name, HWND parent, DLGPROC, LPARAM parameter) {
                m_template = LOWORD(reinterpret_cast<ULONG_PTR>(name));
                m_parent = parent;
                s_parameter = parameter;
                if (m_action) {
                  m_action();
                }
                return result;
              }) {}
  CDialogResult(const CDialogResult&) = delete;
  CDialogResult& operator=(const CDialogResult&) = delete;

  /// How often a dialog was run, and with which template and parent the last time.
  int Count() const { return static_cast<int>(m_spy.Calls().size()); }
  UINT Template() const { return m_template; }
  HWND Parent() const { return m_parent; }
  /// The parameter of the dialog's WM_INITDIALOG: the address of its object.
  static LPARAM Parameter() { return s_parameter; }
  /// Sets what is called while it runs.
  void WhileRunning(std::function<void()> action) const { m_action = std::move(action); }

 private:
  inline static LPARAM s_parameter = 0;

  mutable UINT m_template = 0;
  mutable HWND m_parent = nullptr;
  mutable std::function<void()> m_action;
  const CImportSpy<&DialogBoxParamW> m_spy;
};
