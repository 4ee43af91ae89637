#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <string_view>

/// The extension of a URL or path, with its dot, the query left out; empty when it has none.
/// Quirk 5: a dot in a folder counts when only forward slashes follow: "/a.b/file" gives ".b/file".
CStringW GetUrlExtension(const CStringW& url);

/// The same as a part of `url`, without a copy.
std::wstring_view FindUrlExtension(std::wstring_view url);

/// Whether files of this extension (with its dot, case ignored) are taken over from the browser.
bool IsInterceptedExtension(std::wstring_view extension);
