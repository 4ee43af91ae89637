#include "download/progress_dialog.h"

#include <commctrl.h>

#include <boost/bind/bind.hpp>
#include <boost/thread/thread.hpp>
#include <memory>
#include <utility>

#include "base/edition.h"
#include "base/exception_boundary.h"
#include "base/scoped_handle.h"
#include "download/atomic_handle.h"
#include "download/download_texts.h"
#include "download/file_operations.h"
#include "download/file_path.h"
#include "download/ie_frame_library.h"
#include "download/module_keep_alive.h"
#include "download/shell_open.h"
#include "download/transfer_debug.h"
#include "resources/resource.h"
#include "ui/button_row.h"

namespace {

// How long the dialog thread waits, once, for the worker's call for the file that is in progress.
constexpr ULONGLONG kDiskWaitMs = 200;

// Makes PeekMessageW dispatch sent messages, such as the worker's to the dialog's controls, and
// nothing else.
constexpr DWORD kServeSentMessages = PM_NOREMOVE | PM_QS_SENDMESSAGE;

}  // namespace

CProgressDialog::Ptr CProgressDialog::Create(const CStringW& url, const CFilePath& tempPath,
                                             HWND browserWindow) {
  // Two levels of ownership: the worker shares the inner pointer, so the object exists as long as
  // the worker runs; releasing the caller's pointer calls Abandon at once.
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
  // Registers the progress bar's window class, without which the dialog cannot be created.
  const INITCOMMONCONTROLSEX controls = {sizeof(controls), ICC_PROGRESS_CLASS};
  InitCommonControlsEx(&controls);
  m_dialogThread.Bind();
}

CProgressDialog::~CProgressDialog() {
  StopDownload();
  SignalPeek();
}

void CProgressDialog::Abandon() {
  ATLASSERT(m_dialogThread.MayCall());
  StopDownload();
  // Only a file that this dialog created: another download may use the same name.
  if (m_opened) {
    m_tempFile.DiscardUnlessSettled();
  }
}

void CProgressDialog::SetTarget(const CFilePath& destination, HANDLE saveState) {
  ATLASSERT(m_dialogThread.MayCall() && m_thread == nullptr);
  m_saveState =
      saveState;  // First: the dialog cancels the save even when there is no memory below.
  m_destPath = destination;
  m_fileName = destination.GetFileNamePart();
}

LRESULT CProgressDialog::OnInitDialog(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled) {
  ATLASSERT(m_dialogThread.MayCall() && !m_stepsThread.IsBound());
  CAxDialogImpl<CProgressDialog, CWindow>::OnInitDialog(message, wParam, lParam, handled);
  handled = TRUE;  // The base class sets FALSE, and the system would not set the default focus.
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

  // Quirk 33: never shown again. The worker enables them at the end, when the dialog closes.
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
  ATLASSERT(m_dialogThread.MayCall());
  // Quirk 97: as delivered, although the file is not.
  EndDialog(kDownloadDelivered);
  return 0;
}

LRESULT CProgressDialog::OnCancel(WORD, WORD, HWND, BOOL&) {
  ATLASSERT(m_dialogThread.MayCall());
  if (m_complete != 0) {  // The button reads "Close".
    m_finished = 1;
    PostMessage(WM_USER, kDownloadDelivered);
    return 0;
  }
  TraceTransfer(this, "cancelled");
  SignalPeek();
  StopDownload();
  m_tempFile.Discard();
  EndIfShown(kDownloadCancelled);
  return 0;
}

LRESULT CProgressDialog::OnDownloadFinished(UINT, WPARAM code, LPARAM, BOOL& handled) {
  // With wParam 0 this is the dialog manager's DM_GETDEFID, which has the same number as WM_USER.
  handled = code != 0;
  if (code == 0) {
    return 0;
  }
  ATLASSERT(m_dialogThread.MayCall());
  // Stops the worker first. The result may have been posted before the worker ended, which could
  // then write to the file, or report a failure and delete the file, during the delivery.
  CScopedHandle<CFileTraits> file = StopWorker();
  const bool hasFile = static_cast<bool>(file);
  file.Close();
  // There is no file when an earlier result was handled, or when a call for it has not returned.
  if (hasFile && code != kDownloadFailed) {
    DeliverFile();
  }
  StopDownload();
  if (code == kDownloadFailed) {
    m_tempFile.Discard();
  }
  // Quirk 32: a complete download ends the dialog without waiting for the user. The caller opens a
  // file that was delivered, so the result is a failure when the worker deletes the file.
  const bool isLost = code == kDownloadDelivered && m_tempFile.IsLeftToWorker();
  EndIfShown(isLost ? kDownloadFailed : static_cast<int>(code));
  return 0;
}

/// Ends the dialog, unless a message that was dispatched meanwhile has destroyed its window.
void CProgressDialog::EndIfShown(int code) {
  if (IsWindow()) {
    EndDialog(code);
  }
}

void CProgressDialog::DeliverFile() {
  TraceTransfer(this, "delivers");
  m_tempFile.Settle();
  // Cleared first, as the save may dispatch messages that call this function again.
  if (const HANDLE state = std::exchange(m_saveState, nullptr)) {
    CompleteProtectedSave(state);
    return;
  }
  // Quirk 35: a failed copy is not reported, and the temporary file is deleted after it too.
  CopyFileTo(m_tempPath, m_destPath, false);
  m_tempFile.Delete();
}

void CProgressDialog::CompleteProtectedSave(HANDLE state) {
  // Quirk 37: the temporary file stays. From here on the browser uses it, also after IESaveFile has
  // returned.
  m_tempFile.LeaveToBrowser();
  const CIeFrameLibrary browser;
  // Quirk 36: false only without the function; what the browser's save returns is ignored.
  if (!browser.SaveFile(state, m_tempPath)) {
    browser.CancelSaveFile(state);
    ShowMessage(m_hWnd, kCannotCreateText, m_tempPath.GetText());
  }
}

/// Cancels a protected-mode save that was not completed.
void CProgressDialog::CancelProtectedSave() {
  if (const HANDLE state = std::exchange(m_saveState, nullptr)) {
    CIeFrameLibrary().CancelSaveFile(state);
  }
}

/// Quirk 34: the button is hidden, so this and `OnOpenFolder` are reached by posted commands only.
LRESULT CProgressDialog::OnOpenFile(WORD, WORD, HWND, BOOL&) {
  ShellOpen(m_tempPath);
  return 0;
}

LRESULT CProgressDialog::OnOpenFolder(WORD, WORD, HWND, BOOL&) {
  CallGuarded([this] { ShellOpen(m_tempPath.GetParentFolder()); });
  return 0;
}

void CProgressDialog::ShellOpen(const CFilePath& path) {
  ATLASSERT(m_dialogThread.MayCall());
  OpenInShell(nullptr, path, nullptr);
  m_finished = 1;
  PostMessage(WM_USER, kDownloadDelivered);
}

LRESULT CProgressDialog::OnDestroy(UINT, WPARAM, LPARAM, BOOL& handled) {
  ATLASSERT(m_dialogThread.MayCall());
  // A dialog that goes without a result, ended by OK or destroyed with its owner, has not stopped
  // its worker yet. In this order: a worker that finds no window finds that it is stopped too.
  m_running = false;
  m_window = nullptr;
  // Quirk 38: a result of 1, but not handled, so that the system's own handling runs.
  handled = FALSE;
  return 1;
}

void CProgressDialog::StopDownload() {
  CScopedHandle<CFileTraits> file = StopWorker();
  const bool mayBeWaitedFor = !m_gate.IsLeftBehind();
  // Cleared first, as a message dispatched below may call this function again.
  if (const std::shared_ptr<boost::thread> worker = std::exchange(m_thread, nullptr)) {
    // Guarded because destructors call this function. Joining a thread that has ended does not
    // fail.
    CallGuarded([&] {
      if (m_finished != 0 && mayBeWaitedFor && ServeMessagesUntilEnded(*worker)) {
        worker->join();
      } else {
        // Quirk 31: neither joined nor terminated. The worker ends by itself; the module stays
        // loaded until then.
        TraceTransfer(this, "leaves its worker to end by itself");
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

/// Waits until the worker has ended and meanwhile dispatches the messages that it sends to the
/// dialog: it may be inside SendMessage. Returns false when the wait fails.
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

/// Stops the worker and takes ownership of the file handle. Waits up to kDiskWaitMs for a call for
/// the file that is in progress, as bytes of a write could go to another file that gets the same
/// handle value; after that the worker closes and deletes the file. Empty when there is no file, or
/// when it is left to the worker.
CScopedHandle<CFileTraits> CProgressDialog::StopWorker() {
  // Clears m_running first and stops the gate last: a worker that the gate leaves behind deletes
  // the file, and a worker whose call returns within kDiskWaitMs need not be left behind. Later
  // calls do not wait: the handle has been taken, or the worker closes and deletes what it has
  // opened since.
  m_running = false;
  if (m_tempFile.IsLeftToWorker() || m_gate.IsLeftBehind()) {
    return {};
  }
  const ULONGLONG deadline = GetTickCount64() + kDiskWaitMs;
  HANDLE file = m_hFile.Take();
  // The flag is read after the handle: the worker sets it before it takes the handle.
  while (file == CFileTraits::Empty() && m_fileInUse && !m_gate.IsLeftBehind() &&
         GetTickCount64() < deadline) {
    SwitchToThread();
    file = m_hFile.Take();
  }
  if (file == CFileTraits::Empty()) {
    // The worker may have put it back before m_fileInUse was read. After the stop, a worker that is
    // left behind could be the first to take it, and would delete the file.
    file = m_hFile.Take();
  }
  m_gate.Stop();
  const bool isInUse = m_fileInUse;
  if (file == CFileTraits::Empty()) {
    file = m_hFile.Take();  // The worker may have returned it before the gate was stopped.
  }
  if (file == CFileTraits::Empty() && isInUse) {
    m_tempFile.LeaveToWorker();
  }
  return CScopedHandle<CFileTraits>(file);
}
