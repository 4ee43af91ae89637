// The way of commands from where they are read to the thread that carries them out.
#pragma once

#include <windows.h>

#include <deque>
#include <optional>

#include "tools/browser_host/command.h"

/// A queue of commands; nothing in place of a command stands for a line that is not one. Any thread
/// may call any method.
class CCommandQueue {
 public:
  using Entry = std::optional<Command>;

  CCommandQueue() { InitializeCriticalSection(&m_lock); }
  ~CCommandQueue() { DeleteCriticalSection(&m_lock); }
  CCommandQueue(const CCommandQueue&) = delete;
  CCommandQueue& operator=(const CCommandQueue&) = delete;

  void Push(Entry entry);

  /// Takes the oldest entry out; false when there is none.
  bool Pop(Entry& entry);

 private:
  CRITICAL_SECTION m_lock;
  std::deque<Entry> m_entries;
};
