#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <optional>

#include "download/file_path.h"

/// Where the user chose to save a download.
struct CSaveChoice {
  CFilePath path;
  /// The browser's state of a protected-mode save, for the dialog's m_saveState; null for an
  /// ordinary save.
  HANDLE saveState = nullptr;
};

/// The file-type list for downloads of `extension`, with "|" for its NULs; empty for none.
CStringW GetSaveFilter(const CStringW& extension);

/// The same as the common dialog takes it: NUL-separated, ended by two NULs; empty for none.
CStringW GetCommonDialogFilter(const CStringW& extension);

/// Asks where to save `fileName` in the system's save dialog, or in the browser's own when
/// `isProtected`. Nothing when the user chose nothing. Modal over `owner`.
std::optional<CSaveChoice> AskSavePath(HWND owner, bool isProtected, const CStringW& fileName,
                                       const CStringW& extension);
