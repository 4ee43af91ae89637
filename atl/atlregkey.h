#pragma once

#include <atlexcept.h>

#include <utility>

namespace ATL {

// NOLINTBEGIN(google-explicit-constructor): ATL documents this conversion

/// Owner of a registry key handle. The functions return Win32 error codes (ERROR_SUCCESS is 0),
/// never throw, and leave the thread's last error alone.
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

  /// Opens an existing key in place of the one held, which stays when this fails.
  LONG Open(HKEY hKeyParent, LPCTSTR lpszKeyName,
            REGSAM samDesired = KEY_READ | KEY_WRITE) noexcept {
    ATLASSERT(hKeyParent != nullptr);
    HKEY hKey = nullptr;
    const LONG nResult = ::RegOpenKeyEx(hKeyParent, lpszKeyName, 0, samDesired, &hKey);
    return nResult == ERROR_SUCCESS ? Replace(hKey, samDesired) : nResult;
  }
  /// Opens a key, made if it is missing; *lpdwDisposition tells which.
  LONG Create(HKEY hKeyParent, LPCTSTR lpszKeyName, LPTSTR lpszClass = nullptr,
              DWORD dwOptions = REG_OPTION_NON_VOLATILE, REGSAM samDesired = KEY_READ | KEY_WRITE,
              LPSECURITY_ATTRIBUTES lpSecAttr = nullptr,
              LPDWORD lpdwDisposition = nullptr) noexcept {
    ATLASSERT(hKeyParent != nullptr);
    HKEY hKey = nullptr;
    const LONG nResult = ::RegCreateKeyEx(hKeyParent, lpszKeyName, 0, lpszClass, dwOptions,
                                          samDesired, lpSecAttr, &hKey, lpdwDisposition);
    return nResult == ERROR_SUCCESS ? Replace(hKey, samDesired) : nResult;
  }

  /// A null value name stands for the key's default value.
  LONG SetValue(LPCTSTR pszValueName, DWORD dwType, const void* pValue, ULONG nBytes) noexcept {
    ATLASSERT(m_hKey != nullptr);
    return ::RegSetValueEx(m_hKey, pszValueName, 0, dwType, static_cast<const BYTE*>(pValue),
                           nBytes);
  }
  /// Name of the iIndex-th subkey. *pnNameLength: room in characters in, length without the
  /// terminator out. ERROR_NO_MORE_ITEMS behind the last one.
  LONG EnumKey(DWORD iIndex, LPTSTR pszName, LPDWORD pnNameLength,
               FILETIME* pftLastWriteTime = nullptr) noexcept {
    ATLASSERT(m_hKey != nullptr);
    FILETIME ft;
    return ::RegEnumKeyEx(m_hKey, iIndex, pszName, pnNameLength, nullptr, nullptr, nullptr,
                          pftLastWriteTime == nullptr ? &ft : pftLastWriteTime);
  }
  /// Deletes a subkey that has no subkeys itself.
  LONG DeleteSubKey(LPCTSTR lpszSubKey) noexcept {
    ATLASSERT(m_hKey != nullptr);
    return ::RegDeleteKeyEx(m_hKey, lpszSubKey, m_samWOW64, 0);
  }
  /// Deletes a subkey with everything below it; stops at the first failure.
  LONG RecurseDeleteKey(LPCTSTR lpszKey) noexcept {
    CRegKey key;
    LONG nResult = key.Open(m_hKey, lpszKey, KEY_READ | KEY_WRITE | m_samWOW64);
    if (nResult != ERROR_SUCCESS) {
      return nResult;
    }
    // Key names have at most 255 characters. Always the first one: each is gone before the next.
    TCHAR szName[256];
    DWORD nLength = 256;
    while (key.EnumKey(0, szName, &nLength) == ERROR_SUCCESS) {
      nResult = key.RecurseDeleteKey(szName);
      if (nResult != ERROR_SUCCESS) {
        return nResult;
      }
      nLength = 256;
    }
    key.Close();
    return DeleteSubKey(lpszKey);
  }

  HKEY m_hKey = nullptr;
  /// KEY_WOW64_32KEY or KEY_WOW64_64KEY as given to Open or Create: deletions use the same view.
  REGSAM m_samWOW64 = 0;

 private:
  LONG Replace(HKEY hKey, REGSAM samDesired) noexcept {
    const LONG nResult = Close();
    m_hKey = hKey;
    m_samWOW64 = samDesired & (KEY_WOW64_32KEY | KEY_WOW64_64KEY);
    return nResult;
  }
};

// NOLINTEND(google-explicit-constructor)

}  // namespace ATL
