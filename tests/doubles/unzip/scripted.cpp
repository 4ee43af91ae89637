// Double of UNZIP32.DLL: its functions pass on what they are given, or are missing.

#include <windows.h>

#include "tests/doubles/unzip/unzip_script.h"

namespace {
CUnzipScript g_script;
}  // namespace

extern "C" {

__declspec(dllexport) CUnzipScript* GetUnzipScript() { return &g_script; }

#ifndef UNZIP_WITHOUT_LIST
__declspec(dllexport) int WINAPI Wiz_SingleEntryUnzip(int includeCount, char** includes,
                                                      int excludeCount, char** excludes,
                                                      DCL* options, USERFUNCTIONS* functions) {
  constexpr int kNotTheWholeArchive = 99;
  if (includeCount != 0 || includes != nullptr || excludeCount != 0 || excludes != nullptr) {
    return kNotTheWholeArchive;
  }
  return g_script.list ? g_script.list(*options, *functions) : 0;
}
#endif

#ifndef UNZIP_WITHOUT_UNZIP
__declspec(dllexport) int WINAPI Wiz_UnzipToMemory(LPSTR archive, LPSTR entry,
                                                   USERFUNCTIONS* functions, UzpBuffer* buffer) {
  return g_script.unzip ? g_script.unzip(archive, entry, *functions, *buffer) : 0;
}
#endif

#ifndef UNZIP_WITHOUT_FREE
__declspec(dllexport) void WINAPI UzpFreeMemBuffer(UzpBuffer* buffer) {
  if (g_script.free) {
    g_script.free(*buffer);
  }
}
#endif

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }
}
