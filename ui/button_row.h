#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Sets the labels of up to four existing buttons of `dialog` and moves them into one row at the
/// bottom of its client area. An identifier of 0 leaves its button out; the first always has a
/// place in the row.
///
/// `centre`: centres the row; otherwise it is aligned to the right edge. `keepSize`: the buttons
/// have at least their current size, otherwise 60 x 24 pixels; a long label makes its button wider
/// in either case. Returns the row's width in pixels, including a gap on both sides. Throws
/// CAtlException (E_OUTOFMEMORY). User-interface thread only.
int LayoutButtonRow(bool centre, HWND dialog, int id1, const CStringW& label1, int id2,
                    const CStringW& label2, int id3, const CStringW& label3, int id4,
                    const CStringW& label4, bool keepSize);
