#pragma once

#include <cstringt.h>

namespace ATL {

using CAtlStringW = CStringT<wchar_t, StrTraitATL<wchar_t>>;
using CAtlStringA = CStringT<char, StrTraitATL<char>>;
using CAtlString = CStringT<TCHAR, StrTraitATL<TCHAR>>;

using CStringW = CAtlStringW;
using CStringA = CAtlStringA;
using CString = CAtlString;

}  // namespace ATL

#ifndef _ATL_NO_AUTOMATIC_NAMESPACE
using namespace ATL;  // NOLINT(google-global-names-in-headers): as documented
#endif
