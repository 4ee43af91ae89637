#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <optional>

#include "base/scoped_handle.h"
#include "download/file_path.h"
#include "download/ie_frame_library.h"

/// Owner of the browser's state of a protected-mode save. Cancels the save, unless the state was
/// detached.
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

/// Returns the save dialog's list of file types for downloads of `extension`, with "|" in the place
/// of NUL characters; empty for no list.
CStringW GetSaveFilter(const CStringW& extension);

/// The same in the form of OPENFILENAMEW: separated by NUL characters and ended by two.
CStringW GetCommonDialogFilter(const CStringW& extension);

/// Asks where to save `fileName`: in the common save dialog, or in the browser's own when
/// `isProtected`. Appends `extension` to a path without one; if such a file exists then, asks
/// whether to replace it (the common dialog only asks about the name as typed; the browser's dialog
/// decides by itself). Returns nullopt when the user cancels. Modal, owned by `owner`. Restores the
/// process's current directory.
std::optional<CSaveChoice> AskSavePath(HWND owner, bool isProtected, const CStringW& fileName,
                                       const CStringW& extension);
