#pragma once

#include <atlbase.h>
#include <atlstr.h>

// The arguments of the browser's BeforeNavigate2 and BeforeNavigate events, which hosts send in
// several shapes. Read once here; behind it there are only plain values.

/// Whether the event has the arguments that are read here.
bool HasNavigationArguments(const DISPPARAMS& params);

/// The navigation's target; empty when the argument cannot be told as a text, or without memory for
/// it. Throws CAtlException with VariantCopy's failure.
CStringW GetNavigationUrl(const DISPPARAMS& params);

/// Sets the event's cancel flag, whichever by-reference shape it has; other shapes stay alone.
void CancelNavigation(const DISPPARAMS& params);
