#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Lays out up to four existing buttons of `dialog` in one row at the bottom of its client area and
/// gives each its label. An identifier of 0 skips a slot, except the first, which always counts.
///
/// `centre` centres the row, otherwise it ends at the right edge; `keepSize` starts from the
/// buttons' present sizes instead of 60 x 24 pixels (a long label widens its button either way).
/// Returns the width in pixels that the row takes with a gap on both sides.
/// Throws CAtlException: E_OUTOFMEMORY. User-interface thread only.
int LayoutButtonRow(bool centre, HWND dialog, int id1, const CStringW& label1, int id2,
                    const CStringW& label2, int id3, const CStringW& label3, int id4,
                    const CStringW& label4, bool keepSize);
