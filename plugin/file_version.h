#pragma once

#include <atlstr.h>
#include <windows.h>

#include <optional>

/// The fixed part of a file's version resource; nothing when it has none or cannot be read.
std::optional<VS_FIXEDFILEINFO> ReadFileVersion(const CStringW& path);

/// The file version as four decimal numbers with dots between them.
CStringW FormatFileVersion(const VS_FIXEDFILEINFO& version);
