#pragma once

#include <atomic>

/// Decides whether the dialog thread may wait for a download's worker to end. A worker that is
/// detached while it is inside a call is left behind: it also closes the handles, and deletes the
/// file if it still has it open.
///
/// The worker makes each call that can block (network, disk, message boxes) in the scope of a
/// `CCall`, and only if that converts to true. The dialog thread stops the worker with `Stop`,
/// which returns whether the worker is outside such a call.
///
/// Each thread first writes and then reads: the worker marks itself inside a call and then reads
/// the running flag; the dialog thread clears the running flag and then reads the mark. All four
/// accesses are sequentially consistent, so both threads see them in one order, and the thread that
/// reads last sees the other one's write. If `Stop` finds the worker outside, the worker's next
/// read of the running flag returns false and it does not make the call. With the reads first, or
/// with acquire and release only, both threads could miss the other's write; the dialog thread
/// would then wait for a worker that is about to make a call which may never return.
class CBlockingCallGate {
 public:
  /// `Stop` clears `running`, which must outlive this object.
  explicit CBlockingCallGate(std::atomic<bool>& running) : m_running(running) {}
  CBlockingCallGate(const CBlockingCallGate&) = delete;
  CBlockingCallGate& operator=(const CBlockingCallGate&) = delete;

  /// The scope of one blocking call. Worker's thread; calls do not nest.
  class CCall {
   public:
    explicit CCall(CBlockingCallGate& gate) : m_gate(gate) {
      m_gate.Replace(kOutside, kInside);
      m_isAllowed = m_gate.m_running;
    }
    ~CCall() { m_gate.Replace(kInside, kOutside); }
    CCall(const CCall&) = delete;
    CCall& operator=(const CCall&) = delete;

    /// Whether the call may be made: false once the worker is stopped.
    explicit operator bool() const { return m_isAllowed; }

   private:
    CBlockingCallGate& m_gate;
    bool m_isAllowed = false;
  };

  /// Stops the worker: it makes no further blocking call. Returns true when it is outside such a
  /// call, so that it can be waited for. Returns false when it is inside one: the worker is then
  /// "left behind", which means that the dialog thread does not wait, and the worker cleans up by
  /// itself. Dialog thread.
  bool Stop() {
    m_running = false;
    Replace(kInside, kLeftBehind);
    return m_place != kLeftBehind;
  }

  /// Whether `Stop` has found the worker inside a call. Any thread.
  bool IsLeftBehind() const { return m_place == kLeftBehind; }

 private:
  enum Place { kOutside, kInside, kLeftBehind };

  void Replace(Place from, Place to) { m_place.compare_exchange_strong(from, to); }

  // With a lock inside the atomics the dialog thread could wait for a thread that holds it, and
  // wait forever when that thread was terminated at process exit.
  static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<Place>::is_always_lock_free);

  std::atomic<bool>& m_running;
  std::atomic<Place> m_place{kOutside};
};
