#pragma once

// Basic definitions that every other header of the library builds on.

#include <windows.h>
// windows.h leaves OLE out under WIN32_LEAN_AND_MEAN.
#include <ole2.h>
#include <tchar.h>

#include <cassert>

/// Checks an assumption about the program itself; compiled out when NDEBUG is defined.
#ifndef ATLASSERT
#define ATLASSERT(expr) assert(expr)
#endif

/// Throws CAtlException(hr) unless `expr` holds; needs atlexcept.h at the point of use.
#define ATLENSURE_THROW(expr, hr) ((expr) ? static_cast<void>(0) : ATL::AtlThrow(hr))
#define ATLENSURE(expr) ATLENSURE_THROW(expr, E_FAIL)

/// The hint has no counterpart in GCC; the vtable is simply emitted.
#define ATL_NO_VTABLE
#define ATL_NOINLINE __attribute__((noinline))
