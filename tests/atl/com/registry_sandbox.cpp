#include "registry_sandbox.h"

#include <atlregkey.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <vector>

namespace {

const HKEY kRoots[] = {HKEY_CLASSES_ROOT, HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER};

/// The bytes as characters, with the null characters made visible. Exactly one of them belongs to
/// a string and is not shown; a missing one is.
std::wstring TextOf(const std::vector<BYTE>& data) {
  std::wstring text(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
  if (text.empty() || text.back() != L'\0') {
    return text + L"<unterminated>";
  }
  text.pop_back();
  for (size_t pos; (pos = text.find(L'\0')) != std::wstring::npos;) {
    text.replace(pos, 1, L"|");
  }
  return text;
}

std::wstring ValueText(DWORD type, const std::vector<BYTE>& data) {
  return type == REG_SZ ? L"s:" + TextOf(data) : L"?" + std::to_wstring(type);
}

void DumpValues(HKEY key, const std::wstring& path, std::wstring& result) {
  std::vector<std::wstring> lines;
  for (DWORD index = 0;; ++index) {
    wchar_t name[256];
    DWORD length = ARRAYSIZE(name);
    std::vector<BYTE> data(4096);
    DWORD size = static_cast<DWORD>(data.size());
    DWORD type = 0;
    if (RegEnumValueW(key, index, name, &length, nullptr, &type, data.data(), &size) !=
        ERROR_SUCCESS) {
      break;
    }
    data.resize(size);
    const std::wstring label = length == 0 ? L"" : L" [" + std::wstring(name, length) + L"]";
    lines.push_back(path + label + L" = " + ValueText(type, data) + L"\n");
  }
  std::sort(lines.begin(), lines.end());
  for (const std::wstring& line : lines) {
    result += line;
  }
}

void DumpKeys(HKEY key, const std::wstring& path, std::wstring& result) {
  std::vector<std::wstring> names;
  wchar_t name[256];
  for (DWORD index = 0, length = ARRAYSIZE(name);
       RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) ==
       ERROR_SUCCESS;
       ++index, length = ARRAYSIZE(name)) {
    names.emplace_back(name, length);
  }
  std::sort(names.begin(), names.end());
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
  Override(HKEY_CLASSES_ROOT, L"Classes");
  Override(HKEY_LOCAL_MACHINE, L"Machine");
  Override(HKEY_CURRENT_USER, L"User");
}

CRegistrySandbox::~CRegistrySandbox() {
  for (const HKEY root : kRoots) {
    EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(root, nullptr));
  }
  EXPECT_EQ(ERROR_SUCCESS, RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str()));
}

void CRegistrySandbox::Override(HKEY root, const wchar_t* name) {
  ATL::CRegKey key;
  EXPECT_EQ(ERROR_SUCCESS, key.Create(HKEY_CURRENT_USER, (m_path + L"\\" + name).c_str(), nullptr,
                                      REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS));
  EXPECT_EQ(ERROR_SUCCESS, RegOverridePredefKey(root, key));
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
