#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include "download/progress_dialog.h"
#include "ui/question_box.h"

/// Answers of `AskOpenOrSave`. kAnswerNotAsked leaves the navigation to the browser. Every answer
/// that is not listed means Cancel: no file is opened or saved, but the browser's navigation is
/// still cancelled, as for Open and Save.
enum OpenOrSaveAnswer {
  kAnswerOpen = kMessageBoxButton1,
  kAnswerSave = kMessageBoxButton2,
  kAnswerNotAsked = kMessageBoxRefused,  // another question is open in this module
};

/// Asks the user whether to open or save the file. Modal, owned by `owner`.
int AskOpenOrSave(HWND owner);

/// Carries out the user's choice. To save, asks for a path and downloads or copies the file there.
/// To open, downloads it to a temporary file and opens that, or the local file itself, in the
/// desktop application. `dialog` is the one whose PeekContent has returned true for `url`; null for
/// a local file. `extension` with its dot. Modal, owned by `owner`.
void OpenOrSave(HWND owner, const CProgressDialog::Ptr& dialog, bool save, const CStringW& url,
                const CStringW& extension);
