#include "tests/support/lookup_patch.h"

#include <cstring>

namespace {

const char* g_name;
FARPROC g_replacement;
decltype(&GetProcAddress) g_getProcAddress;

FARPROC WINAPI Find(HMODULE library, LPCSTR name) {
  const bool isOrdinal = std::bit_cast<ULONG_PTR>(name) <= MAXWORD;
  return !isOrdinal && std::strcmp(name, g_name) == 0 ? g_replacement
                                                      : g_getProcAddress(library, name);
}

}  // namespace

CLookupPatch::CLookupPatch(HMODULE importer, const char* name, FARPROC replacement)
    : m_patch("kernel32.dll", "GetProcAddress", &Find, importer) {
  g_name = name;
  g_replacement = replacement;
  g_getProcAddress = m_patch.Original<decltype(GetProcAddress)>();
}
