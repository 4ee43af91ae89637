#pragma once

// A source that is compiled without the flag would take part in the wrong edition unnoticed.
#ifndef FOLIVO_SE_EDITION
#error "FOLIVO_SE_EDITION is not defined: link to the library base, or define it as 0 or 1"
#endif

/// True in a build of the SE edition, which says "MERLO Folivo SE" in the titles of the download
/// dialog and of a question box titled "MERLO Folivo", and in the name of its temporary folder.
/// Fixed when the module is built; nothing changes it at run time.
inline constexpr bool kSeEdition = FOLIVO_SE_EDITION != 0;
