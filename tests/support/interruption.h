#pragma once

#include <functional>

/// Another thread's turn between two machine instructions of this one: the action runs once, that
/// many instructions after `Arm`. A test that goes through all numbers tries every interleaving
/// with code too short to be met otherwise. Counting ends at the first system call, as that takes
/// the processor's trap flag. One at a time, for the thread that made it.
class CInterruption {
 public:
  CInterruption(int instructions, std::function<void()> action);
  ~CInterruption();
  CInterruption(const CInterruption&) = delete;
  CInterruption& operator=(const CInterruption&) = delete;

  /// Begins to count.
  void Arm() const;

  /// Ends counting. Whether the action has run.
  bool WasReached() const;

 private:
  void* m_handler;
};
