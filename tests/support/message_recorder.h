#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/import_spy.h"

/// One call of MessageBoxW.
struct CShownMessage {
  HWND owner;
  std::wstring text;
  std::wstring caption;
  UINT style;
};

/// Stands in for the system's message box while it lives: records each call of this program, on
/// any thread, and answers at once.
class CMessageRecorder {
 public:
  explicit CMessageRecorder(int answer = IDOK)
      : m_spy("user32.dll", "MessageBoxW",
              [this, answer](HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
                AcquireSRWLockExclusive(&m_lock);
                m_messages.push_back({owner, text, caption, style});
                ReleaseSRWLockExclusive(&m_lock);
                return answer;
              }) {}
  CMessageRecorder(const CMessageRecorder&) = delete;
  CMessageRecorder& operator=(const CMessageRecorder&) = delete;

  /// The messages so far; forgets them.
  std::vector<CShownMessage> Take() {
    AcquireSRWLockExclusive(&m_lock);
    std::vector<CShownMessage> messages = std::exchange(m_messages, {});
    ReleaseSRWLockExclusive(&m_lock);
    return messages;
  }
  /// Their texts alone; forgets the messages.
  std::vector<std::wstring> TakeTexts() {
    std::vector<std::wstring> texts;
    for (CShownMessage& message : Take()) {
      texts.push_back(std::move(message.text));
    }
    return texts;
  }

 private:
  SRWLOCK m_lock = SRWLOCK_INIT;
  std::vector<CShownMessage> m_messages;
  const CImportSpy<&MessageBoxW> m_spy;
};
