#include "tests/support/interruption.h"

#include <windows.h>

#include <utility>

namespace {

constexpr DWORD kTrapFlag = 0x100;

DWORD g_thread;
volatile bool g_isCounting;  // read and written between any two instructions
int g_left;                  // instructions until the action; 0: it has run
std::function<void()> g_action;

LONG CALLBACK OnInstruction(EXCEPTION_POINTERS* exception) {
  if (exception->ExceptionRecord->ExceptionCode != static_cast<DWORD>(EXCEPTION_SINGLE_STEP) ||
      GetCurrentThreadId() != g_thread) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  if (g_isCounting && --g_left == 0) {
    g_isCounting = false;
    g_action();
  }
  if (g_isCounting) {
    exception->ContextRecord->EFlags |= kTrapFlag;
  } else {
    exception->ContextRecord->EFlags &= ~kTrapFlag;
  }
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

CInterruption::CInterruption(int instructions, std::function<void()> action)
    : m_handler(AddVectoredExceptionHandler(1, &OnInstruction)) {
  g_isCounting = false;
  g_thread = GetCurrentThreadId();
  g_left = instructions;
  g_action = std::move(action);
}

CInterruption::~CInterruption() {
  g_isCounting = false;
  asm volatile("nop");  // If the flag is still set, the next instruction clears it.
  RemoveVectoredExceptionHandler(m_handler);
  g_action = nullptr;
}

void CInterruption::Arm() const {
  g_isCounting = true;
  asm volatile("pushfq\n\torq %0, (%%rsp)\n\tpopfq" : : "i"(kTrapFlag) : "memory", "cc");
}

bool CInterruption::WasReached() const {
  g_isCounting = false;
  return g_left == 0;
}
