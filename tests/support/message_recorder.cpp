#include "tests/support/message_recorder.h"

#include <utility>

namespace {

SRWLOCK g_lock = SRWLOCK_INIT;
std::vector<CShownMessage> g_messages;
int g_answer;

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
  return g_answer;
}

}  // namespace

CMessageRecorder::CMessageRecorder(int answer)
    : m_patch("user32.dll", "MessageBoxW", &RecordMessage) {
  Take();
  g_answer = answer;
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
