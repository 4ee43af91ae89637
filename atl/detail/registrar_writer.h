#pragma once

// Writes a script to the registry, or removes what it has written. Throws CAtlException with the
// Win32 code of a call that fails.

#include <atlregkey.h>

#include <atomic>

#include "registrar_script.h"

namespace ATL {

namespace detail {
inline constinit std::atomic<bool> g_bPerUserRegistration = false;
}  // namespace detail

/// Selects where registration writes classes: false, the default, for all users of the machine,
/// true for the current user.
inline HRESULT AtlSetPerUserRegistration(bool bEnable) noexcept {
  detail::g_bPerUserRegistration = bEnable;
  return S_OK;
}

namespace detail {

inline void ThrowIfError(LONG status) {
  ThrowIfFailed(AtlHresultFromWin32(static_cast<DWORD>(status)));
}

/// For removals: a key that does not exist is no failure.
inline void ThrowIfErrorOtherThanMissing(LONG status) {
  if (status != ERROR_FILE_NOT_FOUND) {
    ThrowIfError(status);
  }
}

/// A predefined key, which is not closed.
class CRootKey : public CRegKey {
 public:
  explicit CRootKey(HKEY hKey) noexcept : CRegKey(hKey) {}
  ~CRootKey() { Detach(); }
};

inline bool HasSubkeys(const CRegKey& key) {
  DWORD count = 0;
  ThrowIfError(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, nullptr, nullptr));
  return count != 0;
}

inline void WriteContents(CRegKey& handle, const RegistrarKey& key) {
  for (const auto& [name, text] : key.values) {
    ThrowIfError(handle.SetStringValue(name.c_str(), text.c_str()));
  }
  for (const RegistrarKey& child : key.keys) {
    if (child.forceRemove) {
      ThrowIfErrorOtherThanMissing(handle.RecurseDeleteKey(child.name.c_str()));
    }
    // A key without values may be the system's: do not request write access to it.
    const REGSAM sam = child.values.empty() ? KEY_READ : KEY_READ | KEY_SET_VALUE;
    CRegKey written;
    ThrowIfError(written.Create(handle, child.name.c_str(), nullptr, REG_OPTION_NON_VOLATILE, sam));
    WriteContents(written, child);
  }
}

/// Removes the subkeys that the script has, the deepest first. A key to which another program has
/// added a subkey stays, with its values, unless it is a ForceRemove key.
inline void RemoveContents(CRegKey& handle, const RegistrarKey& key) {
  for (const RegistrarKey& child : key.keys) {
    const wchar_t* const szName = child.name.c_str();
    if (child.forceRemove) {
      ThrowIfErrorOtherThanMissing(handle.RecurseDeleteKey(szName));
      continue;
    }
    CRegKey opened;
    const LONG status = opened.Open(handle, szName, KEY_READ);
    ThrowIfErrorOtherThanMissing(status);
    if (status != ERROR_SUCCESS) {
      continue;
    }
    RemoveContents(opened, child);
    if (!child.noRemove && !HasSubkeys(opened)) {
      opened.Close();
      ThrowIfErrorOtherThanMissing(handle.DeleteSubKey(szName));
    }
  }
}

/// In per-user mode the classes of the user stand for HKEY_CLASSES_ROOT.
inline void RunScript(const RegistrarScript& script, bool bRegister) {
  for (const RegistrarRoot& root : script) {
    CRegKey classes;
    const bool ofUser = root.hKey == HKEY_CLASSES_ROOT && g_bPerUserRegistration;
    if (ofUser) {
      ThrowIfError(classes.Create(HKEY_CURRENT_USER, L"Software\\Classes", nullptr,
                                  REG_OPTION_NON_VOLATILE, KEY_READ));
    }
    CRootKey handle(ofUser ? classes : root.hKey);
    bRegister ? WriteContents(handle, root.top) : RemoveContents(handle, root.top);
  }
}

}  // namespace detail
}  // namespace ATL
