#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Returns the file name, without folder, for a download of `url`: the text after the URL's last
/// "=", else "?", else "&", and so on, decoded and without characters that Windows forbids in
/// names. When it cannot be decoded, replaces it by "downloadedfile" with the extension, and shows
/// a message box owned by `owner` that says so.
CStringW MakeDownloadFileName(HWND owner, const CStringW& url);
