#include "tests/plugin/registry_dump.h"

#include <atlbase.h>

#include <algorithm>
#include <vector>

namespace {

using Dump = std::map<std::wstring, std::wstring>;

std::wstring ValueText(DWORD type, const std::vector<BYTE>& data) {
  std::wstring text = std::to_wstring(type) + L":";
  if (type == REG_SZ || type == REG_EXPAND_SZ) {
    const auto* const characters = reinterpret_cast<const wchar_t*>(data.data());
    return text + std::wstring(characters, wcsnlen(characters, data.size() / sizeof(wchar_t)));
  }
  for (const BYTE byte : data) {
    text += std::to_wstring(byte) + L",";
  }
  return text;
}

void DumpValues(HKEY key, const std::wstring& path, Dump& dump) {
  for (DWORD i = 0;; ++i) {
    wchar_t name[1024] = {};
    DWORD nameLength = ARRAYSIZE(name);
    DWORD type = REG_NONE;
    DWORD size = 0;
    if (RegEnumValueW(key, i, name, &nameLength, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) {
      return;
    }
    std::vector<BYTE> data(size + sizeof(wchar_t));
    nameLength = ARRAYSIZE(name);
    RegEnumValueW(key, i, name, &nameLength, nullptr, &type, data.data(), &size);
    data.resize(size);
    dump[path + L"|" + name] = ValueText(type, data);
  }
}

void DumpKey(HKEY parent, const std::wstring& name, const std::wstring& path, Dump& dump) {
  CRegKey key;
  if (key.Open(parent, name.c_str(), KEY_READ) != ERROR_SUCCESS) {
    return;
  }
  dump[path] = L"";
  DumpValues(key, path, dump);
  for (DWORD i = 0;; ++i) {
    wchar_t child[256] = {};
    if (RegEnumKeyW(key, i, child, ARRAYSIZE(child)) != ERROR_SUCCESS) {
      return;
    }
    DumpKey(key, child, path + L"\\" + child, dump);
  }
}

}  // namespace

Dump DumpRegistry() {
  Dump dump;
  DumpKey(HKEY_LOCAL_MACHINE, L"Software", L"HKLM\\Software", dump);
  DumpKey(HKEY_CURRENT_USER, L"Software", L"HKCU\\Software", dump);
  return dump;
}

Dump Added(const Dump& before, const Dump& after) {
  Dump added;
  std::copy_if(after.begin(), after.end(), std::inserter(added, added.end()),
               [&](const auto& entry) {
                 const auto found = before.find(entry.first);
                 return found == before.end() || found->second != entry.second;
               });
  return added;
}
