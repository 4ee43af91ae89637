#include "bench/helper/import_counter.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "bench/support/program.h"

namespace {

constexpr std::size_t kMostImports = 4096;

// lock inc qword ptr [rip+8] (calls); jmp qword ptr [rip+10] (target); two bytes of padding.
constexpr BYTE kCode[] = {0xF0, 0x48, 0xFF, 0x05, 8, 0, 0, 0, 0xFF, 0x25, 10, 0, 0, 0, 0x90, 0x90};

template <typename T>
T* At(HMODULE module, ULONGLONG offset) {
  return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + offset);
}

/// Not a variable that another DLL exports.
bool IsFunction(const void* address) {
  MEMORY_BASIC_INFORMATION memory = {};
  VirtualQuery(address, &memory, sizeof(memory));
  return (memory.Protect & (PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE |
                            PAGE_EXECUTE_WRITECOPY)) != 0;
}

void WriteSlot(void** slot, void* value) {
  DWORD protection = 0;
  VirtualProtect(static_cast<void*>(slot), sizeof(value), PAGE_READWRITE, &protection);
  *slot = value;
  VirtualProtect(static_cast<void*>(slot), sizeof(value), protection, &protection);
}

}  // namespace

struct CImportCounter::CDetour {
  BYTE code[sizeof(kCode)];
  volatile LONGLONG calls;
  void* target;
};
static_assert(sizeof(kCode) == 16);

CImportCounter::CImportCounter(HMODULE importer)
    : m_detours(
          static_cast<CDetour*>(VirtualAlloc(nullptr, kMostImports * sizeof(CDetour),
                                             MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE))) {
  DemandSuccess(m_detours != nullptr, "VirtualAlloc");
  const auto* const nt = At<const IMAGE_NT_HEADERS>(
      importer, static_cast<ULONGLONG>(At<const IMAGE_DOS_HEADER>(importer, 0)->e_lfanew));
  const auto* library = At<const IMAGE_IMPORT_DESCRIPTOR>(
      importer, nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
  for (; library->Name != 0; ++library) {
    const auto* name = At<const ULONGLONG>(importer, library->OriginalFirstThunk);
    auto** slot = At<void*>(importer, library->FirstThunk);
    for (; *name != 0; ++name, ++slot) {
      if (IsFunction(*slot)) {
        Divert(At<const char>(importer, library->Name),
               IMAGE_SNAP_BY_ORDINAL(*name)
                   ? "#" + std::to_string(IMAGE_ORDINAL(*name))
                   : At<const char>(importer, *name + offsetof(IMAGE_IMPORT_BY_NAME, Name)),
               slot);
      }
    }
  }
  FlushInstructionCache(GetCurrentProcess(), m_detours, m_imports.size() * sizeof(CDetour));
}

CImportCounter::~CImportCounter() {
  for (const CImport& import : m_imports) {
    WriteSlot(import.slot, import.detour->target);
  }
  VirtualFree(m_detours, 0, MEM_RELEASE);
}

void CImportCounter::Divert(const char* library, const std::string& function, void** slot) {
  Demand(m_imports.size() < kMostImports, "too many imports");
  CDetour* const detour = m_detours + m_imports.size();
  std::copy(std::begin(kCode), std::end(kCode), detour->code);
  detour->calls = 0;
  detour->target = *slot;
  m_imports.push_back({library, function, slot, detour});
  WriteSlot(slot, detour);
}

std::vector<CImportCounter::CCount> CImportCounter::Calls() const {
  std::vector<CCount> called;
  for (const CImport& import : m_imports) {
    if (import.detour->calls != 0) {
      called.push_back({import.library, import.function, import.detour->calls});
    }
  }
  return called;
}
