#pragma once

#include <windows.h>

#include <functional>

#include "tests/support/import_patch.h"

/// Answers the question box at once in place of a user, without showing it. One at a time.
class CPromptAnswer {
 public:
  explicit CPromptAnswer(int answer);
  CPromptAnswer(const CPromptAnswer&) = delete;
  CPromptAnswer& operator=(const CPromptAnswer&) = delete;

  /// How often the box was shown.
  int Count() const;
  /// Its owner, the last time.
  HWND Owner() const;
  /// What is to happen while it is open.
  void WhileOpen(std::function<void()> action) const;

 private:
  CImportPatch m_patch;
};
