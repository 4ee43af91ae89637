#pragma once

#include <atomic>

/// Where a download's worker and its dialog's thread agree whether the worker may be waited for.
///
/// The worker makes every call that disk, network or user can hold up inside a `CCall`, and only if
/// that allows it. The dialog's thread stops the worker by `Stop`, which tells whether the worker
/// is in such a call.
///
/// Both sides write first and look second: the worker enters the call and then looks at the running
/// flag; the dialog's thread clears the flag and then looks for a call. All four accesses are
/// sequentially consistent, so there is one order of them for both threads, and the side that looks
/// last sees what the other one wrote. If `Stop` finds no call, the worker's next look comes behind
/// the cleared flag, and the call is not made. In any other order, or with acquire and release
/// alone, each side could look before it sees the other's write: the dialog's thread would then
/// wait for a worker that is about to enter a call that never returns.
class CBlockingCallGate {
 public:
  /// `running` is cleared by `Stop` and outlives this object.
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

  /// Stops the worker: it makes no further call. True when it is in none either, so that nothing
  /// holds up its end. False when it is in one: it is left behind then, and cleans up after itself.
  /// Dialog's thread.
  bool Stop() {
    m_running = false;
    Replace(kInside, kLeftBehind);
    return m_place != kLeftBehind;
  }

  /// Whether a `Stop` found the worker in a call. Any thread.
  bool IsLeftBehind() const { return m_place == kLeftBehind; }

 private:
  enum Place { kOutside, kInside, kLeftBehind };

  void Replace(Place from, Place to) { m_place.compare_exchange_strong(from, to); }

  // A lock would hold up the dialog's thread, and who holds one may be ended with the process.
  static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<Place>::is_always_lock_free);

  std::atomic<bool>& m_running;
  std::atomic<Place> m_place{kOutside};
};
