#include "registry_sandbox.h"

#include <atlregkey.h>
#include <gtest/gtest.h>

#include <cwchar>
#include <set>

namespace {

const HKEY kRoots[] = {HKEY_CLASSES_ROOT, HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER};

/// Exactly one null character belongs to a string and is not shown; a missing one is.
std::wstring ValueText(DWORD type, std::wstring text) {
  if (type != REG_SZ || text.empty() || text.back() != L'\0') {
    return L"?" + text;
  }
  text.pop_back();
  return L"s:" + text;
}

void DumpValues(HKEY key, const std::wstring& path, std::wstring& result) {
  std::set<std::wstring> lines;
  for (DWORD index = 0;; ++index) {
    wchar_t name[256];
    DWORD length = ARRAYSIZE(name);
    wchar_t data[1024];
    DWORD size = sizeof(data);
    DWORD type = 0;
    if (RegEnumValueW(key, index, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(data),
                      &size) != ERROR_SUCCESS) {
      break;
    }
    const std::wstring label = length == 0 ? L"" : L" [" + std::wstring(name, length) + L"]";
    lines.insert(path + label + L" = " +
                 ValueText(type, std::wstring(data, size / sizeof(wchar_t))) + L"\n");
  }
  for (const std::wstring& line : lines) {
    result += line;
  }
}

void DumpKeys(HKEY key, const std::wstring& path, std::wstring& result) {
  std::set<std::wstring> names;
  wchar_t name[256];
  while (RegEnumKeyW(key, static_cast<DWORD>(names.size()), name, ARRAYSIZE(name)) ==
         ERROR_SUCCESS) {
    names.insert(name);
  }
  for (const std::wstring& child : names) {
    const std::wstring childPath = path.empty() ? child : path + L"\\" + child;
    ATL::CRegKey childKey;
    ASSERT_EQ(ERROR_SUCCESS, childKey.Open(key, child.c_str(), KEY_READ));
    result += childPath + L"\n";
    DumpValues(childKey, childPath, result);
    DumpKeys(childKey, childPath, result);
  }
}

}  // namespace

CRegistrySandbox::CRegistrySandbox()
    : m_path(L"Software\\FolivoAtlTest-" + std::to_wstring(GetCurrentProcessId())) {
  // HKEY_CURRENT_USER last: the others' keys are made below it.
  for (const HKEY root : kRoots) {
    const std::wstring name = std::to_wstring(reinterpret_cast<ULONG_PTR>(root));
    ATL::CRegKey key;
    EXPECT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, (m_path + L"\\" + name).c_str(), nullptr,
                                        REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS));
    EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(root, key));
  }
}

CRegistrySandbox::~CRegistrySandbox() {
  for (const HKEY root : kRoots) {
    EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(root, nullptr));
  }
  EXPECT_EQ(ERROR_SUCCESS, RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str()));
}

std::wstring CRegistrySandbox::Dump(HKEY root) {
  std::wstring result;
  DumpValues(root, L"", result);
  DumpKeys(root, L"", result);
  return result;
}

void CRegistrySandbox::Put(HKEY root, const wchar_t* key, const wchar_t* value) {
  const auto size = static_cast<DWORD>((std::wcslen(value) + 1) * sizeof(wchar_t));
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(root, key, nullptr, REG_SZ, value, size));
}

std::wstring Lines(std::initializer_list<std::wstring> lines) {
  std::wstring result;
  for (const std::wstring& line : lines) {
    result += line + L"\n";
  }
  return result;
}
