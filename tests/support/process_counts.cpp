#include "tests/support/process_counts.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <vector>

namespace {

// Handles are multiples of four, and the lowest that is free is given first: behind so many that
// are free there is none in use.
constexpr ULONG_PTR kHandleStep = 4;
constexpr int kHandleGap = 1024;

}  // namespace

int CountHandles() {
  // GetProcessHandleCount would do, but Wine answers 0. And asked for the table of all handles,
  // Wine's server crashes when some process, just starting or ending, has none open.
  int count = 0;
  int gap = 0;
  for (ULONG_PTR value = kHandleStep; gap < kHandleGap; value += kHandleStep) {
    DWORD flags = 0;
    const bool isOpen = GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE;
    count += isOpen ? 1 : 0;
    gap = isOpen ? 0 : gap + 1;
  }
  return count;
}

int CountThreads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof(entry);
  int count = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
    count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
  }
  CloseHandle(snapshot);
  return count;
}

int CountHeapBlocks() {
  std::vector<HANDLE> heaps(64);
  heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
  int count = 0;
  for (const HANDLE heap : heaps) {
    HeapLock(heap);
    PROCESS_HEAP_ENTRY entry = {};
    while (HeapWalk(heap, &entry)) {
      count += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? 1 : 0;
    }
    HeapUnlock(heap);
  }
  return count;
}

size_t CommittedMemory() {
  PROCESS_MEMORY_COUNTERS counters = {};
  counters.cb = sizeof(counters);
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
  return counters.PagefileUsage;
}
