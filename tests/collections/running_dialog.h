#pragma once

#include <atlwin.h>

#include "tests/collections/zip_progress_dialog_peer.h"
#include "tests/support/dialog_result.h"

/// The collection dialog that is about to be run, inside CDialogResult::WhileRunning.
inline CZipProgressDialogPeer RunningDialogPeer() {
  auto* const base =
      reinterpret_cast<ATL::CDialogImplBaseT<ATL::CWindow>*>(CDialogResult::Parameter());
  return {*static_cast<CZipProgressDialog*>(base)};
}
