#pragma once

// No default, so that no source is compiled for the wrong edition unnoticed.
#ifndef FOLIVO_SE_EDITION
#error "FOLIVO_SE_EDITION is not defined: link to the library base, or define it as 0 or 1"
#endif

/// True in a build of the SE edition. That edition shows "MERLO Folivo SE" in the title of the
/// download dialog, and of a question box that is titled "MERLO Folivo", and has it in the name of
/// its folder for temporary files. Set by the build; constant at run time.
inline constexpr bool kSeEdition = FOLIVO_SE_EDITION != 0;
