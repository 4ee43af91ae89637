#pragma once

#include <atldef.h>

namespace ATL {

/// The one exception type of the library: a failure code, nothing else.
class CAtlException {
 public:
  explicit CAtlException(HRESULT hr) noexcept : m_hr(hr) {}

  HRESULT m_hr;
};

/// Throws CAtlException(hr).
[[noreturn]] ATL_NOINLINE inline void AtlThrow(HRESULT hr) { throw CAtlException(hr); }

inline HRESULT AtlHresultFromWin32(DWORD nError) noexcept { return HRESULT_FROM_WIN32(nError); }

/// The thread's last error as an HRESULT. A last error of 0 gives S_OK.
inline HRESULT AtlHresultFromLastError() noexcept { return AtlHresultFromWin32(::GetLastError()); }

/// Throws CAtlException with the thread's last error.
[[noreturn]] ATL_NOINLINE inline void AtlThrowLastWin32() { AtlThrow(AtlHresultFromLastError()); }

}  // namespace ATL
