#pragma once

#include <atlcore.h>

namespace ATL {

/// Stands where a critical section is expected when nothing needs guarding.
class CComFakeCriticalSection {
 public:
  HRESULT Init() noexcept { return S_OK; }
  HRESULT Term() noexcept { return S_OK; }
  HRESULT Lock() noexcept { return S_OK; }
  HRESULT Unlock() noexcept { return S_OK; }
};

/// Critical section that its owner initialises and that ends with the owner.
class CComAutoDeleteCriticalSection : public CComSafeDeleteCriticalSection {
 private:
  using CComSafeDeleteCriticalSection::Term;
};

/// Counters for any thread, no locks: for objects that own no state worth a lock.
class CComMultiThreadModelNoCS {
 public:
  using AutoCriticalSection = CComFakeCriticalSection;
  using AutoDeleteCriticalSection = CComFakeCriticalSection;
  using CriticalSection = CComFakeCriticalSection;
  using ThreadModelNoCS = CComMultiThreadModelNoCS;

  static ULONG WINAPI Increment(LPLONG p) noexcept {
    return static_cast<ULONG>(::InterlockedIncrement(p));
  }
  static ULONG WINAPI Decrement(LPLONG p) noexcept {
    return static_cast<ULONG>(::InterlockedDecrement(p));
  }
};

/// Counters and locks for objects that several threads call.
class CComMultiThreadModel {
 public:
  using AutoCriticalSection = CComAutoCriticalSection;
  using AutoDeleteCriticalSection = CComAutoDeleteCriticalSection;
  using CriticalSection = CComCriticalSection;
  using ThreadModelNoCS = CComMultiThreadModelNoCS;

  static ULONG WINAPI Increment(LPLONG p) noexcept {
    return CComMultiThreadModelNoCS::Increment(p);
  }
  static ULONG WINAPI Decrement(LPLONG p) noexcept {
    return CComMultiThreadModelNoCS::Decrement(p);
  }
};

/// Plain counters for objects that live in one apartment.
class CComSingleThreadModel {
 public:
  using AutoCriticalSection = CComFakeCriticalSection;
  using AutoDeleteCriticalSection = CComFakeCriticalSection;
  using CriticalSection = CComFakeCriticalSection;
  using ThreadModelNoCS = CComSingleThreadModel;

  static ULONG WINAPI Increment(LPLONG p) noexcept { return static_cast<ULONG>(++*p); }
  static ULONG WINAPI Decrement(LPLONG p) noexcept { return static_cast<ULONG>(--*p); }
};

// What an object and what the module's globals use. Free threading is the default, as it is the
// one choice that is never wrong.
#if defined(_ATL_SINGLE_THREADED)
using CComObjectThreadModel = CComSingleThreadModel;
using CComGlobalsThreadModel = CComSingleThreadModel;
#elif defined(_ATL_APARTMENT_THREADED)
using CComObjectThreadModel = CComSingleThreadModel;
using CComGlobalsThreadModel = CComMultiThreadModel;
#else
using CComObjectThreadModel = CComMultiThreadModel;
using CComGlobalsThreadModel = CComMultiThreadModel;
#endif

}  // namespace ATL
