#pragma once

#include <windows.h>

#include <string>

/// A dialog template of this program's resources as a text, read as the system reads it: what a
/// dialog changes when it opens would hide a wrong one. The first line is the dialog
///     STYLE/EXTENDED X Y WIDTH HEIGHT menu '' class '' title '' font 'NAME' SIZE
/// and each further line a control; styles are hexadecimal:
///     STYLE/EXTENDED X Y WIDTH HEIGHT id ID CLASS 'TEXT'
std::wstring DescribeDialogTemplate(UINT id);
