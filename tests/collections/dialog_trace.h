#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/import_spy.h"

/// Records what the collection dialog does on the creating thread, in order, one line for each:
/// "title T", "subtitle T", "bar N", "pause N", "message T", "delete NAME", "end N". Its pauses end
/// at once and its message boxes are answered at once. One at a time.
class CDialogTrace {
 public:
  CDialogTrace();

  using Lines = std::vector<std::wstring>;

  /// Adds a line of the test's own, if this is the creating thread.
  bool Add(const std::wstring& line);
  /// Returns the lines so far and removes them.
  Lines Take();
  /// The same, but returns only the lines that begin with `word`, without it.
  Lines Take(const std::wstring& word);

 private:
  const DWORD m_thread = GetCurrentThreadId();
  Lines m_lines;
  const CImportSpy<&SetDlgItemTextW> m_text;
  const CImportSpy<&SendDlgItemMessageW> m_send;
  const CImportSpy<&Sleep> m_sleep;
  const CImportSpy<&MessageBoxW> m_message;
  const CImportSpy<&DeleteFileW> m_delete;
  const CImportSpy<&EndDialog> m_end;
};

/// The lines.
inline std::wstring Title(const std::wstring& text) { return L"title " + text; }
inline std::wstring Subtitle(const std::wstring& text) { return L"subtitle " + text; }
inline std::wstring Bar(int position) { return L"bar " + std::to_wstring(position); }
inline std::wstring Pause(DWORD milliseconds) { return L"pause " + std::to_wstring(milliseconds); }
inline std::wstring Message(const std::wstring& text) { return L"message " + text; }
inline std::wstring Delete(const std::wstring& name) { return L"delete " + name; }
inline std::wstring End(INT_PTR result) { return L"end " + std::to_wstring(result); }
