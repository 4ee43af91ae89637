#pragma once

#include <windows.h>

#include <atomic>
#include <cstdio>

// What debug builds check and trace about the threads of a transfer.

/// The thread that may call something: any thread until `Bind`, then the one that has called it.
/// Checked by ATLASSERT, so in debug builds only.
class CBoundThread {
 public:
  void Bind() { m_id = GetCurrentThreadId(); }
  void Unbind() { m_id = 0; }
  bool IsBound() const { return m_id != 0; }
  bool MayCall() const { return !IsBound() || m_id == GetCurrentThreadId(); }

 private:
  std::atomic<DWORD> m_id{0};
};

/// Writes a transfer's change of state to the debugger, in debug builds only, and never to a file.
inline void TraceTransfer([[maybe_unused]] const void* transfer,
                          [[maybe_unused]] const char* state) {
#ifndef NDEBUG
  char line[128] = {};
  std::snprintf(line, sizeof(line), "CProgressDialog %p, thread %lu: %s\n", transfer,
                GetCurrentThreadId(), state);
  OutputDebugStringA(line);
#endif
}
