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

// IDI_QUESTION as the number that the box takes.
constexpr UINT kQuestionIcon = 32514;

/// Where a download is put to be opened: a temporary file that has the download's name.
CFilePath MakeOpenPath(const CStringW& name, const CStringW& extension) {
  CStringW base = RemoveExtension(name);
  CFilePath path = MakeTempFilePath(extension, base);
  if (FitPathLength(path, extension, base)) {
    path = MakeTempFilePath(extension, base);
  }
  return path;
}

/// Transfers the rest of the file to `place`. True when it was delivered.
bool RunDownload(CProgressDialog& dialog, CSaveChoice& place) {
  dialog.m_destPath = place.path;
  dialog.m_fileName = place.path.GetFileNamePart();
  // Last: from here on it is the dialog that saves by the state or cancels it.
  dialog.m_saveState = place.saveState.Detach();
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
    // The browser has no part in the copy of a local file.
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
