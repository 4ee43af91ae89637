#pragma once

// Basic definitions that every other header of the library builds on.

#include <windows.h>
// windows.h leaves OLE out under WIN32_LEAN_AND_MEAN.
#include <ole2.h>
#include <tchar.h>

#include <cassert>

/// Checks an assumption about the program itself; compiled out when NDEBUG is defined.
#define ATLASSERT(expr) assert(expr)

/// Throws CAtlException(hr) unless `expr` holds; needs atlexcept.h at the point of use.
#define ATLENSURE_THROW(expr, hr) ((expr) ? static_cast<void>(0) : ATL::AtlThrow(hr))

// Around functions that maps declare without "override", which clang would warn of.
#ifdef __clang__
#define ATL_BEGIN_UNMARKED_OVERRIDES \
  _Pragma("clang diagnostic push")   \
      _Pragma("clang diagnostic ignored \"-Winconsistent-missing-override\"")
#define ATL_END_UNMARKED_OVERRIDES _Pragma("clang diagnostic pop")
#else
#define ATL_BEGIN_UNMARKED_OVERRIDES
#define ATL_END_UNMARKED_OVERRIDES
#endif
