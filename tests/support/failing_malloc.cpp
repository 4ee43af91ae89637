#include "tests/support/failing_malloc.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>

extern "C" void* __wrap_malloc(size_t bytes);

namespace {
// Plain, not thread_local: that would call malloc itself. The tests use it on one thread only.
size_t smallest_failing = SIZE_MAX;

/// The C library's own function. Not by the linker's name for it, which some linkers lead back to
/// the wrapping function where the library is a DLL.
void* AllocateReally(size_t bytes) {
  static void*(__cdecl * allocate)(size_t) = nullptr;
  if (allocate == nullptr) {
    allocate = reinterpret_cast<void*(__cdecl*)(size_t)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("msvcrt.dll"), "malloc")));
  }
  return allocate(bytes);
}
}  // namespace

extern "C" void* __wrap_malloc(size_t bytes) {
  return bytes >= smallest_failing ? nullptr : AllocateReally(bytes);
}

CFailingMalloc::CFailingMalloc(unsigned long long smallest) { smallest_failing = smallest; }
CFailingMalloc::~CFailingMalloc() { smallest_failing = SIZE_MAX; }
