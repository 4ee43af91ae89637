#pragma once

#include <windows.h>

#include <string>

/// The desktop application's install information in the registry (32-bit view, all users), empty at
/// first and removed at scope end. One test program at a time: the registry is the machine's.
class CInstallInformation {
 public:
  enum class Key { kApplication, kPanelDrivers };

  CInstallInformation();
  ~CInstallInformation();
  CInstallInformation(const CInstallInformation&) = delete;
  CInstallInformation& operator=(const CInstallInformation&) = delete;

  /// Creates the key, without a value.
  void Create(Key key) const;
  /// Creates the key with the folder as its value.
  void SetFolder(const std::wstring& folder, Key key = Key::kApplication) const;
  /// Creates the key with a value of any type and any bytes.
  void SetValue(DWORD type, const void* data, DWORD size, Key key = Key::kApplication) const;
};
