#include "browser/open_or_save.h"

#include <shlwapi.h>

#include <optional>

#include "browser/application_handoff.h"
#include "browser/browser_texts.h"
#include "browser/download_file_name.h"
#include "browser/long_path.h"
#include "browser/save_dialog.h"
#include "download/file_operations.h"
#include "download/file_path.h"
#include "download/ie_frame_library.h"
#include "download/progress_dialog.h"
#include "download/temp_files.h"
#include "ui/notice.h"
#include "ui/question_box.h"

namespace {

// The number of IDI_QUESTION.
constexpr UINT kQuestionIcon = 32514;

/// Returns the path that a download is stored at to be opened: a temporary file with its name.
CFilePath MakeOpenPath(const CStringW& name, const CStringW& extension) {
  CStringW base = RemoveExtension(name);
  CFilePath path = MakeTempFilePath(extension, base);
  if (FitPathLength(path, extension, base)) {
    path = MakeTempFilePath(extension, base);
  }
  return path;
}

/// Runs the dialog, which downloads the rest of the file and delivers it to `place`. Returns
/// whether the dialog ended with kDownloadDelivered.
bool RunDownload(CProgressDialog& dialog, CSaveChoice& place) {
  dialog.SetTarget(place.path, place.saveState.Detach());
  return dialog.DoModal(GetActiveWindow()) == kDownloadDelivered;
}

/// Returns whether the local file exists; shows a message when it does not.
bool FindLocalFile(HWND owner, const CStringW& path) {
  const bool exists = PathExists(CFilePath(path));
  if (!exists) {
    ShowNotice(owner, kFileMissingText, path);
  }
  return exists;
}

void ShowWaitCursor() { SetCursor(LoadCursorW(nullptr, IDC_WAIT)); }

/// Asks for a path, and downloads or copies the file there.
void Save(HWND owner, const CProgressDialog::Ptr& dialog, bool isProtected, const CStringW& url,
          const CStringW& name, const CStringW& extension) {
  std::optional<CSaveChoice> choice = AskSavePath(owner, isProtected, name, extension);
  if (!choice) {
    return;
  }
  ShowWaitCursor();
  if (PathIsURLW(url)) {
    if (dialog) {
      RunDownload(*dialog, *choice);
    }
  } else if (FindLocalFile(owner, url)) {
    // A local file is copied without the browser, so its save is cancelled.
    choice->saveState.Close();
    // Quirk 20: a failure is not reported.
    CopyFileW(url, choice->path, FALSE);
  }
}

/// Opens the file in the desktop application: a download from a temporary file, a local file where
/// it is.
void Open(HWND owner, const CProgressDialog::Ptr& dialog, const CStringW& url, const CStringW& name,
          const CStringW& extension) {
  CSaveChoice place = {MakeOpenPath(name, extension), {}};
  ShowWaitCursor();
  if (!PathIsURLW(url)) {
    if (FindLocalFile(owner, url)) {
      OpenInApplication(owner, CFilePath(url));
    }
  } else if (dialog && RunDownload(*dialog, place)) {
    OpenInApplication(owner, place.path);
  }
}

}  // namespace

int AskOpenOrSave(HWND owner) {
  return ShowCustomMessageBox(owner, kPromptTitle, kPromptText, kQuestionIcon, kPromptOpenLabel,
                              kPromptSaveLabel, kPromptCancelLabel, CStringW(), CStringW(),
                              nullptr);
}

void OpenOrSave(HWND owner, const CProgressDialog::Ptr& dialog, bool save, const CStringW& url,
                const CStringW& extension) {
  const CStringW name = MakeDownloadFileName(owner, url);
  const bool isProtected = CIeFrameLibrary().IsProtectedModeProcess();
  if (save) {
    Save(owner, dialog, isProtected, url, name, extension);
  } else {
    Open(owner, dialog, url, name, extension);
  }
}
