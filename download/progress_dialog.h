#pragma once

#include <atlbase.h>
#include <atlcom.h>
#include <atlhost.h>
#include <atlstr.h>
#include <atlwin.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "base/scoped_handle.h"
#include "download/atomic_handle.h"
#include "download/blocking_call_gate.h"
#include "download/file_path.h"
#include "resources/resource.h"

namespace boost {
class thread;
}

/// How a download ended: the worker's WM_USER parameter and the result of DoModal.
enum DownloadResult {
  kDownloadDelivered = 1,
  kDownloadCancelled = 2,
  kDownloadFailed = 3,
};

/// The modal dialog that downloads a URL into a temporary file and, at the end, delivers that file.
///
/// Two threads use it: the dialog thread, which is the browser window's, and the worker, which runs
/// `WorkerThreadProc`. The transfer's steps (`DownloadStep` and the functions that it calls) run on
/// the dialog thread during `PeekContent`, and later, with the same open request, on the worker;
/// never on both at once. There is no lock; what both threads use is atomic. Who writes what:
///   the steps: m_opened, m_checkPending, m_valid, m_complete, m_lengthKnown, m_total, m_received,
///     m_fileInUse; m_complete is also cleared by a worker that runs out of memory
///   the steps open m_hSession, m_hRequest and m_hFile. `StopDownload` closes them, and so do the
///     next attempt to open and a worker that was left behind
///   the thread that posts a result: m_finished, just before it posts
///   the dialog thread: m_running, m_window, m_fileLeftToBrowser
///   both threads: m_gate; blocking_call_gate.h explains the protocol
/// All other members are used by the dialog thread only, or do not change while there is a worker.
/// The destructor runs on the thread that releases the last reference, which may be the worker.
///
/// Stopping a transfer never waits for a network call, and once, for at most 200 ms, for a call for
/// the file. A worker that is inside a blocking call then is left behind: it holds the object and
/// the module until the call returns, closes the handles that are still open, deletes the file that
/// it had open, and ends without a message. The dialog thread makes no further call for that file:
/// a disk that blocks the worker would block it, too.
class CProgressDialog : public ATL::CAxDialogImpl<CProgressDialog, ATL::CWindow>,
                        public std::enable_shared_from_this<CProgressDialog> {
 public:
  enum { IDD = IDD_FILE_DOWNLOAD };

  /// The caller's owning pointer. Releasing it stops a running transfer, and deletes the temporary
  /// file unless the dialog has delivered or deleted it, or has left it to the browser.
  using Ptr = std::shared_ptr<CProgressDialog>;

  /// Creates a dialog that downloads `url` into the file `tempPath`, which the transfer creates.
  /// `browserWindow` owns the message boxes until the dialog has a window; they have no owner when
  /// it is null or no longer a window.
  static Ptr Create(const CStringW& url, const CFilePath& tempPath, HWND browserWindow);

  /// Called by `Create` only, since the worker shares ownership of the object.
  CProgressDialog(const CStringW& url, const CFilePath& tempPath, HWND browserWindow);
  // NOLINTNEXTLINE(modernize-use-override): not every ATL gives the base a virtual destructor
  virtual ~CProgressDialog();
  CProgressDialog(const CProgressDialog&) = delete;
  CProgressDialog& operator=(const CProgressDialog&) = delete;

  /// The pre-check: opens the URL, reads the first bytes and checks them by `IsValidContent` for
  /// `extension` (with its dot). Returns true when they are genuine; they are then in the temporary
  /// file, and DoModal continues the same request. On false the caller releases the dialog. Runs on
  /// the caller's thread, before DoModal. Between network calls it dispatches messages and ends
  /// after 25 seconds; a network call that blocks delays both.
  bool PeekContent(const CStringW& extension);

  BEGIN_MSG_MAP(CProgressDialog)
  MESSAGE_HANDLER(WM_INITDIALOG, OnInitDialog)
  MESSAGE_HANDLER(WM_USER, OnDownloadFinished)
  COMMAND_HANDLER(IDOK, 0, OnOk)
  COMMAND_HANDLER(IDCANCEL, 0, OnCancel)
  COMMAND_HANDLER(IDC_OPEN_FOLDER, 0, OnOpenFolder)
  COMMAND_HANDLER(IDC_OPEN_FILE, 0, OnOpenFile)
  MESSAGE_HANDLER(WM_DESTROY, OnDestroy)
  END_MSG_MAP()

 private:
  friend struct CProgressDialogPeer;  // The unit tests' access to private members.

  LRESULT OnInitDialog(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled);
  LRESULT OnDownloadFinished(UINT message, WPARAM code, LPARAM lParam, BOOL& handled);
  LRESULT OnOk(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnCancel(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnOpenFolder(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnOpenFile(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnDestroy(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled);

  /// Who closes the file. A worker that is left behind with the file also deletes it.
  enum class FileHolder { kSteps, kDialog, kWorkerLeftBehind };

  // The dialog (progress_dialog.cpp). Dialog thread.
  void ShowInitialState();
  void StopDownload();
  bool ServeMessagesUntilEnded(boost::thread& worker);
  CScopedHandle<CFileTraits> StopWorker();
  void DeliverFile();
  void DiscardTempFile();
  void CompleteProtectedSave(HANDLE state);
  void CancelProtectedSave();
  void ShellOpen(const CFilePath& path);
  void Abandon();

  // The transfer (progress_dialog_transfer.cpp). Inside PeekContent on the caller's thread, else on
  // the worker.
  void WorkerThreadProc();
  void RunWorkerSteps();
  void CloseLateHandles();
  bool DownloadStep(void* buffer, DWORD size);
  bool OpenTransfer(void* buffer, DWORD size);
  bool OpenRequest();
  bool RefuseStatus();
  bool CreateTempFile();
  bool TransferChunk(void* buffer, DWORD size);
  bool FinishTransfer();
  bool WriteChunk(const void* data, DWORD size);
  void ShowProgress(DWORD written);
  bool ReportFailure(LPCWSTR format, const CStringW& subject);
  static void ShowMessage(HWND owner, LPCWSTR format, const CStringW& subject);
  void DeleteTempFile() const;
  bool IsPeeking() const { return m_hPeekEvent != nullptr; }

  std::atomic<bool> m_opened{false};  // request open and file created: steps now read
  CAtomicInternetHandle m_hSession;
  CAtomicInternetHandle m_hRequest;
  CAtomicFile m_hFile;
  std::atomic<bool> m_checkPending{true};      // the next chunk is the first, to be checked
  std::atomic<std::int32_t> m_complete{0};     // the body has ended
  std::atomic<std::int32_t> m_lengthKnown{0};  // the response has a Content-Length
  std::atomic<std::int32_t> m_finished{0};     // a result was posted: the worker may be joined
  std::atomic<std::int32_t> m_total{0};        // expected bytes
  std::atomic<std::int32_t> m_received{0};     // bytes written by the worker
  std::atomic<bool> m_running{true};           // false: the worker is to stop
  CHandle m_hPeekEvent;                        // set only while PeekContent runs
  CStringW m_extension;                        // selects the content rule
  std::atomic<bool> m_valid{false};            // the first chunk passed its check
  std::shared_ptr<boost::thread> m_thread;
  CFilePath m_tempPath;

 public:
  CFilePath m_destPath;  ///< Where to deliver; set before DoModal.
  /// Set before DoModal for a protected-mode save. The dialog completes or cancels that save.
  HANDLE m_saveState = nullptr;

 private:
  CStringW m_url;

 public:
  CStringW m_fileName;  ///< Shown while downloading; set before DoModal.

 private:
  CBlockingCallGate m_gate{m_running};
  std::atomic<HWND> m_window{nullptr};           // the worker's copy of m_hWnd
  std::atomic<bool> m_fileInUse{false};          // a step calls for the file; m_hFile is empty
  std::atomic<bool> m_fileLeftToBrowser{false};  // the temporary file must not be deleted any more
  bool m_tempFileSettled = false;                // delivered, deleted, or left to browser or worker
  FileHolder m_fileHolder = FileHolder::kSteps;  // set by StopWorker
  const HWND m_browserWindow;
};
