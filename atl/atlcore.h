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
    return ::InitializeCriticalSectionAndSpinCount(&m_sec, 0) ? S_OK : AtlHresultFromLastError();
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

/// Critical section that lives as long as its object. The constructor throws CAtlException.
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

/// Critical section with an Init that may fail or never run, and a Term that is safe either way.
class CComSafeDeleteCriticalSection : public CComCriticalSection {
 public:
  CComSafeDeleteCriticalSection() noexcept = default;
  ~CComSafeDeleteCriticalSection() { Term(); }

  HRESULT Init() noexcept {
    ATLASSERT(!m_bInitialized);
    const HRESULT hr = CComCriticalSection::Init();
    m_bInitialized = SUCCEEDED(hr);
    return hr;
  }
  HRESULT Term() noexcept {
    if (!m_bInitialized) {
      return S_OK;
    }
    m_bInitialized = false;
    return CComCriticalSection::Term();
  }
  HRESULT Lock() noexcept {
    ATLASSERT(m_bInitialized);
    return CComCriticalSection::Lock();
  }

 private:
  bool m_bInitialized = false;
};

/// Holds a lock from construction (or Lock) to Unlock or the end of the scope.
template <class TLock>
class CComCritSecLock {
 public:
  explicit CComCritSecLock(TLock& cs, bool bInitialLock = true) : m_cs(cs) {
    if (bInitialLock) {
      const HRESULT hr = Lock();
      if (FAILED(hr)) {
        AtlThrow(hr);
      }
    }
  }
  ~CComCritSecLock() {
    if (m_bLocked) {
      Unlock();
    }
  }
  CComCritSecLock(const CComCritSecLock&) = delete;
  CComCritSecLock& operator=(const CComCritSecLock&) = delete;

  HRESULT Lock() noexcept {
    ATLASSERT(!m_bLocked);
    const HRESULT hr = m_cs.Lock();
    m_bLocked = SUCCEEDED(hr);
    return hr;
  }
  void Unlock() noexcept {
    ATLASSERT(m_bLocked);
    m_cs.Unlock();
    m_bLocked = false;
  }

 private:
  TLock& m_cs;
  bool m_bLocked = false;
};

/// Knows the handle of the module this code was linked into and where its resources are.
class CAtlBaseModule {
 public:
  /// Set when something that every module needs could not be made; such a module does not load.
  static inline bool m_bInitFailed = false;

  constexpr CAtlBaseModule() noexcept = default;

  HINSTANCE GetModuleInstance() const noexcept { return reinterpret_cast<HINSTANCE>(&__ImageBase); }
  /// The module itself unless SetResourceInstance named another one.
  HINSTANCE GetResourceInstance() const noexcept {
    return m_hInstResource != nullptr ? m_hInstResource : GetModuleInstance();
  }
  /// Returns the instance used so far. Not for use while another thread loads resources.
  HINSTANCE SetResourceInstance(HINSTANCE hInst) noexcept {
    const HINSTANCE hPrevious = GetResourceInstance();
    m_hInstResource = hInst;
    return hPrevious;
  }

 private:
  HINSTANCE m_hInstResource = nullptr;
};

inline constinit CAtlBaseModule _AtlBaseModule;

}  // namespace ATL
