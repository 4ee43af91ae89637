#pragma once

#include <cstringt.h>

namespace ATL {

using CStringW = CStringT<wchar_t>;
using CStringA = CStringT<char>;

}  // namespace ATL

using namespace ATL;  // NOLINT(google-global-names-in-headers): as documented
