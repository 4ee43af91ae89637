#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <optional>

#include "base/scoped_handle.h"
#include "download/file_path.h"
#include "download/ie_frame_library.h"

/// The browser's state of a protected-mode save: cancelled, unless it is handed over.
struct CSaveStateTraits {
  using Handle = HANDLE;
  static Handle Empty() { return nullptr; }
  static void Close(Handle state) { CIeFrameLibrary().CancelSaveFile(state); }
};
using CScopedSaveState = CScopedHandle<CSaveStateTraits>;

/// Where the user chose to save a download.
struct CSaveChoice {
  CFilePath path;
  /// For the dialog's m_saveState; empty for an ordinary save.
  CScopedSaveState saveState;
};

/// The file-type list for downloads of `extension`, with "|" for its NULs; empty for none.
CStringW GetSaveFilter(const CStringW& extension);

/// The same as the common dialog takes it: NUL-separated, ended by two NULs; empty for none.
CStringW GetCommonDialogFilter(const CStringW& extension);

/// Asks where to save `fileName` in the system's save dialog, or in the browser's own when
/// `isProtected`. A choice without an extension gets `extension`; where the system's dialog was
/// given such a name and a file has it, the user is asked whether to replace that. Nothing when the
/// user chose nothing. Modal over `owner`; keeps the process's current directory.
std::optional<CSaveChoice> AskSavePath(HWND owner, bool isProtected, const CStringW& fileName,
                                       const CStringW& extension);
