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
#include "download/temp_file_owner.h"
#include "download/transfer_debug.h"
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
/// Two threads use it: the dialog thread, which is the browser window's, and the worker. The head
/// of progress_dialog_transfer.cpp tells what they do in which order. There is no lock; what both
/// threads use is atomic. The destructor runs on the thread that releases the last reference, which
/// may be the worker.
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

  /// Sets where DoModal delivers the file, and shows the destination's file name while
  /// downloading. Called before DoModal. `saveState`: of a protected-mode save, which the dialog
  /// completes or cancels from now on; null for an ordinary save.
  void SetTarget(const CFilePath& destination, HANDLE saveState);

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

  // The dialog (progress_dialog.cpp). Dialog thread.
  void ShowInitialState();
  void StopDownload();
  bool ServeMessagesUntilEnded(boost::thread& worker);
  CScopedHandle<CFileTraits> StopWorker();
  void DeliverFile();
  void EndIfShown(int code);
  void CompleteProtectedSave(HANDLE state);
  void CancelProtectedSave();
  void ShellOpen(const CFilePath& path);
  void Abandon();

  // The transfer (progress_dialog_transfer.cpp): the steps, on the dialog thread inside
  // PeekContent, later on the worker.
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
  bool IsPeeking() const { return m_hPeekEvent != nullptr; }
  void SignalPeek();

  // The twenty members from m_opened to m_fileName stay in this order, which is part of the class's
  // fixed layout: ProgressDialogObject.MembersStandInTheirOrder compares it.

  // Set by the steps: the request is open and the file created, so steps now read.
  std::atomic<bool> m_opened{false};
  // Put by the steps. Closed by StopDownload, by the next attempt to open, and by a worker that was
  // left behind.
  CAtomicInternetHandle m_hSession;
  CAtomicInternetHandle m_hRequest;
  CAtomicFile m_hFile;                     // empty also while a step uses the file
  std::atomic<bool> m_checkPending{true};  // the steps': the next chunk is the first, to be checked
  // The body has ended, and Cancel reads "Close". Set by the steps; cleared by a worker that runs
  // out of memory.
  std::atomic<std::int32_t> m_complete{0};
  std::atomic<std::int32_t> m_lengthKnown{0};  // the steps': the response has a Content-Length
  // 1 once a result was posted: the worker may then be joined, unless it is inside a blocking call.
  // Set by the thread that posts, just before it posts.
  std::atomic<std::int32_t> m_finished{0};
  std::atomic<std::int32_t> m_total{0};     // the steps': expected bytes
  std::atomic<std::int32_t> m_received{0};  // the steps': bytes written by the worker, see Quirk 27
  // false once the dialog thread has told the worker to stop; true even before there is one.
  std::atomic<bool> m_running{true};
  // Not null means that the pre-check runs. Nothing waits for it but the pre-check's own loop.
  CHandle m_hPeekEvent;
  CStringW m_extension;              // selects the content rule
  std::atomic<bool> m_valid{false};  // the steps': the first chunk was genuine and was written
  std::shared_ptr<boost::thread> m_thread;  // the dialog thread's; empty once joined or detached
  CFilePath m_tempPath;
  CFilePath m_destPath;
  HANDLE m_saveState = nullptr;  // of a protected-mode save that is neither completed nor cancelled
  CStringW m_url;
  CStringW m_fileName;  // shown while downloading

  CBlockingCallGate m_gate{m_running};
  CTempFileOwner m_tempFile{m_tempPath};
  std::atomic<HWND> m_window{nullptr};  // the steps' copy of m_hWnd; set by the dialog thread
  // The steps': a call for the file is made; m_hFile is empty.
  std::atomic<bool> m_fileInUse{false};
  const HWND m_browserWindow;
  CBoundThread m_dialogThread;
  CBoundThread m_stepsThread;
};
