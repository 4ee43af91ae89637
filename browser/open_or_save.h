#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include "download/progress_dialog.h"
#include "ui/message_box.h"

/// Answers of `AskOpenOrSave`; every other answer means to do nothing.
enum OpenOrSaveAnswer {
  kAnswerOpen = kMessageBoxButton1,
  kAnswerSave = kMessageBoxButton2,
  kAnswerNotAsked = kMessageBoxRefused,  // another question is open in this module
};

/// Asks whether to open or save the file that was recognised. Modal over `owner`.
int AskOpenOrSave(HWND owner);

/// Carries out the user's choice: finds the file's place (asking for it when `save`), runs the
/// download, and for an open hands the file to the desktop application. `dialog` has checked the
/// content of `url`; it is empty for a local file. `extension` with its dot. Modal over `owner`.
void OpenOrSave(HWND owner, const CProgressDialog::Ptr& dialog, bool save, const CStringW& url,
                const CStringW& extension);
