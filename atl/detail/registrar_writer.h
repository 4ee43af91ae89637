#pragma once

// Writes a parsed script to the registry, and takes it back. Failures of the registry are thrown
// as CAtlException with their Win32 code.

#include <atlexcept.h>
#include <atlregkey.h>

#include "registrar_script.h"

namespace ATL::detail {

inline void ThrowIfFailed(LONG status) {
  if (status != ERROR_SUCCESS) {
    AtlThrow(AtlHresultFromWin32(static_cast<DWORD>(status)));
  }
}

/// For removals: what is not there needs no removing.
inline void ThrowIfFailedOtherThanMissing(LONG status) {
  if (status != ERROR_FILE_NOT_FOUND) {
    ThrowIfFailed(status);
  }
}

/// A root of the registry, which nobody closes.
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

inline void WriteKey(CRegKey& parent, const RegistrarKey& key);

inline void WriteContents(CRegKey& handle, const RegistrarKey& key) {
  for (const RegistrarValue& value : key.values) {
    ThrowIfFailed(handle.SetValue(value.name.c_str(), value.type, value.data.data(),
                                  static_cast<ULONG>(value.data.size())));
  }
  for (const RegistrarKey& child : key.keys) {
    WriteKey(handle, child);
  }
}

inline void WriteKey(CRegKey& parent, const RegistrarKey& key) {
  if (key.deleteOnly || key.forceRemove) {
    ThrowIfFailedOtherThanMissing(parent.RecurseDeleteKey(key.name.c_str()));
  }
  if (key.deleteOnly) {
    return;
  }
  // Keys that are only passed through may belong to the system: do not ask to write to them.
  const REGSAM sam = key.values.empty() ? KEY_READ : KEY_READ | KEY_SET_VALUE;
  CRegKey handle;
  ThrowIfFailed(handle.Create(parent, key.name.c_str(), nullptr, REG_OPTION_NON_VOLATILE, sam));
  WriteContents(handle, key);
}

inline void RemoveKey(CRegKey& parent, const RegistrarKey& key);

inline void RemoveContents(CRegKey& handle, const RegistrarKey& key) {
  for (const RegistrarKey& child : key.keys) {
    RemoveKey(handle, child);
  }
}

/// From the bottom up. What somebody else has put below a key keeps that key, values and all,
/// except where the script claims the whole tree.
inline void RemoveKey(CRegKey& parent, const RegistrarKey& key) {
  if (key.deleteOnly) {
    return;
  }
  if (key.forceRemove && !key.noRemove) {
    ThrowIfFailedOtherThanMissing(parent.RecurseDeleteKey(key.name.c_str()));
    return;
  }
  CRegKey handle;
  const LONG status = handle.Open(parent, key.name.c_str(), KEY_READ);
  ThrowIfFailedOtherThanMissing(status);
  if (status != ERROR_SUCCESS) {
    return;
  }
  RemoveContents(handle, key);
  if (!key.noRemove && !HasSubkeys(handle)) {
    handle.Close();
    ThrowIfFailedOtherThanMissing(parent.DeleteSubKey(key.name.c_str()));
  }
}

inline void WriteScript(const RegistrarScript& script) {
  for (const RegistrarRoot& root : script) {
    CRootKey handle(root.hKey);
    WriteContents(handle, root.top);
  }
}

inline void RemoveScript(const RegistrarScript& script) {
  for (const RegistrarRoot& root : script) {
    CRootKey handle(root.hKey);
    RemoveContents(handle, root.top);
  }
}

}  // namespace ATL::detail
