#include "collections/zip_progress_dialog.h"

#include <commctrl.h>
#include <tinyxml.h>

#include <algorithm>
#include <memory>

#include "base/exception_boundary.h"
#include "base/product_texts.h"
#include "collections/collection_texts.h"
#include "collections/pause.h"
#include "collections/unzip_library.h"
#include "download/file_operations.h"
#include "download/file_path.h"
#include "resources/resource.h"
#include "ui/button_row.h"
#include "ui/notice.h"

namespace {

constexpr UINT_PTR kStartTimer = 0;
constexpr UINT kStartDelayMs = 100;

}  // namespace

CZipProgressDialog::CZipProgressDialog(const CStringW& sourceUrl, const CFilePath& zipPath,
                                       const CFilePath& contentFolder)
    : m_zipPath(zipPath), m_sourceUrl(sourceUrl), m_contentFolder(contentFolder) {}

CZipProgressDialog::~CZipProgressDialog() {
  // EndWithResult was not called when other code has destroyed the window.
  if (m_phase != Phase::kEnded) {
    CloseHandles();
  }
}

LRESULT CZipProgressDialog::OnInitDialog(UINT message, WPARAM wParam, LPARAM lParam,
                                         BOOL& handled) {
  CAxDialogImpl<CZipProgressDialog, CWindow>::OnInitDialog(message, wParam, lParam, handled);
  handled = TRUE;  // The base class sets FALSE, and the system would not set the default focus.
  CenterWindow();
  SetStatus(kDownloadingStage, L"");
  ::EnableWindow(GetDlgItem(IDOK), FALSE);
  ::EnableWindow(GetDlgItem(IDCANCEL), TRUE);
  SetTimer(kStartTimer, kStartDelayMs);
  // On failure the buttons keep their places from the template.
  CallGuarded([this] {
    LayoutButtonRow(true, m_hWnd, IDOK, kOkLabel, IDCANCEL, kCancelCollectionLabel, 0, CStringW(),
                    0, CStringW(), false);
  });
  SendDlgItemMessage(IDC_COLLECTION_PROGRESS, PBM_SETRANGE32, 1, 100);
  return TRUE;
}

LRESULT CZipProgressDialog::OnTimer(UINT, WPARAM, LPARAM, BOOL&) {
  KillTimer(kStartTimer);
  if (m_phase != Phase::kWaiting) {
    return 0;
  }
  // Quirk 61: all of it in this tick. Cancel waits in the queue and comes too late.
  m_phase = Phase::kRunning;
  if (FAILED(CallGuarded([this] { RunPipeline(); })) && m_phase != Phase::kEnded) {
    ShowError(m_shortageText);
  }
  return 0;
}

LRESULT CZipProgressDialog::OnYes(WORD, WORD, HWND, BOOL&) {
  if (m_phase != Phase::kRunning) {
    EndWithResult(kCollectionYes);
  }
  return 0;
}

LRESULT CZipProgressDialog::OnNo(WORD, WORD, HWND, BOOL&) {
  if (m_phase != Phase::kRunning) {
    EndWithResult(kCollectionNo);
  }
  return 0;
}

void CZipProgressDialog::RunPipeline() {
  if (!DownloadArchive()) {
    return;
  }
  m_shortageText = kCannotUnzipText;
  SetStatus(kRetrievingStage, L"");
  SetProgress(0);
  Sleep(kShortPauseMs);
  SetProgress(25);
  Sleep(kShortPauseMs);
  if (!ListZipEntries(m_zipPath.GetText(), &m_entries)) {
    ShowError(kCannotUnzipText);
    return;
  }
  SetProgress(75);
  Sleep(kShortPauseMs);
  SetProgress(100);
  Sleep(kShortPauseMs);

  const auto document = std::make_shared<TiXmlDocument>();
  if (FAILED(ReadManifest(*document))) {
    ShowError(kCannotUnzipText);
    return;
  }
  FinishPipeline(*document);
}

/// Runs the stages after the manifest.
void CZipProgressDialog::FinishPipeline(const TiXmlDocument& document) {
  m_shortageText = kCannotAddText;
  if (FAILED(AddCollections(document))) {
    ShowError(kCannotAddText);
    return;
  }
  AskToView();
}

/// Asks, in the dialog itself, whether to view the collections. Its buttons then end the dialog.
void CZipProgressDialog::AskToView() {
  m_phase = Phase::kAsking;
  SetStatus(kCompletedStage, kViewQuestion);
  ::EnableWindow(GetDlgItem(IDOK), TRUE);
  SetDlgItemText(IDOK, kYesLabel);
  ::EnableWindow(GetDlgItem(IDCANCEL), TRUE);
  SetDlgItemText(IDCANCEL, kNoLabel);
}

void CZipProgressDialog::SetStatus(LPCWSTR title, LPCWSTR subtitle) {
  SetDlgItemText(IDC_COLLECTION_TITLE, title);
  SetDlgItemText(IDC_COLLECTION_SUBTITLE, subtitle);
}

void CZipProgressDialog::SetProgress(int percent) {
  const int position = std::clamp(percent, 0, 100);
  SendDlgItemMessage(IDC_COLLECTION_PROGRESS, PBM_SETPOS, static_cast<WPARAM>(position));
}

void CZipProgressDialog::ShowError(LPCWSTR text) {
  if (HasWindow()) {
    ::MessageBoxW(m_hWnd, text, kProductName, MB_ICONHAND);
  }
  EndWithResult(kCollectionFailed);
}

void CZipProgressDialog::ShowArchiveError(LPCWSTR format) {
  if (HasWindow()) {
    ShowFormatted(m_hWnd, MB_ICONHAND, format, m_zipPath.GetText());
  }
  EndWithResult(kCollectionFailed);
}

/// Returns false when the window was destroyed while a system dialog dispatched messages. ATL
/// clears m_hWnd later, when the outermost message handler has returned.
bool CZipProgressDialog::HasWindow() const { return ::IsWindow(m_hWnd) != FALSE; }

void CZipProgressDialog::EndWithResult(int code) {
  if (m_phase == Phase::kEnded) {
    return;
  }
  m_phase = Phase::kEnded;
  CloseHandles();
  if (code == kCollectionFailed) {
    CallGuarded([this] { DeleteFileForced(m_zipPath); });  // Whatever fails, the dialog ends.
  }
  if (HasWindow()) {
    EndDialog(code);
  }
}

/// Closes the transfer's handles. Quirk 65: does not reset the members, which nothing uses after
/// this.
void CZipProgressDialog::CloseHandles() {
  if (m_hFile != INVALID_HANDLE_VALUE) {
    CloseHandle(m_hFile);  // Null when no file was created: CloseHandle then only returns FALSE.
  }
  if (m_hRequest != nullptr) {
    InternetCloseHandle(m_hRequest);
  }
  if (m_hSession != nullptr) {
    InternetCloseHandle(m_hSession);
  }
}
