#pragma once

#include <atlbase.h>

#include <new>

/// Calls `function` and turns what it throws into an HRESULT: the one way by which exceptions end
/// where code that knows none called us (the system's dialog code, a thread's start, COM).
template <typename Function>
HRESULT CallGuarded(Function function) {
  try {
    function();
    return S_OK;
  } catch (const CAtlException& e) {
    return FAILED(e.m_hr) ? e.m_hr : E_FAIL;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {  // Whatever it is, it must not go on into code that knows no exceptions.
    return E_FAIL;
  }
}
