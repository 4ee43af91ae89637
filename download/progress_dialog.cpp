#include "download/progress_dialog.h"

#include <commctrl.h>
#include <shellapi.h>

#include <boost/bind/bind.hpp>
#include <boost/thread/thread.hpp>
#include <utility>

#include "base/edition.h"
#include "base/exception_boundary.h"
#include "base/product_texts.h"
#include "download/download_texts.h"
#include "download/file_operations.h"
#include "download/ie_frame_library.h"
#include "download/module_keep_alive.h"
#include "ui/button_row.h"

namespace {

// How long the dialog waits for a call for the file that the worker is just making, once.
constexpr ULONGLONG kDiskWaitMs = 200;

// Sent messages, above all those of the worker to the dialog's controls.
constexpr DWORD kServeSentMessages = PM_NOREMOVE | PM_QS_SENDMESSAGE;

}  // namespace

CProgressDialog::Ptr CProgressDialog::Create(const CStringW& url, const CFilePath& tempPath,
                                             HWND browserWindow) {
  // Two layers of ownership: the worker shares the inner one, so that it never touches a dead
  // object; the caller's goes at once when it lets go, whatever the worker is doing.
  auto shared = std::make_shared<CProgressDialog>(url, tempPath, browserWindow);
  CProgressDialog* const dialog = shared.get();
  return {dialog, [shared = std::move(shared)](CProgressDialog* d) mutable {
            d->Abandon();
            shared.reset();
          }};
}

CProgressDialog::CProgressDialog(const CStringW& url, const CFilePath& tempPath, HWND browserWindow)
    : m_tempPath(tempPath),
      m_url(url),
      m_fileName(m_tempPath.GetFileNamePart()),
      m_browserWindow(browserWindow) {
  // Without it the dialog's progress bar has no window class, and there is no dialog.
  const INITCOMMONCONTROLSEX controls = {sizeof(controls), ICC_PROGRESS_CLASS};
  InitCommonControlsEx(&controls);
}

CProgressDialog::~CProgressDialog() {
  StopDownload();
  if (m_hPeekEvent != nullptr) {
    SetEvent(m_hPeekEvent);
    m_hPeekEvent.Close();
  }
}

void CProgressDialog::Abandon() {
  StopDownload();
  // Only a file that this dialog made: another download may have come to use the same name.
  if (m_opened && !m_tempFileSettled) {
    DiscardTempFile();
  }
}

LRESULT CProgressDialog::OnInitDialog(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled) {
  CAxDialogImpl<CProgressDialog, CWindow>::OnInitDialog(message, wParam, lParam, handled);
  handled = TRUE;  // The base leaves the message open, and the default focus would not be set.
  m_window = m_hWnd;
  const HRESULT started = CallGuarded([this] {
    ShowInitialState();
    m_thread = std::make_shared<boost::thread>(
        boost::bind(&CProgressDialog::WorkerThreadProc, shared_from_this()));
  });
  if (FAILED(started)) {
    ShowMessage(m_hWnd, kNotAvailableText, m_url);
    m_finished = 1;
    PostMessage(WM_USER, kDownloadFailed);
  }
  return TRUE;
}

void CProgressDialog::ShowInitialState() {
  SetWindowText(kSeEdition ? kDownloadTitleSe : kDownloadTitle);
  CStringW text;
  text.Format(kDownloadingText, m_fileName.GetString());
  SetDlgItemText(IDC_PROGRESS_TEXT, text);

  // Never shown again: the dialog closes by itself, so there would be nobody left to press them.
  for (const int id : {IDC_OPEN_FILE, IDC_OPEN_FOLDER}) {
    const CWindow button(GetDlgItem(id));
    ::EnableWindow(button, FALSE);
    ::ShowWindow(button, SW_HIDE);
  }
  SendDlgItemMessage(IDC_PROGRESS, PBM_SETRANGE32, 1, 100);
  LayoutButtonRow(true, m_hWnd, IDC_OPEN_FILE, kOpenLabel, IDC_OPEN_FOLDER, kOpenFolderLabel,
                  IDCANCEL, kCancelLabel, 0, CStringW(), false);
}

LRESULT CProgressDialog::OnOk(WORD, WORD, HWND, BOOL&) {
  EndDialog(kDownloadDelivered);
  return 0;
}

LRESULT CProgressDialog::OnCancel(WORD, WORD, HWND, BOOL&) {
  if (m_complete != 0) {  // The button reads "Close".
    m_finished = 1;
    PostMessage(WM_USER, kDownloadDelivered);
    return 0;
  }
  if (m_hPeekEvent != nullptr) {
    SetEvent(m_hPeekEvent);
  }
  StopDownload();
  DiscardTempFile();
  EndDialog(kDownloadCancelled);
  return 0;
}

LRESULT CProgressDialog::OnDownloadFinished(UINT, WPARAM code, LPARAM, BOOL& handled) {
  // The dialog manager's DM_GETDEFID has the same number, with a parameter of 0.
  handled = code != 0;
  if (code == 0) {
    return 0;
  }
  // First: the result may have come early, and a worker that still runs would write on, or report
  // and delete the file that is being delivered.
  CScopedHandle<CFileTraits> file = StopWorker();
  const bool hasFile = static_cast<bool>(file);
  file.Close();
  // Without its file there is nothing to deliver: a result came before, or the disk never answers.
  if (hasFile && code != kDownloadFailed) {
    DeliverFile();
  }
  StopDownload();
  if (code == kDownloadFailed) {
    DiscardTempFile();
  }
  // Whoever is told of a delivered file opens it, so one that the worker deletes is not delivered.
  const bool isLost = code == kDownloadDelivered && m_fileHolder == FileHolder::kWorkerLeftBehind;
  EndDialog(isLost ? kDownloadFailed : static_cast<int>(code));
  return 0;
}

void CProgressDialog::DeliverFile() {
  m_tempFileSettled = true;
  // Taken out first: the save may serve messages, and one of them may come here again.
  if (const HANDLE state = std::exchange(m_saveState, nullptr)) {
    CompleteProtectedSave(state);
    return;
  }
  // Deliberately silent when the copy fails: the temporary file goes all the same.
  CopyFileTo(m_tempPath, m_destPath, false);
  DeleteTempFile();
}

void CProgressDialog::CompleteProtectedSave(HANDLE state) {
  // The temporary file stays: the browser moves it at a time of its own choosing.
  m_fileLeftToBrowser = true;
  const CIeFrameLibrary browser;
  if (!browser.SaveFile(state, m_tempPath)) {
    browser.CancelSaveFile(state);
    ShowMessage(m_hWnd, kCannotCreateText, m_tempPath.GetText());
  }
}

/// Ends a protected-mode save for which there is no file.
void CProgressDialog::CancelProtectedSave() {
  if (const HANDLE state = std::exchange(m_saveState, nullptr)) {
    CIeFrameLibrary().CancelSaveFile(state);
  }
}

LRESULT CProgressDialog::OnOpenFile(WORD, WORD, HWND, BOOL&) {
  ShellOpen(m_tempPath);
  return 0;
}

LRESULT CProgressDialog::OnOpenFolder(WORD, WORD, HWND, BOOL&) {
  CallGuarded([this] { ShellOpen(m_tempPath.GetParentFolder()); });
  return 0;
}

void CProgressDialog::ShellOpen(const CFilePath& path) {
  SHELLEXECUTEINFOW info = {};
  info.cbSize = sizeof(info);
  info.fMask = SEE_MASK_UNICODE | SEE_MASK_NOASYNC;
  info.lpVerb = L"open";
  info.lpFile = path;
  info.nShow = SW_SHOWNORMAL;
  ShellExecuteExW(&info);
  m_finished = 1;
  PostMessage(WM_USER, kDownloadDelivered);
}

LRESULT CProgressDialog::OnDestroy(UINT, WPARAM, LPARAM, BOOL& handled) {
  // A dialog that goes without a result, ended by OK or destroyed with its owner, has not stopped
  // its worker yet. In this order: a worker that finds no window finds that it is stopped too.
  m_running = false;
  m_window = nullptr;
  handled = FALSE;
  return 1;
}

void CProgressDialog::StopDownload() {
  CScopedHandle<CFileTraits> file = StopWorker();
  const bool mayBeWaitedFor = !m_gate.IsLeftBehind();
  // Taken out first: a message served below may come here again.
  if (const std::shared_ptr<boost::thread> worker = std::exchange(m_thread, nullptr)) {
    // Joining a thread that has ended cannot fail; it is guarded as destructors end up here.
    CallGuarded([&] {
      if (m_finished != 0 && mayBeWaitedFor && ServeMessagesUntilEnded(*worker)) {
        worker->join();
      } else {
        // It ends by itself, with the module held until it has.
        KeepModuleUntilThreadEnds(worker->native_handle());
        worker->detach();
      }
    });
  }
  file.Close();
  m_hRequest.Close();
  m_hSession.Close();
  CancelProtectedSave();
}

/// Serves the messages that the worker sends to the dialog until it has ended, as it may still be
/// inside one when it is to be joined. False when that cannot be waited for.
bool CProgressDialog::ServeMessagesUntilEnded(boost::thread& worker) {
  const HANDLE handle = worker.native_handle();
  for (;;) {
    const DWORD wait =
        MsgWaitForMultipleObjectsEx(1, &handle, INFINITE, QS_SENDMESSAGE, MWMO_INPUTAVAILABLE);
    if (wait != WAIT_OBJECT_0 + 1) {
      return wait == WAIT_OBJECT_0;
    }
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, kServeSentMessages);
  }
}

/// Stops the worker and takes the file out of its reach. A call for the file that is under way is
/// let finish, as a write's bytes must not go into a recycled handle; a disk that does not answer
/// is left to the worker. Empty when there is no file, or when it is left to the worker.
CScopedHandle<CFileTraits> CProgressDialog::StopWorker() {
  // The flag alone, before the gate: a worker that the gate leaves behind deletes the file, and one
  // whose call returns in time need not be left behind. The wait comes once: after it the file is
  // taken or left.
  m_running = false;
  if (m_fileHolder == FileHolder::kWorkerLeftBehind) {
    return {};
  }
  const ULONGLONG deadline = GetTickCount64() + kDiskWaitMs;
  HANDLE file = m_hFile.Take();
  // The flag is read after a look at the handle: the worker raises it before it takes that out.
  while (file == CFileTraits::Empty() && m_fileInUse && !m_gate.IsLeftBehind() &&
         GetTickCount64() < deadline) {
    SwitchToThread();
    file = m_hFile.Take();
  }
  if (file == CFileTraits::Empty()) {
    file = m_hFile.Take();  // It may have been put back before the flag was read.
  }
  m_gate.Stop();
  const bool isInUse = m_fileInUse;
  if (file == CFileTraits::Empty()) {
    file = m_hFile.Take();  // Or before the worker was left behind.
  }
  if (file != CFileTraits::Empty()) {
    m_fileHolder = FileHolder::kDialog;
  } else if (isInUse && m_fileHolder == FileHolder::kSteps) {
    m_fileHolder = FileHolder::kWorkerLeftBehind;
  }
  return CScopedHandle<CFileTraits>(file);
}

/// Deletes the file, unless the worker does.
void CProgressDialog::DiscardTempFile() {
  m_tempFileSettled = true;
  if (m_fileHolder != FileHolder::kWorkerLeftBehind) {
    DeleteTempFile();
  }
}

void CProgressDialog::DeleteTempFile() const {
  if (!m_fileLeftToBrowser) {
    DeleteFileForced(m_tempPath);
  }
}
