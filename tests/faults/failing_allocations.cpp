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
#include <string>
#include <type_traits>

#include "tests/faults/quick_cut.h"
#include "tests/support/import_patch.h"

namespace {

constexpr size_t kMostThreads = 8;

std::atomic<bool> g_isArmed;
std::atomic<int> g_countdown;
bool g_failsForGood;
std::array<std::atomic<DWORD>, kMostThreads> g_threads;
std::atomic<size_t> g_threadCount;
std::atomic<DWORD> g_uncounted;

decltype(&_beginthreadex) g_begin;

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

/// Replaces one of the system's functions for that. Names it, so that every program has this import
/// to be replaced.
template <auto function>
class CAllocator;
template <typename Block, typename... Arguments, Block(WINAPI* function)(Arguments...)>
class CAllocator<function> {
 public:
  CAllocator(LPCSTR dll, LPCSTR name) : m_patch(dll, name, &AllocateOrFail) {
    s_original = m_patch.Original<std::remove_pointer_t<decltype(function)>>();
  }

 private:
  static Block WINAPI AllocateOrFail(Arguments... arguments) {
    return Fails() ? nullptr : s_original(arguments...);
  }

  static inline Block(WINAPI* s_original)(Arguments...) = function;

  const CImportPatch m_patch;
};

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
  // The test's own bookkeeping and the language's runtime need memory here.
  g_uncounted = GetCurrentThreadId();
  CStart& start = g_starts[g_threadCount];
  start = {function, argument};
  const uintptr_t thread = g_begin(security, stack, &StartCounted, &start, flags, id);
  g_uncounted = 0;
  return thread;
}

/// Runs `action` with the n-th allocation failing, 1 is the first, or with all from it on. False
/// when there were fewer.
bool RunFailing(int n, bool isForGood, const std::function<void()>& action) {
  g_threads[0] = GetCurrentThreadId();
  g_threadCount = 1;
  g_failsForGood = isForGood;
  g_countdown = n;
  g_isArmed = true;
  action();
  g_isArmed = false;
  return g_countdown <= 0;
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

void RunOutOfMemory(CRunChecks& checks, const std::function<bool(const Fail& fail)>& cell,
                    int quickStep) {
  const CImportPatch malloc("msvcrt.dll", "malloc", &Allocate);
  const CAllocator<&HeapAlloc> heap("kernel32.dll", "HeapAlloc");
  const CAllocator<&GlobalAlloc> global("kernel32.dll", "GlobalAlloc");
  const CAllocator<&SysAllocString> string("oleaut32.dll", "SysAllocString");
  const CImportPatch thread("msvcrt.dll", "_beginthreadex", &Begin);
  g_begin = thread.Original<decltype(_beginthreadex)>();
  const CRunSteps steps = RunSteps(quickStep);
  for (const bool isForGood : {false, true}) {
    bool failed = true;
    int n = steps.first;
    for (; failed && !testing::Test::HasFailure(); n += steps.step) {
      SCOPED_TRACE(std::to_string(n) + (isForGood ? " and on" : ""));
      checks.Run([&] {
        failed = cell([&](const std::function<void()>& action) {
          bool result = false;
          CallGuardedDialog([&] {
            result = RunFailing(n, isForGood, action);
            return 0;
          });
          return result;
        });
      });
    }
    std::printf("fewer than %d allocations\n", n);
  }
}
