#pragma once

#include "download/file_path.h"

// Checks that the paths and names in a manifest stay inside the user's content folder. The archive
// comes from a page, so they are untrusted.

/// Whether `path` is `folder` or below it (both absolute), is shorter than MAX_PATH, and below
/// `folder` consists of components for which `IsPlainFileName` is true.
bool IsFolderWithin(const CFilePath& path, const CFilePath& folder);

/// Whether `name` is a plain file name: not empty, without separators, colons and control
/// characters, not a device name, and without a dot or blank at its end, which the file system
/// would drop.
bool IsPlainFileName(const CStringW& name);
