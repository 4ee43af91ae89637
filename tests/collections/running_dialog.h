#pragma once

#include <atlwin.h>

#include "tests/collections/zip_progress_dialog_peer.h"

/// The collection dialog that is about to be run, inside CDialogResult::WhileRunning. Once a run.
inline CZipProgressDialogPeer RunningDialogPeer() {
  auto* const base =
      static_cast<ATL::CDialogImplBaseT<ATL::CWindow>*>(ATL::_AtlWinModule.ExtractCreateWndData());
  return {*static_cast<CZipProgressDialog*>(base)};
}
