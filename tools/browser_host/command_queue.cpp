#include "tools/browser_host/command_queue.h"

#include <utility>

void CCommandQueue::Push(Entry entry) {
  EnterCriticalSection(&m_lock);
  m_entries.push_back(std::move(entry));
  LeaveCriticalSection(&m_lock);
}

bool CCommandQueue::Pop(Entry& entry) {
  EnterCriticalSection(&m_lock);
  const bool found = !m_entries.empty();
  if (found) {
    entry = std::move(m_entries.front());
    m_entries.pop_front();
  }
  LeaveCriticalSection(&m_lock);
  return found;
}
