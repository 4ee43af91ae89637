#pragma once

#include "download/file_path.h"

/// Copies `path` to `buffer` with every component spelled as the file system stores it ("PROGRA~1"
/// becomes "Program Files") and returns its length in characters. `buffer` holds `bufferLength`
/// characters; when it is null, only the length is returned. Returns 0 on failure and sets the last
/// error: ERROR_INVALID_PARAMETER (the path is missing or too long), ERROR_INVALID_DATA (neither a
/// drive nor a share path) or ERROR_INSUFFICIENT_BUFFER.
DWORD GetLongPathForm(LPCWSTR path, LPWSTR buffer, DWORD bufferLength);

/// Shortens `baseName` when the destination's folder, the name and `extension` (with its dot)
/// together exceed 260 characters. Returns true when it has shortened the name.
bool FitPathLength(const CFilePath& destination, const CStringW& extension, CStringW& baseName);
