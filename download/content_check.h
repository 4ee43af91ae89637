#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <cstdint>

#include "download/file_path.h"

/// How many bytes of a file's head the check looks at before a download or in a local file.
inline constexpr int kContentHeadSize = 800;

/// 0 when the `length` bytes at `data` begin with the zero-terminated `prefix`, non-zero otherwise.
int MatchPrefix(const std::uint8_t* data, std::int32_t length, const char* prefix);

/// Whether a file of `extension` (with its dot, case ignored) that begins with the `length` bytes
/// at `data` is a genuine lesson or gallery file. The one rule for downloads and local files.
bool IsValidContent(const std::uint8_t* data, std::int32_t length, const CStringW& extension);

/// Whether the local file's head passes `IsValidContent`; false when it cannot be opened.
bool ValidateLocalFile(const CFilePath& file, const CStringW& extension);
