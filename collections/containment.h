#pragma once

#include "download/file_path.h"

// What a manifest names stays inside the user's content folder: an archive comes from a page.

/// Whether `path` is `folder` or lies below it (both absolute), without a component that the file
/// system would read as another one, and short enough for the system.
bool IsFolderWithin(const CFilePath& path, const CFilePath& folder);

/// Whether `name` names a plain file in a folder: no separator, colon, device, or dot or blank at
/// its end.
bool IsPlainFileName(const CStringW& name);
