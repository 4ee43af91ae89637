#include "download/thread_name.h"

#include <windows.h>

#include <cstring>

namespace {

// The debuggers' convention for naming a thread: an exception with this code and record.
constexpr DWORD kSetThreadNameException = 0x406D1388;
constexpr DWORD kThreadNameRecordType = 0x1000;
constexpr DWORD kCallingThread = static_cast<DWORD>(-1);

#pragma pack(push, 8)
struct CThreadNameRecord {
  DWORD type;
  LPCSTR name;
  DWORD threadId;
  DWORD flags;
};
#pragma pack(pop)

LONG CALLBACK ContinueAfterNaming(EXCEPTION_POINTERS* exception) {
  return exception->ExceptionRecord->ExceptionCode == kSetThreadNameException
             ? EXCEPTION_CONTINUE_EXECUTION
             : EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void NameCurrentThread(const char* name) {
  const CThreadNameRecord record = {kThreadNameRecordType, name, kCallingThread, 0};
  ULONG_PTR arguments[sizeof(record) / sizeof(ULONG_PTR)] = {};
  memcpy(arguments, &record, sizeof(record));
  // A vectored handler instead of __try, which not every compiler of this code supports. An
  // attached debugger sees the exception first.
  void* const handler = AddVectoredExceptionHandler(1, ContinueAfterNaming);
  if (handler == nullptr) {
    return;
  }
  RaiseException(kSetThreadNameException, 0, ARRAYSIZE(arguments), arguments);
  RemoveVectoredExceptionHandler(handler);
}
