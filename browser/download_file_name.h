#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// The name, without folder, under which the download of `url` is offered and stored: what follows
/// the last "=", "?", "&" ... of the URL, decoded and cleaned. A name that cannot be decoded is
/// replaced, and the user is told in a message box over `owner`.
CStringW MakeDownloadFileName(HWND owner, const CStringW& url);
