#pragma once

#include <atlexcept.h>

#include <new>
#include <utility>

namespace ATL::detail {

/// Calls `f`, which returns an HRESULT, and turns whatever it throws into one: nothing may be
/// thrown across a COM interface or out of an exported function.
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

}  // namespace ATL::detail
