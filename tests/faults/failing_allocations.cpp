#include "tests/faults/failing_allocations.h"

#include <gtest/gtest.h>
#include <oleauto.h>
#include <process.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "tests/faults/quick_cut.h"

namespace {

constexpr size_t kMostThreads = 8;

std::atomic<bool> g_isArmed;
std::atomic<int> g_countdown;
bool g_failsForGood;
std::array<std::atomic<DWORD>, kMostThreads> g_threads;
std::atomic<size_t> g_threadCount;
std::atomic<DWORD> g_uncounted;

decltype(&_beginthreadex) g_begin;
// Named here, so that every program has these imports to be replaced.
decltype(&HeapAlloc) g_heapAlloc = &HeapAlloc;
decltype(&GlobalAlloc) g_globalAlloc = &GlobalAlloc;
decltype(&SysAllocString) g_allocString = &SysAllocString;

struct CStart {
  _beginthreadex_proc_type function;
  void* argument;
};
std::array<CStart, kMostThreads> g_starts;

/// The C library's own function, behind every patch.
void* AllocateReally(size_t size) {
  static const auto allocate = reinterpret_cast<void*(__cdecl*)(size_t)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("msvcrt.dll"), "malloc")));
  return allocate(size);
}

bool IsCounted() {
  const DWORD thread = GetCurrentThreadId();
  return thread != g_uncounted &&
         std::any_of(g_threads.begin(), g_threads.begin() + g_threadCount,
                     [=](const std::atomic<DWORD>& counted) { return counted == thread; });
}

bool Fails() {
  if (!g_isArmed || !IsCounted()) {
    return false;
  }
  const int left = --g_countdown;
  return left == 0 || (g_failsForGood && left < 0);
}

void* Allocate(size_t size) {
  if (Fails()) {
    errno = ENOMEM;
    return nullptr;
  }
  return AllocateReally(size);
}

void* WINAPI AllocateFromHeap(HANDLE heap, DWORD flags, SIZE_T size) {
  return Fails() ? nullptr : g_heapAlloc(heap, flags, size);
}

HGLOBAL WINAPI AllocateGlobal(UINT flags, SIZE_T size) {
  if (Fails()) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  return g_globalAlloc(flags, size);
}

BSTR WINAPI AllocateString(const OLECHAR* text) { return Fails() ? nullptr : g_allocString(text); }

unsigned __stdcall StartCounted(void* start) {
  const size_t place = g_threadCount++;
  g_threads[place] = GetCurrentThreadId();
  const auto& [function, argument] = *static_cast<CStart*>(start);
  return function(argument);
}

uintptr_t Begin(void* security, unsigned stack, _beginthreadex_proc_type function, void* argument,
                unsigned flags, unsigned* id) {
  if (!g_isArmed || !IsCounted()) {
    return g_begin(security, stack, function, argument, flags, id);
  }
  const CUncountedAllocations uncounted;
  CStart& start = g_starts[g_threadCount];
  start = {function, argument};
  return g_begin(security, stack, &StartCounted, &start, flags, id);
}

}  // namespace

void* operator new(size_t size) {
  void* const block = Fails() ? nullptr : AllocateReally(size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }

CFailingAllocations::CFailingAllocations()
    : m_malloc("msvcrt.dll", "malloc", &Allocate),
      m_heap("kernel32.dll", "HeapAlloc", &AllocateFromHeap),
      m_global("kernel32.dll", "GlobalAlloc", &AllocateGlobal),
      m_string("oleaut32.dll", "SysAllocString", &AllocateString),
      m_thread("msvcrt.dll", "_beginthreadex", &Begin) {
  g_heapAlloc = m_heap.Original<decltype(HeapAlloc)>();
  g_globalAlloc = m_global.Original<decltype(GlobalAlloc)>();
  g_allocString = m_string.Original<decltype(SysAllocString)>();
  g_begin = m_thread.Original<decltype(_beginthreadex)>();
}

CFailingAllocations::~CFailingAllocations() = default;

bool CFailingAllocations::Run(Mode mode, int n, const std::function<void()>& action) const {
  g_threads[0] = GetCurrentThreadId();
  g_threadCount = 1;
  g_failsForGood = mode == Mode::kForGood;
  g_countdown = n;
  g_isArmed = true;
  action();
  g_isArmed = false;
  return g_countdown <= 0;
}

void RunOutOfMemory(CRunChecks& checks, CFailingAllocations::Mode mode,
                    const std::function<bool(const Fail& fail)>& cell, int quickStep) {
  const CFailingAllocations allocations;
  const CRunSteps steps = RunSteps(quickStep);
  bool failed = true;
  int n = steps.first;
  for (; failed && !testing::Test::HasFailure(); n += steps.step) {
    SCOPED_TRACE(n);
    checks.Run([&] {
      failed = cell([&](const std::function<void()>& action) {
        bool result = false;
        CallGuardedDialog([&] {
          result = allocations.Run(mode, n, action);
          return 0;
        });
        return result;
      });
    });
  }
  std::printf("fewer than %d allocations\n", n);
}

CUncountedAllocations::CUncountedAllocations()
    : m_previous(g_uncounted.exchange(GetCurrentThreadId())) {}

CUncountedAllocations::~CUncountedAllocations() { g_uncounted = m_previous; }
