#include "tests/support/message_recorder.h"

#include <utility>

namespace {

SRWLOCK g_lock = SRWLOCK_INIT;
std::vector<CShownMessage> g_messages;

class CLock {
 public:
  CLock() { AcquireSRWLockExclusive(&g_lock); }
  ~CLock() { ReleaseSRWLockExclusive(&g_lock); }
  CLock(const CLock&) = delete;
  CLock& operator=(const CLock&) = delete;
};

int WINAPI RecordMessage(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
  const CLock lock;
  g_messages.push_back({owner, text, caption, style});
  return IDOK;
}

}  // namespace

CMessageRecorder::CMessageRecorder() : m_patch("user32.dll", "MessageBoxW", &RecordMessage) {
  Take();
}

CMessageRecorder::~CMessageRecorder() = default;

std::vector<CShownMessage> CMessageRecorder::Take() {
  const CLock lock;
  return std::exchange(g_messages, {});
}

std::vector<std::wstring> CMessageRecorder::TakeTexts() {
  std::vector<std::wstring> texts;
  for (CShownMessage& message : Take()) {
    texts.push_back(std::move(message.text));
  }
  return texts;
}
