#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <cstdint>

#include "download/file_path.h"

/// Number of bytes at the beginning of a file that are read for the check: by the pre-check of a
/// download, and from a local file.
inline constexpr int kContentHeadSize = 800;

/// Returns 0 when the `length` bytes at `data` begin with the zero-terminated `prefix`, else a
/// value other than 0.
int MatchPrefix(const std::uint8_t* data, std::int32_t length, const char* prefix);

/// Whether a file of `extension` (with its dot, case ignored) that begins with the `length` bytes
/// at `data` is a genuine lesson or gallery file. Used for downloads and for local files. False for
/// every ".qdt" and for every unknown extension.
bool IsValidContent(const std::uint8_t* data, std::int32_t length, const CStringW& extension);

/// Whether the first bytes of a local file pass `IsValidContent`. False when the file cannot be
/// opened.
bool ValidateLocalFile(const CFilePath& file, const CStringW& extension);
