#pragma once

#include <atldef.h>

#include <atomic>

namespace ATL {

namespace detail {
inline constinit std::atomic<bool> g_bPerUserRegistration = false;
}  // namespace detail

/// Chooses where registration goes from now on: false (the start) to the machine's classes, true to
/// those of the current user.
inline HRESULT AtlSetPerUserRegistration(bool bEnable) noexcept {
  detail::g_bPerUserRegistration = bEnable;
  return S_OK;
}

inline HRESULT AtlGetPerUserRegistration(bool* pbEnabled) noexcept {
  if (pbEnabled == nullptr) {
    return E_POINTER;
  }
  *pbEnabled = detail::g_bPerUserRegistration;
  return S_OK;
}

}  // namespace ATL
