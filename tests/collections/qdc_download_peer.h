#pragma once

#include "collections/qdc_download.h"

/// What the tests see of the control's inside.
struct CQDCDownloadPeer {
  const CQDCDownload& control;

  const CStringW& ContentFolder() const { return control.m_contentFolder; }
  const CStringW& TempFolder() const { return control.m_tempFolder; }
  bool IsReady() const { return control.m_ready; }
};
