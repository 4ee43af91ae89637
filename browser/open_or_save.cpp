#include "browser/open_or_save.h"

#include <shlwapi.h>

#include <optional>
#include <utility>

#include "browser/application_handoff.h"
#include "browser/browser_texts.h"
#include "browser/download_file_name.h"
#include "browser/long_path.h"
#include "browser/notice.h"
#include "browser/save_dialog.h"
#include "download/file_operations.h"
#include "download/ie_frame_library.h"
#include "download/temp_files.h"

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

/// Runs the dialog, which downloads the rest of the file and delivers it to `place`. Returns true
/// when the file was delivered.
bool RunDownload(CProgressDialog& dialog, CSaveChoice& place) {
  dialog.SetTarget(place.path, place.saveState.Detach());
  return dialog.DoModal(GetActiveWindow()) == kDownloadDelivered;
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

  CSaveChoice place;
  if (save) {
    std::optional<CSaveChoice> choice = AskSavePath(owner, isProtected, name, extension);
    if (!choice) {
      return;
    }
    place = std::move(*choice);
  } else {
    place.path = MakeOpenPath(name, extension);
  }

  SetCursor(LoadCursorW(nullptr, IDC_WAIT));
  if (PathIsURLW(url)) {
    if (!dialog || !RunDownload(*dialog, place)) {
      return;
    }
  } else if (!PathExists(CFilePath(url))) {
    ShowNotice(owner, kFileMissingText, url);
    return;
  } else if (save) {
    // A local file is copied without the browser, so its save is cancelled.
    place.saveState.Close();
    // Quirk 20: a failure is not reported.
    CopyFileW(url, place.path, FALSE);
  } else {
    place.path = CFilePath(url);
  }

  if (!save) {
    OpenInApplication(owner, place.path);
  }
}
