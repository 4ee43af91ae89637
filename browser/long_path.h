#pragma once

#include "download/file_path.h"

/// Gives `path` with every component spelled as the file system stores it ("PROGRA~1" as
/// "Program Files") and returns its length in characters. `buffer` may be null; it then only
/// measures, else it holds `bufferLength` characters. Zero on failure, with the last error
/// ERROR_INVALID_PARAMETER (missing or over-long path), ERROR_INVALID_DATA (neither drive nor share
/// path) or, returning zero as well, ERROR_INSUFFICIENT_BUFFER.
DWORD GetLongPathForm(LPCWSTR path, LPWSTR buffer, DWORD bufferLength);

/// Shortens `baseName` when the destination's folder, the name and `extension` (with its dot)
/// together exceed the system's limit for a path. True when it had to.
bool FitPathLength(const CFilePath& destination, const CStringW& extension, CStringW& baseName);
