#pragma once

#include <windows.h>

#include <functional>
#include <utility>

#include "tests/support/import_spy.h"

/// Answers the question box at once in place of a user, without showing it.
class CPromptAnswer {
 public:
  explicit CPromptAnswer(int answer)
      : m_spy("user32.dll", "DialogBoxIndirectParamW",
              [this, answer](HINSTANCE, LPCDLGTEMPLATEW, HWND owner, DLGPROC, LPARAM) {
                ++m_count;
                m_owner = owner;
                if (m_action) {
                  m_action();
                }
                return INT_PTR{answer};
              }) {}

  /// How often the box was shown, and its owner the last time.
  int Count() const { return m_count; }
  HWND Owner() const { return m_owner; }
  /// Sets what is called while it is open.
  void WhileOpen(std::function<void()> action) const { m_action = std::move(action); }

 private:
  mutable int m_count = 0;
  mutable HWND m_owner = nullptr;
  mutable std::function<void()> m_action;
  const CImportSpy<&DialogBoxIndirectParamW> m_spy;
};
