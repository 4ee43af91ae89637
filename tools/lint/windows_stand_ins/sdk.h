// Included before everything else: mingw-w64's headers for those of the Windows SDK. To them
// _MSC_VER means that the compiler knows the identifiers of their interfaces, which they do not
// tell it.
#pragma once

// The SDK's <windows.h> would define min and max; here nothing would, as libstdc++ defines
// NOMINMAX.
#ifndef NOMINMAX
#error "NOMINMAX is not defined"
#endif

#pragma push_macro("_MSC_VER")
#undef _MSC_VER
#include <_mingw.h>
#pragma pop_macro("_MSC_VER")

// clang's <intrin.h> would define once more what mingw-w64's <winnt.h> defines.
#define __INTRIN_H

// For GCC only, says <_mingw.h>, but <time.h> uses it.
#ifndef __MINGW_IMPORT
#define __MINGW_IMPORT extern __declspec(dllimport)
#endif
