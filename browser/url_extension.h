#pragma once

#include <windows.h>

#include <string_view>

/// Returns the beginning of a URL or local path without the query.
std::wstring_view GetUrlPath(LPCWSTR url);

/// Returns the path's extension with its dot; empty when it has none. Quirk 5: only a backslash
/// ends a folder's name: "/a.b/file" gives ".b/file".
std::wstring_view GetPathExtension(std::wstring_view path);
