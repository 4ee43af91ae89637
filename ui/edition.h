#pragma once

#ifndef FOLIVO_SE_EDITION
#define FOLIVO_SE_EDITION 0
#endif

/// True in a build of the SE edition, which calls itself "MERLO Folivo SE" in captions and folder
/// names. Fixed when the module is built; nothing changes it at run time.
inline constexpr bool kSeEdition = FOLIVO_SE_EDITION != 0;
