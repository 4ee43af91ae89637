#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <string_view>

/// Returns the extension of a URL or path, with its dot and without the query; empty when it has
/// none. Quirk 5: only a backslash ends a folder's name: "/a.b/file" gives ".b/file".
CStringW GetUrlExtension(const CStringW& url);

/// The same as a view into `url`, without a copy.
std::wstring_view FindUrlExtension(std::wstring_view url);

/// Whether the plug-in looks at links to files of this extension (with its dot, case ignored). It
/// takes such a link over from the browser only when the file's content is genuine too
/// (content_check.h).
bool IsInterceptedExtension(std::wstring_view extension);
