#pragma once

// The module, its registration and the smart types. Strings are in atlstr.h, windows in atlwin.h
// and atlhost.h, the base classes of COM classes in atlcom.h.

#include <atlalloc.h>
#include <atlcomcli.h>
#include <atlcore.h>
#include <atlexcept.h>
#include <atlhandle.h>
#include <atlregkey.h>
#include <atlsimpcoll.h>

#include "detail/dll_module.h"

#ifndef _ATL_NO_AUTOMATIC_NAMESPACE
using namespace ATL;  // NOLINT(google-global-names-in-headers): as documented
#endif
