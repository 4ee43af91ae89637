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

/// The modal dialog that shows one download from a URL into a temporary file and, when the
/// transfer has ended, delivers that file.
///
/// Two threads use it: the dialog (browser) thread, and the worker, whose body is
/// `WorkerThreadProc`. The transfer's steps run on the dialog thread under `PeekContent` and then,
/// with the same open request, on the worker, so never on both at once. The threads share no lock,
/// only atomics:
///   the steps, on whichever thread they run, write m_opened, m_checkPending, m_valid, m_complete,
///   m_lengthKnown, m_total, m_received and m_fileInUse; they put m_hSession, m_hRequest and
///   m_hFile, and close what an earlier attempt to open has left in them;
///   the dialog thread clears m_running, sets and clears m_window, sets m_fileLeftToBrowser and
///   closes the three handles;
///   both set m_finished: the worker at its end, the dialog thread when it has posted a result;
///   both change m_gate: the steps tell of a call that can be held up, the dialog thread stops
///   them.
/// Everything else belongs to the dialog thread, or does not change while there is a worker.
///
/// The dialog thread waits neither for the network nor, for more than a moment, for the disk. A
/// worker that is inside such a call when it is stopped is left behind: it keeps the object and the
/// module alive, and when the call returns it closes what it still has, deletes the file that it
/// had open, and ends silently. The dialog thread makes no call for that file any more: a disk that
/// does not answer the worker would not answer it either.
class CProgressDialog : public ATL::CAxDialogImpl<CProgressDialog, ATL::CWindow>,
                        public std::enable_shared_from_this<CProgressDialog> {
 public:
  enum { IDD = IDD_FILE_DOWNLOAD };

  /// The caller's hold on a dialog. Letting go stops a running transfer, and deletes the temporary
  /// file of a dialog that never came to deliver or delete it.
  using Ptr = std::shared_ptr<CProgressDialog>;

  /// A dialog for downloading `url` into the file `tempPath`, which is created by the transfer.
  /// `browserWindow` owns the messages until there is a dialog; null or gone: nothing owns them.
  static Ptr Create(const CStringW& url, const CFilePath& tempPath, HWND browserWindow);

  /// For `Create`: a dialog is always shared with its worker.
  CProgressDialog(const CStringW& url, const CFilePath& tempPath, HWND browserWindow);
  // NOLINTNEXTLINE(modernize-use-override): not every ATL gives the base a virtual destructor
  virtual ~CProgressDialog();
  CProgressDialog(const CProgressDialog&) = delete;
  CProgressDialog& operator=(const CProgressDialog&) = delete;

  /// Opens the URL and judges the head of its body by the content rule of `extension` (with its
  /// dot). Blocks: between two steps it serves clicks and ends after 25 seconds, but a network call
  /// that stalls is waited for. True when the content is genuine; its head is then in the temporary
  /// file and the dialog carries on from there. False: let go of the dialog. Caller's thread,
  /// before DoModal.
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
  friend struct CProgressDialogPeer;  // The unit tests' view of the transfer's state.

  LRESULT OnInitDialog(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled);
  LRESULT OnDownloadFinished(UINT message, WPARAM code, LPARAM lParam, BOOL& handled);
  LRESULT OnOk(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnCancel(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnOpenFolder(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnOpenFile(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnDestroy(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled);

  /// Who closes the file. The worker that is left behind with it deletes it too.
  enum class FileHolder { kSteps, kDialog, kWorkerLeftBehind };

  // The dialog's side (progress_dialog.cpp), dialog thread.
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

  // The transfer (progress_dialog_transfer.cpp): under PeekContent the caller's thread, else the
  // worker.
  void WorkerThreadProc();
  void RunWorkerSteps();
  void CloseLateHandles();
  bool DownloadStep(void* buffer, DWORD size);
  bool OpenTransfer(void* buffer, DWORD size);
  bool OpenRequest();
  bool RefuseStatus();
  void ReadContentLength(void* buffer, DWORD size);
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
  std::atomic<std::int32_t> m_lengthKnown{0};  // the server told the body's length
  std::atomic<std::int32_t> m_finished{0};     // the worker ends: it may be joined
  std::atomic<std::int32_t> m_total{0};        // expected bytes
  std::atomic<std::int32_t> m_received{0};     // bytes written by the worker
  std::atomic<bool> m_running{true};           // the dialog is alive
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
  std::atomic<bool> m_fileInUse{false};          // a call for the file that the dialog cannot take
  std::atomic<bool> m_fileLeftToBrowser{false};  // nobody here deletes it any more
  bool m_tempFileSettled = false;                // delivered, deleted or left to somebody else
  FileHolder m_fileHolder = FileHolder::kSteps;  // decided by StopWorker
  const HWND m_browserWindow;
};
