#pragma once

// Everything but strings with value semantics (atlstr.h), windows (atlwin.h, atlhost.h) and the
// implementation of COM classes (atlcom.h).

#include <atlalloc.h>
#include <atlcomcli.h>
#include <atlcore.h>
#include <atlexcept.h>
#include <atlhandle.h>
#include <atlregkey.h>
#include <atlsimpcoll.h>

#if __has_include(<atlmodule.h>)
#include <atlmodule.h>
#endif

#ifndef _ATL_NO_AUTOMATIC_NAMESPACE
using namespace ATL;  // NOLINT(google-global-names-in-headers): as documented
#endif
