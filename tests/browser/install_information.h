#pragma once

#include <atlbase.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

/// The desktop application's install information in the registry (32-bit view, all users), empty at
/// first and removed at scope end. One test program at a time: the registry is the machine's.
class CInstallInformation {
 public:
  enum class Key { kApplication, kPanelDrivers };

  CInstallInformation() { Remove(); }
  ~CInstallInformation() { Remove(); }
  CInstallInformation(const CInstallInformation&) = delete;
  CInstallInformation& operator=(const CInstallInformation&) = delete;

  /// Creates the key, without a value.
  void Create(Key key) const {
    CRegKey created;
    Create(key, created);
  }
  /// Creates the key with the folder as its value.
  void SetFolder(const std::wstring& folder, Key key = Key::kApplication) const {
    SetValue(REG_SZ, folder.c_str(), static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t)),
             key);
  }
  /// Creates the key with a value of any type and any bytes.
  void SetValue(DWORD type, const void* data, DWORD size, Key key = Key::kApplication) const {
    CRegKey created;
    Create(key, created);
    EXPECT_EQ(
        RegSetValueExW(created, L"FolivoExePath", 0, type, static_cast<const BYTE*>(data), size),
        ERROR_SUCCESS);
  }

 private:
  static void Create(Key key, CRegKey& created) {
    const std::wstring product =
        key == Key::kApplication ? L"Folivo Software" : L"MERLO Panel Drivers";
    const std::wstring path =
        L"Software\\MERLO Technologies\\" + product + L"\\Install Information";
    EXPECT_EQ(created.Create(HKEY_LOCAL_MACHINE, path.c_str(), nullptr, 0,
                             KEY_ALL_ACCESS | KEY_WOW64_32KEY),
              ERROR_SUCCESS);
  }

  static void Remove() {
    CRegKey software;
    EXPECT_EQ(software.Open(HKEY_LOCAL_MACHINE, L"Software", KEY_ALL_ACCESS | KEY_WOW64_32KEY),
              ERROR_SUCCESS);
    const LSTATUS removed = RegDeleteTreeW(software, L"MERLO Technologies");
    EXPECT_TRUE(removed == ERROR_SUCCESS || removed == ERROR_FILE_NOT_FOUND);
  }
};
