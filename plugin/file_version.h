#pragma once

#include <atlstr.h>
#include <windows.h>

#include <optional>

/// Returns the fixed part of a file's version resource; nullopt when the file has none or it cannot
/// be read.
std::optional<VS_FIXEDFILEINFO> ReadFileVersion(const CStringW& path);

/// Returns the file version as four decimal numbers with dots between them, such as "1.0.0.0".
CStringW FormatFileVersion(const VS_FIXEDFILEINFO& version);
