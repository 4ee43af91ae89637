#include "tests/collections/dialog_trace.h"

#include <commctrl.h>

#include <utility>

#include "resources/resource.h"

namespace {

constexpr DWORD kShortPause = 100;
constexpr DWORD kReadingPause = 700;

DWORD g_thread = 0;
CDialogTrace::Lines g_lines;

decltype(&SetDlgItemTextW) g_setText;
decltype(&SendDlgItemMessageW) g_send;
decltype(&Sleep) g_sleep;
decltype(&DeleteFileW) g_delete;
decltype(&EndDialog) g_end;

bool Note(const std::wstring& line) {
  if (GetCurrentThreadId() != g_thread) {
    return false;
  }
  g_lines.push_back(line);
  return true;
}

BOOL WINAPI SetText(HWND dialog, int id, LPCWSTR text) {
  if (id == IDC_COLLECTION_TITLE) {
    Note(Title(text));
  } else if (id == IDC_COLLECTION_SUBTITLE) {
    Note(Subtitle(text));
  }
  return g_setText(dialog, id, text);
}

LRESULT WINAPI Send(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
  if (id == IDC_COLLECTION_PROGRESS && message == PBM_SETPOS) {
    Note(Bar(static_cast<int>(wParam)));
  }
  return g_send(dialog, id, message, wParam, lParam);
}

void WINAPI Pass(DWORD milliseconds) {
  const bool isPause = milliseconds == kShortPause || milliseconds == kReadingPause;
  if (!isPause || !Note(Pause(static_cast<int>(milliseconds)))) {
    g_sleep(milliseconds);
  }
}

int WINAPI Answer(HWND, LPCWSTR text, LPCWSTR, UINT) {
  Note(Message(text));
  return IDOK;
}

BOOL WINAPI NoteDelete(LPCWSTR path) {
  const std::wstring text = path;
  Note(Delete(text.substr(text.find_last_of(L'\\') + 1)));
  return g_delete(path);
}

BOOL WINAPI NoteEnd(HWND dialog, INT_PTR result) {
  Note(End(static_cast<int>(result)));
  return g_end(dialog, result);
}

}  // namespace

CDialogTrace::CDialogTrace()
    : m_text("user32.dll", "SetDlgItemTextW", &SetText),
      m_send("user32.dll", "SendDlgItemMessageW", &Send),
      m_sleep("kernel32.dll", "Sleep", &Pass),
      m_message("user32.dll", "MessageBoxW", &Answer),
      m_delete("kernel32.dll", "DeleteFileW", &NoteDelete),
      m_end("user32.dll", "EndDialog", &NoteEnd) {
  g_setText = m_text.Original<BOOL WINAPI(HWND, int, LPCWSTR)>();
  g_send = m_send.Original<LRESULT WINAPI(HWND, int, UINT, WPARAM, LPARAM)>();
  g_sleep = m_sleep.Original<void WINAPI(DWORD)>();
  g_delete = m_delete.Original<BOOL WINAPI(LPCWSTR)>();
  g_end = m_end.Original<BOOL WINAPI(HWND, INT_PTR)>();
  g_thread = GetCurrentThreadId();
  g_lines.clear();
}

CDialogTrace::~CDialogTrace() { g_thread = 0; }

void CDialogTrace::Add(const std::wstring& line) { Note(line); }

CDialogTrace::Lines CDialogTrace::Take() { return std::exchange(g_lines, {}); }

CDialogTrace::Lines CDialogTrace::Take(const std::wstring& word) {
  Lines lines;
  for (const std::wstring& line : Take()) {
    if (line.rfind(word + L" ", 0) == 0) {
      lines.push_back(line.substr(word.size() + 1));
    }
  }
  return lines;
}

std::wstring Title(const std::wstring& text) { return L"title " + text; }
std::wstring Subtitle(const std::wstring& text) { return L"subtitle " + text; }
std::wstring Bar(int position) { return L"bar " + std::to_wstring(position); }
std::wstring Pause(int milliseconds) { return L"pause " + std::to_wstring(milliseconds); }
std::wstring Message(const std::wstring& text) { return L"message " + text; }
std::wstring Delete(const std::wstring& name) { return L"delete " + name; }
std::wstring End(int result) { return L"end " + std::to_wstring(result); }
