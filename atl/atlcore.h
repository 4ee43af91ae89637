#pragma once

#include <atlexcept.h>

/// Start of this module's image: supplied by the linker, and the module's handle.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace ATL {

/// Critical section with explicit life: Init before the first use, Term after the last.
class CComCriticalSection {
 public:
  CComCriticalSection() noexcept : m_sec{} {}
  CComCriticalSection(const CComCriticalSection&) = delete;
  CComCriticalSection& operator=(const CComCriticalSection&) = delete;

  /// E_OUTOFMEMORY or another failure code when the system has no resources for it.
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

/// Critical section that lives as long as its object. The constructor throws CAtlException: not for
/// objects at namespace scope, where nobody would catch it. Those use the class above, and set
/// CAtlBaseModule::m_bInitFailed.
class CComAutoCriticalSection : public CComCriticalSection {
 public:
  CComAutoCriticalSection() {
    const HRESULT hr = CComCriticalSection::Init();
    if (FAILED(hr)) {
      AtlThrow(hr);
    }
  }
  ~CComAutoCriticalSection() { CComCriticalSection::Term(); }

 private:
  using CComCriticalSection::Init;
  using CComCriticalSection::Term;
};

/// Holds a lock for its scope. The constructor throws CAtlException when it does not get it.
template <class TLock>
class CComCritSecLock {
 public:
  explicit CComCritSecLock(TLock& cs) : m_cs(cs) {
    const HRESULT hr = m_cs.Lock();
    if (FAILED(hr)) {
      AtlThrow(hr);
    }
  }
  ~CComCritSecLock() { m_cs.Unlock(); }
  CComCritSecLock(const CComCritSecLock&) = delete;
  CComCritSecLock& operator=(const CComCritSecLock&) = delete;

 private:
  TLock& m_cs;
};

/// Knows the handle of the module this code was linked into, which has its resources, too.
class CAtlBaseModule {
 public:
  /// Set when something that every module needs could not be made; such a module does not load.
  static inline bool m_bInitFailed = false;

  constexpr CAtlBaseModule() noexcept = default;

  HINSTANCE GetModuleInstance() const noexcept { return reinterpret_cast<HINSTANCE>(&__ImageBase); }
  HINSTANCE GetResourceInstance() const noexcept { return GetModuleInstance(); }
};

inline constinit CAtlBaseModule _AtlBaseModule;

}  // namespace ATL
