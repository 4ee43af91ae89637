#include "failing_malloc.h"

#include <cstddef>
#include <cstdint>

extern "C" void* __real_malloc(size_t bytes);
extern "C" void* __wrap_malloc(size_t bytes);

namespace {
// Plain, not thread_local: that would call malloc itself. The tests use it on one thread only.
size_t smallest_failing = SIZE_MAX;
}  // namespace

extern "C" void* __wrap_malloc(size_t bytes) {
  return bytes >= smallest_failing ? nullptr : __real_malloc(bytes);
}

CFailingMalloc::CFailingMalloc(unsigned long long smallest) { smallest_failing = smallest; }
CFailingMalloc::~CFailingMalloc() { smallest_failing = SIZE_MAX; }
