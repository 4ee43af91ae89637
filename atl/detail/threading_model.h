#pragma once

#include <atldef.h>

namespace ATL {

// How an object counts its references.

/// For objects that several threads call.
class CComMultiThreadModel {
 public:
  static ULONG WINAPI Increment(LPLONG p) noexcept {
    return static_cast<ULONG>(::InterlockedIncrement(p));
  }
  static ULONG WINAPI Decrement(LPLONG p) noexcept {
    return static_cast<ULONG>(::InterlockedDecrement(p));
  }
};

/// For objects that live in one apartment.
class CComSingleThreadModel {
 public:
  static ULONG WINAPI Increment(LPLONG p) noexcept { return static_cast<ULONG>(++*p); }
  static ULONG WINAPI Decrement(LPLONG p) noexcept { return static_cast<ULONG>(--*p); }
};

}  // namespace ATL
