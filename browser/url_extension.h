#pragma once

#include <windows.h>

#include <string_view>

/// Returns the beginning of a URL or local path without the query.
std::wstring_view GetUrlPath(LPCWSTR url);

/// Returns the path's extension with its dot; empty when it has none. Quirk 5: only a backslash
/// ends a folder's name: "/a.b/file" gives ".b/file".
std::wstring_view GetPathExtension(std::wstring_view path);

/// Whether the plug-in looks at links to files of this extension (with its dot, case ignored). It
/// takes such a link over from the browser only when the file's content is genuine too
/// (content_check.h).
bool IsInterceptedExtension(std::wstring_view extension);
