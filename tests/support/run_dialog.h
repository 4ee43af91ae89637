#pragma once

#include <windows.h>

#include <functional>

#include "resources/resource.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/parallel.h"
#include "tests/support/user.h"

/// Runs a dialog of the product modally with a user: a thread that gets the window once it is
/// visible. Dialogs that are open when the user has gone, and do not end by themselves, are
/// cancelled. Gives the dialog's result.
template <typename Dialog>
INT_PTR RunDialog(Dialog& dialog, const std::function<void(HWND window)>& user) {
  const CParallel thread([&] {
    const bool isLesson = Dialog::IDD == IDD_FILE_DOWNLOAD;
    const HWND window = WaitForDialog(isLesson ? kDownloadTitle : kCollectionTitle);
    if (window != nullptr) {
      user(window);
    }
    if (window == nullptr || !WaitUntilGone(window)) {
      for (const HWND open : VisibleDialogs()) {
        PostMessageW(open, WM_COMMAND, IDCANCEL, 0);
      }
    }
  });
  return dialog.DoModal(nullptr);
}
