#include "download/blocking_call_gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <compare>
#include <set>

#include "tests/support/interruption.h"

namespace {

/// What becomes of a worker that is stopped at some instruction of its way into a call and out.
struct CFate {
  bool mayBeWaitedFor = false;
  bool called = false;
  bool wasInCall = false;  // when Stop was called
  bool calledAfterStop = false;

  auto operator<=>(const CFate&) const = default;
};

TEST(BlockingCallGate, WorkerThatMayBeWaitedForMakesNoCallWhereverItIsStopped) {
  std::set<CFate> fates;
  bool isReached = true;
  for (int instructions = 1; isReached; ++instructions) {
    std::atomic<bool> running{true};
    CBlockingCallGate gate(running);
    CFate fate;
    volatile bool inCall = false;
    volatile bool stopped = false;
    const CInterruption interruption(instructions, [&] {
      fate.mayBeWaitedFor = gate.Stop();
      fate.wasInCall = inCall;
      stopped = true;
    });
    interruption.Arm();
    {
      const CBlockingCallGate::CCall call(gate);
      if (call) {
        inCall = true;
        fate.called = true;
        fate.calledAfterStop = stopped;
        inCall = false;
      }
    }
    isReached = interruption.WasReached();
    if (isReached) {
      EXPECT_FALSE(running);
      EXPECT_FALSE(fate.mayBeWaitedFor && (fate.wasInCall || fate.calledAfterStop)) << instructions;
      EXPECT_FALSE(CBlockingCallGate::CCall(gate)) << "none later";
      EXPECT_NE(gate.IsLeftBehind(), fate.mayBeWaitedFor) << instructions;
      EXPECT_EQ(gate.Stop(), fate.mayBeWaitedFor) << instructions;
      fates.insert(fate);
    }
  }
  EXPECT_TRUE(fates.contains({true, false, false, false})) << "stopped before it enters";
  EXPECT_TRUE(fates.contains({false, false, false, false})) << "between entering and looking";
  EXPECT_TRUE(fates.contains({false, true, false, true})) << "between looking and calling";
  EXPECT_TRUE(fates.contains({false, true, true, false})) << "in the call";
  EXPECT_TRUE(fates.contains({true, true, false, false})) << "after it";
}

}  // namespace
