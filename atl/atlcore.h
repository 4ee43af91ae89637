#pragma once

#include <atlexcept.h>

#include <string>

/// Start of this module's image, defined by the linker. Its address is the module handle.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace ATL {

/// Critical section. Call Init before the first use, and Term after the last if Init succeeded.
class CComCriticalSection {
 public:
  CComCriticalSection() noexcept : m_sec{} {}
  CComCriticalSection(const CComCriticalSection&) = delete;
  CComCriticalSection& operator=(const CComCriticalSection&) = delete;

  HRESULT Init() noexcept {
    if (::InitializeCriticalSectionAndSpinCount(&m_sec, 0)) {
      return S_OK;
    }
    const HRESULT hr = AtlHresultFromLastError();
    return FAILED(hr) ? hr : E_FAIL;
  }
  HRESULT Term() noexcept {
    ::DeleteCriticalSection(&m_sec);
    return S_OK;
  }
  HRESULT Lock() noexcept {
    ::EnterCriticalSection(&m_sec);
    return S_OK;
  }
  HRESULT Unlock() noexcept {
    ::LeaveCriticalSection(&m_sec);
    return S_OK;
  }

  CRITICAL_SECTION m_sec;
};

/// The module that this code is linked into. It has its own resources.
class CAtlBaseModule {
 public:
  /// Set when a part of the module could not be initialised; DllMain then returns FALSE.
  static inline bool m_bInitFailed = false;

  constexpr CAtlBaseModule() noexcept = default;

  HINSTANCE GetModuleInstance() const noexcept { return reinterpret_cast<HINSTANCE>(&__ImageBase); }
  HINSTANCE GetResourceInstance() const noexcept { return GetModuleInstance(); }
};

inline constinit CAtlBaseModule _AtlBaseModule;

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
