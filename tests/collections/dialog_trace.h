#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/import_patch.h"

/// Takes down, while it lives, what the collection dialog does on the creating thread, in order,
/// one line for each: "title T", "subtitle T", "bar N", "pause N", "message T", "delete NAME", "end
/// N". Its pauses pass at once and its message boxes are answered at once; everything else happens
/// as always. One at a time.
class CDialogTrace {
 public:
  CDialogTrace();
  ~CDialogTrace();
  CDialogTrace(const CDialogTrace&) = delete;
  CDialogTrace& operator=(const CDialogTrace&) = delete;

  using Lines = std::vector<std::wstring>;

  /// Takes a line of the test's own down; on the creating thread.
  void Add(const std::wstring& line);
  /// The lines so far; forgets them.
  Lines Take();
  /// The same, those only that begin with `word`, without it.
  Lines Take(const std::wstring& word);

 private:
  CImportPatch m_text;
  CImportPatch m_send;
  CImportPatch m_sleep;
  CImportPatch m_message;
  CImportPatch m_delete;
  CImportPatch m_end;
};

/// The lines of the dialog's own words.
std::wstring Title(const std::wstring& text);
std::wstring Subtitle(const std::wstring& text);
std::wstring Bar(int position);
std::wstring Pause(int milliseconds);
std::wstring Message(const std::wstring& text);
std::wstring Delete(const std::wstring& name);
std::wstring End(int result);
