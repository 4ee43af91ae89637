#pragma once

#include <atlexcept.h>

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

/// Holds a lock, whose Lock does not fail, for its scope.
template <class TLock>
class CComCritSecLock {
 public:
  explicit CComCritSecLock(TLock& cs) noexcept : m_cs(cs) { m_cs.Lock(); }
  ~CComCritSecLock() { m_cs.Unlock(); }
  CComCritSecLock(const CComCritSecLock&) = delete;
  CComCritSecLock& operator=(const CComCritSecLock&) = delete;

 private:
  TLock& m_cs;
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

}  // namespace ATL
