#pragma once

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <string>
#include <utility>
#include <vector>

/// Takes the place of this process's registry while it lives, empty at first: whatever the process
/// writes comes here. One at a time.
class CScratchRegistry {
 public:
  using Lines = std::vector<std::wstring>;

  CScratchRegistry() {
    EXPECT_EQ(m_key.Create(HKEY_CURRENT_USER, m_path.c_str()), ERROR_SUCCESS);
    for (const auto& [root, name] : kRoots) {
      CRegKey key;
      EXPECT_EQ(key.Create(m_key, name), ERROR_SUCCESS);
      EXPECT_EQ(RegOverridePredefKey(root, key), ERROR_SUCCESS);
    }
  }
  ~CScratchRegistry() {
    for (const auto& root : kRoots) {
      EXPECT_EQ(RegOverridePredefKey(root.first, nullptr), ERROR_SUCCESS);
    }
    EXPECT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str()), ERROR_SUCCESS);
  }
  CScratchRegistry(const CScratchRegistry&) = delete;
  CScratchRegistry& operator=(const CScratchRegistry&) = delete;

  /// For paths that begin with "HKLM\", "HKCR\" or "HKCU\".
  void Add(const std::wstring& path) const {
    CRegKey key;
    EXPECT_EQ(key.Create(m_key, path.c_str()), ERROR_SUCCESS);
  }
  void Remove(const std::wstring& path) const {
    EXPECT_EQ(RegDeleteTreeW(m_key, path.c_str()), ERROR_SUCCESS);
  }
  void Clear() const {
    for (const auto& root : kRoots) {
      EXPECT_EQ(RegDeleteTreeW(root.first, nullptr), ERROR_SUCCESS);
    }
  }

  /// All keys ("path") and values ("path|name=text", without a name the key's own), sorted: those
  /// below one root, by their paths from there, or those of all roots.
  Lines Dump(const std::wstring& root = L"") const {
    Lines lines;
    AddTree(m_key, root, L"", lines);
    std::sort(lines.begin(), lines.end());
    return lines;
  }

 private:
  /// Adds the lines of a key's child, for which `path` stands, and of all below it.
  static void AddTree(HKEY parent, const std::wstring& child, const std::wstring& path,
                      Lines& lines) {
    CRegKey key;
    EXPECT_EQ(key.Open(parent, child.c_str(), KEY_READ), ERROR_SUCCESS);
    wchar_t name[256];
    wchar_t text[1024];
    const auto next = [&](DWORD index) {
      DWORD nameLength = ARRAYSIZE(name);
      DWORD type = REG_NONE;
      DWORD size = sizeof(text);
      const LSTATUS result = RegEnumValueW(key, index, name, &nameLength, nullptr, &type,
                                           reinterpret_cast<BYTE*>(text), &size);
      if (result != ERROR_SUCCESS) {
        return false;
      }
      EXPECT_EQ(type, DWORD{REG_SZ});
      EXPECT_EQ(size, (std::wcslen(text) + 1) * sizeof(wchar_t)) << "exactly one terminator";
      return true;
    };
    for (DWORD i = 0; next(i); ++i) {
      lines.push_back(path + L"|" + name + L"=" + text);
    }
    for (DWORD i = 0; RegEnumKeyW(key, i, name, ARRAYSIZE(name)) == ERROR_SUCCESS; ++i) {
      const std::wstring below = path.empty() ? name : path + L"\\" + name;
      lines.push_back(below);
      AddTree(key, name, below, lines);
    }
  }

  // HKEYs are no constants for the compiler.
  static inline const std::pair<HKEY, LPCWSTR> kRoots[] = {
      {HKEY_LOCAL_MACHINE, L"HKLM"}, {HKEY_CLASSES_ROOT, L"HKCR"}, {HKEY_CURRENT_USER, L"HKCU"}};
  const std::wstring m_path = L"Software\\FolivoTest" + std::to_wstring(GetCurrentProcessId());
  CRegKey m_key;
};
