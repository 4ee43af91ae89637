#include "tests/support/interruption.h"

#include <windows.h>

#include <utility>

namespace {

constexpr DWORD kTrapFlag = 0x100;

DWORD g_thread;
int g_left;  // instructions until the action; 0: it has run
std::function<void()> g_action;

LONG CALLBACK OnInstruction(EXCEPTION_POINTERS* exception) {
  if (exception->ExceptionRecord->ExceptionCode != static_cast<DWORD>(EXCEPTION_SINGLE_STEP) ||
      GetCurrentThreadId() != g_thread) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  if (g_left > 0 && --g_left == 0) {
    g_action();
  }
  if (g_left > 0) {
    exception->ContextRecord->EFlags |= kTrapFlag;
  } else {
    exception->ContextRecord->EFlags &= ~kTrapFlag;
  }
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

CInterruption::CInterruption(int instructions, std::function<void()> action)
    : m_handler(AddVectoredExceptionHandler(1, &OnInstruction)) {
  g_thread = GetCurrentThreadId();
  g_left = instructions;
  g_action = std::move(action);
}

CInterruption::~CInterruption() {
  // A thread that still counts traps once more, which ends that.
  g_left = 0;
  asm volatile("nop");
  RemoveVectoredExceptionHandler(m_handler);
  g_action = nullptr;
}

void CInterruption::Arm() const {
  asm volatile("pushfq\n\torq %0, (%%rsp)\n\tpopfq" : : "i"(kTrapFlag) : "memory", "cc");
}

bool CInterruption::WasReached() const { return g_left == 0; }
