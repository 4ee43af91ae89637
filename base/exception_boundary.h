#pragma once

#include <atlbase.h>

#include <new>

/// Calls `function` and converts an exception that it throws to an HRESULT. Used wherever code that
/// does not support exceptions calls this module: COM, window and dialog procedures, thread starts.
/// atl/ has its own (detail::CallGuarded): genuine ATL has none that product code could call.
template <typename Function>
HRESULT CallGuarded(Function function) {
  try {
    function();
    return S_OK;
  } catch (const CAtlException& e) {
    return FAILED(e.m_hr) ? e.m_hr : E_FAIL;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {  // No exception may leave, whatever its type.
    return E_FAIL;
  }
}
