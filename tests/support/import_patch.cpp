#include "tests/support/import_patch.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

BYTE* const g_image = reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr));

template <typename T>
T* At(ULONGLONG offset) {
  return reinterpret_cast<T*>(g_image + offset);
}

void** FindSlot(const char* library, const char* function) {
  const auto* const dos = At<IMAGE_DOS_HEADER>(0);
  const auto* const nt = At<IMAGE_NT_HEADERS>(static_cast<ULONGLONG>(dos->e_lfanew));
  const DWORD directory =
      nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  for (auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(directory); entry->Name != 0; ++entry) {
    if (_stricmp(At<const char>(entry->Name), library) != 0) {
      continue;
    }
    auto* name = At<IMAGE_THUNK_DATA>(entry->OriginalFirstThunk);
    auto* slot = At<IMAGE_THUNK_DATA>(entry->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
        continue;
      }
      const auto* const import = At<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(import->Name), function) == 0) {
        return reinterpret_cast<void**>(&slot->u1.Function);
      }
    }
  }
  return nullptr;
}

void WriteSlot(void** slot, void* value) {
  DWORD protection = 0;
  VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
  *slot = value;
  VirtualProtect(slot, sizeof(*slot), protection, &protection);
}

}  // namespace

CImportPatch::CImportPatch(const char* library, const char* function, void* replacement, int)
    : m_slot(FindSlot(library, function)) {
  EXPECT_NE(m_slot, nullptr) << function << " of " << library << " is not imported";
  if (m_slot != nullptr) {
    m_original = *m_slot;
    WriteSlot(m_slot, replacement);
  }
}

CImportPatch::~CImportPatch() {
  if (m_slot != nullptr) {
    WriteSlot(m_slot, m_original);
  }
}
