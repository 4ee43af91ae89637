// A library that is loaded into a program to make up for one difference of Wine 8: there a
// successful InternetOpenUrlW sets an error code, where Windows sets none. The plug-in judges by
// that code, as it must.

#include <windows.h>
#include <winternl.h>
// After the above.
#include <wininet.h>

#include <bit>
#include <cstring>
#include <iterator>

namespace {

constexpr wchar_t kPlugin[] = L"FolivoPlugin.dll";

decltype(&InternetOpenUrlW) g_open = nullptr;

HINTERNET WINAPI OpenUrl(HINTERNET session, LPCWSTR url, LPCWSTR headers, DWORD headersLength,
                         DWORD flags, DWORD_PTR context) {
  const HINTERNET request = g_open(session, url, headers, headersLength, flags, context);
  if (request != nullptr) {
    SetLastError(ERROR_SUCCESS);
  }
  return request;
}

/// The entry of a module's import table that holds `function`; null when it does not import it.
void* FindImport(BYTE* image, const void* function) {
  IMAGE_DOS_HEADER dos;
  std::memcpy(&dos, image, sizeof(dos));
  IMAGE_NT_HEADERS nt;
  std::memcpy(&nt, image + dos.e_lfanew, sizeof(nt));
  const auto& table = nt.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (const BYTE* at = image + table.VirtualAddress;; at += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
    IMAGE_IMPORT_DESCRIPTOR entry;
    std::memcpy(&entry, at, sizeof(entry));
    if (entry.Name == 0) {
      return nullptr;
    }
    for (BYTE* slot = image + entry.FirstThunk;; slot += sizeof(void*)) {
      void* target = nullptr;
      std::memcpy(&target, slot, sizeof(target));
      if (target == nullptr) {
        break;
      }
      if (target == function) {
        return slot;
      }
    }
  }
}

void Replace(void* slot, void* value) {
  DWORD protection = 0;
  VirtualProtect(slot, sizeof(value), PAGE_READWRITE, &protection);
  std::memcpy(slot, &value, sizeof(value));
  VirtualProtect(slot, sizeof(value), protection, &protection);
}

// Of ntdll, documented but in no header of this toolchain.
struct LoadedData {
  ULONG flags;
  const UNICODE_STRING* fullName;
  const UNICODE_STRING* baseName;
  void* base;
  ULONG size;
};
constexpr ULONG kLoaded = 1;
using Callback = void(CALLBACK*)(ULONG reason, const LoadedData* data, void* context);
using RegisterFn = LONG(NTAPI*)(ULONG flags, Callback callback, void* context, void** cookie);

void CALLBACK OnLibrary(ULONG reason, const LoadedData* data, void*) {
  if (reason != kLoaded ||
      _wcsnicmp(data->baseName->Buffer, kPlugin, std::size(kPlugin) - 1) != 0) {
    return;
  }
  if (void* const slot = FindImport(static_cast<BYTE*>(data->base), std::bit_cast<void*>(g_open))) {
    Replace(slot, std::bit_cast<void*>(&OpenUrl));
  }
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) {
    return TRUE;
  }
  g_open = std::bit_cast<decltype(g_open)>(
      GetProcAddress(LoadLibraryW(L"wininet.dll"), "InternetOpenUrlW"));
  const auto registerCallback = std::bit_cast<RegisterFn>(
      GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification"));
  void* cookie = nullptr;
  return g_open != nullptr && registerCallback != nullptr &&
         registerCallback(0, OnLibrary, nullptr, &cookie) == 0;
}
