#pragma once

#include <atlbase.h>

// Reads the arguments of the browser's BeforeNavigate2 and BeforeNavigate events, whose VARIANT
// types differ between hosts. Everything else works with the plain values that these functions
// return.

/// Whether the event has enough arguments for the functions below.
bool HasNavigationArguments(const DISPPARAMS& params);

/// Returns the navigation's target; null when the argument cannot be converted to a string. The URL
/// ends at the first NUL. Throws CAtlException with the HRESULT of a failed VariantCopy.
CComBSTR GetNavigationUrl(const DISPPARAMS& params);

/// Sets the event's cancel flag, passed as VT_BYREF|VT_BOOL or VT_BYREF|VT_VARIANT. Ignores an
/// argument of another type.
void CancelNavigation(const DISPPARAMS& params);
