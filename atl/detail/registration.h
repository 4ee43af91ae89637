#pragma once

// What the parts of registration share: the choice between machine and user, and the module's path.

#include <atlexcept.h>

#include <atomic>
#include <string>

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

/// Returns the full path of a loaded module, of any length; null means the host executable. Throws
/// CAtlException for an invalid handle.
inline std::wstring ModulePath(HINSTANCE hInst) {
  for (std::wstring path(MAX_PATH, L'\0');; path.resize(path.size() * 2)) {
    const DWORD length = ::GetModuleFileNameW(hInst, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) {
      AtlThrowLastWin32();
    }
    // A full buffer means that the path was truncated.
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
  }
}

}  // namespace detail
}  // namespace ATL
