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
  typedef CComFakeCriticalSection AutoCriticalSection;
  typedef CComFakeCriticalSection AutoDeleteCriticalSection;
  typedef CComFakeCriticalSection CriticalSection;
  typedef CComMultiThreadModelNoCS ThreadModelNoCS;

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
  typedef CComAutoCriticalSection AutoCriticalSection;
  typedef CComAutoDeleteCriticalSection AutoDeleteCriticalSection;
  typedef CComCriticalSection CriticalSection;
  typedef CComMultiThreadModelNoCS ThreadModelNoCS;

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
  typedef CComFakeCriticalSection AutoCriticalSection;
  typedef CComFakeCriticalSection AutoDeleteCriticalSection;
  typedef CComFakeCriticalSection CriticalSection;
  typedef CComSingleThreadModel ThreadModelNoCS;

  static ULONG WINAPI Increment(LPLONG p) noexcept { return static_cast<ULONG>(++*p); }
  static ULONG WINAPI Decrement(LPLONG p) noexcept { return static_cast<ULONG>(--*p); }
};

// What an object and what the module's globals use. Free threading is the default, as it is the
// one choice that is never wrong.
#if defined(_ATL_SINGLE_THREADED)
typedef CComSingleThreadModel CComObjectThreadModel;
typedef CComSingleThreadModel CComGlobalsThreadModel;
#elif defined(_ATL_APARTMENT_THREADED)
typedef CComSingleThreadModel CComObjectThreadModel;
typedef CComMultiThreadModel CComGlobalsThreadModel;
#else
typedef CComMultiThreadModel CComObjectThreadModel;
typedef CComMultiThreadModel CComGlobalsThreadModel;
#endif

}  // namespace ATL
