#pragma once

#include <windows.h>

#include <commctrl.h>

#include <string>
#include <utility>
#include <vector>

#include "resources/resource.h"
#include "tests/support/import_spy.h"

/// Records what the collection dialog does on the creating thread, in order, one line for each:
/// "title T", "subtitle T", "bar N", "pause N", "message T", "delete NAME", "end N". Its pauses end
/// at once and its message boxes are answered at once. One at a time.
class CDialogTrace {
 public:
  using Lines = std::vector<std::wstring>;

  /// Adds a line of the test's own, if this is the creating thread.
  bool Add(const std::wstring& line) {
    const bool isMine = GetCurrentThreadId() == m_thread;
    if (isMine) {
      m_lines.push_back(line);
    }
    return isMine;
  }
  /// Returns the lines so far and removes them.
  Lines Take() { return std::exchange(m_lines, {}); }
  /// The same, but returns only the lines that begin with `word`, without it.
  Lines Take(const std::wstring& word) {
    Lines lines;
    for (const std::wstring& line : Take()) {
      if (line.starts_with(word + L" ")) {
        lines.push_back(line.substr(word.size() + 1));
      }
    }
    return lines;
  }

 private:
  const DWORD m_thread = GetCurrentThreadId();
  Lines m_lines;
  const CImportSpy<&SetDlgItemTextW> m_text{
      "user32.dll", "SetDlgItemTextW", [this](HWND dialog, int id, LPCWSTR text) {
        if (id == IDC_COLLECTION_TITLE || id == IDC_COLLECTION_SUBTITLE) {
          Add((id == IDC_COLLECTION_TITLE ? L"title " : L"subtitle ") + std::wstring(text));
        }
        return m_text.CallOriginal(dialog, id, text);
      }};
  const CImportSpy<&SendDlgItemMessageW> m_send{
      "user32.dll", "SendDlgItemMessageW",
      [this](HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
        if (id == IDC_COLLECTION_PROGRESS && message == PBM_SETPOS) {
          Add(L"bar " + std::to_wstring(static_cast<int>(wParam)));
        }
        return m_send.CallOriginal(dialog, id, message, wParam, lParam);
      }};
  const CImportSpy<&Sleep> m_sleep{
      "kernel32.dll", "Sleep", [this](DWORD milliseconds) {
        const bool isPause = milliseconds == 100 || milliseconds == 700;
        if (!isPause || !Add(L"pause " + std::to_wstring(milliseconds))) {
          m_sleep.CallOriginal(milliseconds);
        }
      }};
  const CImportSpy<&MessageBoxW> m_message{"user32.dll", "MessageBoxW",
                                           [this](HWND, LPCWSTR text, LPCWSTR, UINT) {
                                             Add(L"message " + std::wstring(text));
                                             return IDOK;
                                           }};
  const CImportSpy<&DeleteFileW> m_delete{
      "kernel32.dll", "DeleteFileW", [this](LPCWSTR path) {
        const std::wstring text = path;
        Add(L"delete " + text.substr(text.find_last_of(L'\\') + 1));
        return m_delete.CallOriginal(path);
      }};
  const CImportSpy<&EndDialog> m_end{"user32.dll", "EndDialog",
                                     [this](HWND dialog, INT_PTR result) {
                                       Add(L"end " + std::to_wstring(result));
                                       return m_end.CallOriginal(dialog, result);
                                     }};
};

/// The lines.
inline std::wstring Title(const std::wstring& text) { return L"title " + text; }
inline std::wstring Subtitle(const std::wstring& text) { return L"subtitle " + text; }
inline std::wstring Bar(int position) { return L"bar " + std::to_wstring(position); }
inline std::wstring Pause(DWORD milliseconds) { return L"pause " + std::to_wstring(milliseconds); }
inline std::wstring Message(const std::wstring& text) { return L"message " + text; }
inline std::wstring Delete(const std::wstring& name) { return L"delete " + name; }
inline std::wstring End(INT_PTR result) { return L"end " + std::to_wstring(result); }

/// The lines of all parts.
inline CDialogTrace::Lines Join(const std::vector<CDialogTrace::Lines>& parts) {
  CDialogTrace::Lines all;
  for (const CDialogTrace::Lines& part : parts) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}
