#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/import_patch.h"

/// One call of MessageBoxW.
struct CShownMessage {
  HWND owner;
  std::wstring text;
  std::wstring caption;
  UINT style;
};

/// Stands in for the system's message box while it lives: takes down each call of this program, on
/// any thread, and answers at once. One at a time.
class CMessageRecorder {
 public:
  explicit CMessageRecorder(int answer = IDOK);
  ~CMessageRecorder();
  CMessageRecorder(const CMessageRecorder&) = delete;
  CMessageRecorder& operator=(const CMessageRecorder&) = delete;

  /// The messages so far; forgets them.
  std::vector<CShownMessage> Take();
  /// Their texts alone; forgets the messages.
  std::vector<std::wstring> TakeTexts();

 private:
  CImportPatch m_patch;
};
