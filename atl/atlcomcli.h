#pragma once

// The smart types for COM clients: CComPtr, CComQIPtr, CComBSTR, CComVariant.

#include <atlcombstr.h>
#include <atlcomptr.h>
#include <atlcomvariant.h>
