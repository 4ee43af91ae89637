#pragma once

#include <atldef.h>

#include <new>
#include <type_traits>
#include <utility>

namespace ATL {

/// The one exception type of the library: a failure code, nothing else.
class CAtlException {
 public:
  explicit CAtlException(HRESULT hr) noexcept : m_hr(hr) {}

  HRESULT m_hr;
};

/// Throws CAtlException(hr).
[[noreturn]] inline void AtlThrow(HRESULT hr) { throw CAtlException(hr); }

inline HRESULT AtlHresultFromWin32(DWORD nError) noexcept { return HRESULT_FROM_WIN32(nError); }

/// The thread's last error as an HRESULT. A last error of 0 gives S_OK.
inline HRESULT AtlHresultFromLastError() noexcept { return AtlHresultFromWin32(::GetLastError()); }

/// Throws CAtlException with the thread's last error.
[[noreturn]] inline void AtlThrowLastWin32() { AtlThrow(AtlHresultFromLastError()); }

namespace detail {

inline void ThrowIfFailed(HRESULT hr) {
  if (FAILED(hr)) {
    AtlThrow(hr);
  }
}

/// Calls `f`, which returns an HRESULT, and converts an exception to one: no exception may leave a
/// COM method or an exported function.
template <class F>
HRESULT CallGuarded(F&& f) noexcept {
  try {
    return std::forward<F>(f)();
  } catch (const CAtlException& e) {
    return FAILED(e.m_hr) ? e.m_hr : E_FAIL;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

/// Sets the out-parameter `pResult` to `value` and returns `hr`. E_POINTER when it is null.
template <class T>
HRESULT SetResult(T* pResult, const std::type_identity_t<T>& value, HRESULT hr = S_OK) noexcept {
  if (pResult == nullptr) {
    return E_POINTER;
  }
  *pResult = value;
  return hr;
}

}  // namespace detail
}  // namespace ATL
