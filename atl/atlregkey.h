#pragma once

#include <atlexcept.h>

#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents this conversion

/// Owner of a registry key handle. The functions return Win32 error codes.
class CRegKey {
 public:
  CRegKey() noexcept = default;
  explicit CRegKey(HKEY hKey) noexcept : m_hKey(hKey) {}
  CRegKey(const CRegKey&) = delete;
  ~CRegKey() { Close(); }
  CRegKey& operator=(const CRegKey&) = delete;

  operator HKEY() const noexcept { return m_hKey; }

  HKEY Detach() noexcept { return std::exchange(m_hKey, nullptr); }
  LONG Close() noexcept {
    const HKEY hKey = Detach();
    return hKey == nullptr ? ERROR_SUCCESS : ::RegCloseKey(hKey);
  }

  /// Opens an existing key and closes the one that was open before, unless it fails.
  LONG Open(HKEY hKeyParent, LPCTSTR lpszKeyName,
            REGSAM samDesired = KEY_READ | KEY_WRITE) noexcept {
    ATLASSERT(hKeyParent != nullptr);
    HKEY hKey = nullptr;
    const LONG nResult = ::RegOpenKeyEx(hKeyParent, lpszKeyName, 0, samDesired, &hKey);
    return nResult == ERROR_SUCCESS ? Replace(hKey) : nResult;
  }
  /// The same, but creates the key if it does not exist.
  LONG Create(HKEY hKeyParent, LPCTSTR lpszKeyName, LPTSTR lpszClass = nullptr,
              DWORD dwOptions = REG_OPTION_NON_VOLATILE,
              REGSAM samDesired = KEY_READ | KEY_WRITE) noexcept {
    ATLASSERT(hKeyParent != nullptr);
    HKEY hKey = nullptr;
    const LONG nResult = ::RegCreateKeyEx(hKeyParent, lpszKeyName, 0, lpszClass, dwOptions,
                                          samDesired, nullptr, &hKey, nullptr);
    return nResult == ERROR_SUCCESS ? Replace(hKey) : nResult;
  }

  /// A null or empty value name means the key's default value.
  LONG SetStringValue(LPCTSTR pszValueName, LPCTSTR pszValue, DWORD dwType = REG_SZ) noexcept {
    ATLASSERT(m_hKey != nullptr);
    if (pszValue == nullptr) {
      return ERROR_INVALID_DATA;
    }
    const size_t nBytes = (_tcslen(pszValue) + 1) * sizeof(TCHAR);
    return ::RegSetValueEx(m_hKey, pszValueName, 0, dwType, reinterpret_cast<const BYTE*>(pszValue),
                           static_cast<DWORD>(nBytes));
  }
  /// Deletes a subkey that has no subkeys.
  LONG DeleteSubKey(LPCTSTR lpszSubKey) noexcept {
    ATLASSERT(m_hKey != nullptr);
    return ::RegDeleteKey(m_hKey, lpszSubKey);
  }
  /// Deletes a subkey with its subkeys.
  LONG RecurseDeleteKey(LPCTSTR lpszKey) noexcept {
    ATLASSERT(m_hKey != nullptr);
    return ::RegDeleteTree(m_hKey, lpszKey);
  }

  HKEY m_hKey = nullptr;

 private:
  LONG Replace(HKEY hKey) noexcept {
    const LONG nResult = Close();
    m_hKey = hKey;
    return nResult;
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
