#include "tests/collections/dialog_trace.h"

#include <commctrl.h>

#include <utility>

#include "resources/resource.h"

namespace {

constexpr DWORD kShortPause = 100;
constexpr DWORD kReadingPause = 700;

}  // namespace

CDialogTrace::CDialogTrace()
    : m_text("user32.dll", "SetDlgItemTextW",
             [this](HWND dialog, int id, LPCWSTR text) {
               if (id == IDC_COLLECTION_TITLE) {
                 Add(Title(text));
               } else if (id == IDC_COLLECTION_SUBTITLE) {
                 Add(Subtitle(text));
               }
               return m_text.CallOriginal(dialog, id, text);
             }),
      m_send("user32.dll", "SendDlgItemMessageW",
             [this](HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
               if (id == IDC_COLLECTION_PROGRESS && message == PBM_SETPOS) {
                 Add(Bar(static_cast<int>(wParam)));
               }
               return m_send.CallOriginal(dialog, id, message, wParam, lParam);
             }),
      m_sleep("kernel32.dll", "Sleep",
              [this](DWORD milliseconds) {
                const bool isPause = milliseconds == kShortPause || milliseconds == kReadingPause;
                if (!isPause || !Add(Pause(milliseconds))) {
                  m_sleep.CallOriginal(milliseconds);
                }
              }),
      m_message("user32.dll", "MessageBoxW",
                [this](HWND, LPCWSTR text, LPCWSTR, UINT) {
                  Add(Message(text));
                  return IDOK;
                }),
      m_delete("kernel32.dll", "DeleteFileW",
               [this](LPCWSTR path) {
                 const std::wstring text = path;
                 Add(Delete(text.substr(text.find_last_of(L'\\') + 1)));
                 return m_delete.CallOriginal(path);
               }),
      m_end("user32.dll", "EndDialog", [this](HWND dialog, INT_PTR result) {
        Add(End(result));
        return m_end.CallOriginal(dialog, result);
      }) {}

bool CDialogTrace::Add(const std::wstring& line) {
  if (GetCurrentThreadId() != m_thread) {
    return false;
  }
  m_lines.push_back(line);
  return true;
}

CDialogTrace::Lines CDialogTrace::Take() { return std::exchange(m_lines, {}); }

CDialogTrace::Lines CDialogTrace::Take(const std::wstring& word) {
  Lines lines;
  for (const std::wstring& line : Take()) {
    if (line.starts_with(word + L" ")) {
      lines.push_back(line.substr(word.size() + 1));
    }
  }
  return lines;
}
