#pragma once

// Writes a script to the registry, or removes what it has written. Throws CAtlException with the
// Win32 code of a call that fails.

#include <atlregkey.h>

#include "registrar_script.h"

namespace ATL::detail {

inline void ThrowIfFailed(LONG status) {
  if (status != ERROR_SUCCESS) {
    AtlThrow(AtlHresultFromWin32(static_cast<DWORD>(status)));
  }
}

/// For removals: a key that does not exist is no failure.
inline void ThrowIfFailedOtherThanMissing(LONG status) {
  if (status != ERROR_FILE_NOT_FOUND) {
    ThrowIfFailed(status);
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
  ThrowIfFailed(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr));
  return count != 0;
}

inline void WriteContents(CRegKey& handle, const RegistrarKey& key) {
  for (const auto& [name, text] : key.values) {
    ThrowIfFailed(handle.SetStringValue(name.c_str(), text.c_str()));
  }
  for (const RegistrarKey& child : key.keys) {
    if (child.forceRemove) {
      ThrowIfFailedOtherThanMissing(handle.RecurseDeleteKey(child.name.c_str()));
    }
    // A key without values may be the system's: do not request write access to it.
    const REGSAM sam = child.values.empty() ? KEY_READ : KEY_READ | KEY_SET_VALUE;
    CRegKey written;
    ThrowIfFailed(
        written.Create(handle, child.name.c_str(), nullptr, REG_OPTION_NON_VOLATILE, sam));
    WriteContents(written, child);
  }
}

/// Removes the subkeys that the script has, the deepest first. A key to which another program has
/// added a subkey stays, with its values, unless it is a ForceRemove key.
inline void RemoveContents(CRegKey& handle, const RegistrarKey& key) {
  for (const RegistrarKey& child : key.keys) {
    const wchar_t* const szName = child.name.c_str();
    if (child.forceRemove) {
      ThrowIfFailedOtherThanMissing(handle.RecurseDeleteKey(szName));
      continue;
    }
    CRegKey opened;
    const LONG status = opened.Open(handle, szName, KEY_READ);
    ThrowIfFailedOtherThanMissing(status);
    if (status != ERROR_SUCCESS) {
      continue;
    }
    RemoveContents(opened, child);
    if (!child.noRemove && !HasSubkeys(opened)) {
      opened.Close();
      ThrowIfFailedOtherThanMissing(handle.DeleteSubKey(szName));
    }
  }
}

inline void RunScript(const RegistrarScript& script, bool bRegister) {
  for (const RegistrarRoot& root : script) {
    CRootKey handle(root.hKey);
    bRegister ? WriteContents(handle, root.top) : RemoveContents(handle, root.top);
  }
}

}  // namespace ATL::detail
