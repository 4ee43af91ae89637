#include "tests/support/process_counts.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <vector>

namespace {

// Handles are multiples of four, and the lowest that is free is given first: behind so many that
// are free there is none in use.
constexpr ULONG_PTR kHandleStep = 4;
constexpr int kHandleGap = 1024;

// Documented nowhere but stable: the process's table of graphics objects, which its environment
// block points to.
constexpr size_t kGdiTableOffset = 0xF8;
constexpr size_t kGdiTableSize = 0x4000;

struct CGdiEntry {
  void* object;
  ULONG owner;
  USHORT unique;
  BYTE type;  // 0 for an entry that is free
  BYTE flags;
  void* data;
};

BOOL CALLBACK CountChild(HWND, LPARAM count) {
  ++*reinterpret_cast<int*>(count);
  return TRUE;
}

BOOL CALLBACK CountTopLevelWindow(HWND window, LPARAM count) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process == GetCurrentProcessId()) {
    CountChild(window, count);
    EnumChildWindows(window, &CountChild, count);
  }
  return TRUE;
}

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

int CountWindows() {
  int count = 0;
  EnumWindows(&CountTopLevelWindow, reinterpret_cast<LPARAM>(&count));
  return count;
}

int CountGdiObjects() {
  // GetGuiResources would do, but Wine answers 0.
  const auto* const block = reinterpret_cast<const BYTE*>(NtCurrentTeb()->ProcessEnvironmentBlock);
  const auto* const table = *reinterpret_cast<const CGdiEntry* const*>(block + kGdiTableOffset);
  return static_cast<int>(std::count_if(table, table + kGdiTableSize,
                                        [](const CGdiEntry& entry) { return entry.type != 0; }));
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
