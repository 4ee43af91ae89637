#include "tests/support/import_patch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace {

// Asked for once, as a test may replace the function that tells it.
const HMODULE g_program = GetModuleHandleW(nullptr);

/// What lies in a loaded module, by its offset.
class CImage {
 public:
  explicit CImage(HMODULE module) : m_base(reinterpret_cast<BYTE*>(module)) {}

  template <typename T>
  T* At(ULONGLONG offset) const {
    return reinterpret_cast<T*>(m_base + offset);
  }

 private:
  BYTE* m_base;
};

/// An entry of an import table, which some linkers align to 4 bytes only.
ULONGLONG ReadEntry(const void* entry) {
  ULONGLONG value = 0;
  std::memcpy(&value, entry, sizeof(value));
  return value;
}

void* FindSlot(const CImage& image, const char* library, const char* function) {
  const auto* const dos = image.At<IMAGE_DOS_HEADER>(0);
  const auto* const nt = image.At<IMAGE_NT_HEADERS>(static_cast<ULONGLONG>(dos->e_lfanew));
  const DWORD directory =
      nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  for (auto* entry = image.At<IMAGE_IMPORT_DESCRIPTOR>(directory); entry->Name != 0; ++entry) {
    if (_stricmp(image.At<const char>(entry->Name), library) != 0) {
      continue;
    }
    ULONGLONG nameAt = entry->OriginalFirstThunk;
    ULONGLONG slotAt = entry->FirstThunk;
    for (; const ULONGLONG name = ReadEntry(image.At<void>(nameAt));
         nameAt += sizeof(IMAGE_THUNK_DATA), slotAt += sizeof(IMAGE_THUNK_DATA)) {
      if (IMAGE_SNAP_BY_ORDINAL(name)) {
        continue;
      }
      const char* const text = image.At<const char>(name + offsetof(IMAGE_IMPORT_BY_NAME, Name));
      if (std::strcmp(text, function) == 0) {
        return image.At<void>(slotAt);
      }
    }
  }
  return nullptr;
}

void WriteSlot(void* slot, void* value) {
  DWORD protection = 0;
  VirtualProtect(slot, sizeof(value), PAGE_READWRITE, &protection);
  std::memcpy(slot, &value, sizeof(value));
  VirtualProtect(slot, sizeof(value), protection, &protection);
}

}  // namespace

CImportPatch::CImportPatch(HMODULE importer, const char* library, const char* function,
                           void* replacement)
    : m_slot(FindSlot(CImage(importer != nullptr ? importer : g_program), library, function)) {
  EXPECT_NE(m_slot, nullptr) << function << " of " << library << " is not imported";
  if (m_slot != nullptr) {
    std::memcpy(&m_original, m_slot, sizeof(m_original));
    WriteSlot(m_slot, replacement);
  }
}

CImportPatch::~CImportPatch() {
  if (m_slot != nullptr) {
    WriteSlot(m_slot, m_original);
  }
}
