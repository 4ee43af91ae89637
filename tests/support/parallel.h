#pragma once

#include <windows.h>

#include <functional>

/// Runs a function on a thread of its own (this toolchain's thread model has no std::thread) and
/// joins it at scope end. A thread that has not ended after five minutes fails the whole program.
class CParallel {
 public:
  explicit CParallel(std::function<void()> work);
  ~CParallel();
  CParallel(const CParallel&) = delete;
  CParallel& operator=(const CParallel&) = delete;

  /// Waits for the end; called by the destructor too.
  void Join();

 private:
  static unsigned __stdcall Run(void* self);

  std::function<void()> m_work;
  HANDLE m_thread;
};
