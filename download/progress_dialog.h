#pragma once

#include <atlbase.h>
#include <atlcom.h>
#include <atlhost.h>
#include <atlstr.h>
#include <atlwin.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "download/atomic_handle.h"
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
/// Two threads use it. The dialog (browser) thread runs everything but `WorkerThreadProc`, which is
/// the worker's body; the worker takes over the request that `PeekContent` has opened, so the two
/// never run at once. They share no lock, only atomics:
///   the worker writes m_opened, m_checkPending, m_valid, m_complete, m_lengthKnown, m_total,
///   m_received and, at its end, m_finished; it puts m_hSession, m_hRequest and m_hFile;
///   the dialog thread writes m_running and m_finished and closes the three handles.
/// The dialog never waits for the network. A worker that is left behind in a network call keeps the
/// object and the module alive, finds m_running cleared when the call returns, and ends silently.
///   m_inBlockingCall and m_fileInUse are the worker's: they tell what it cannot be waited for in.
class CProgressDialog : public ATL::CAxDialogImpl<CProgressDialog, ATL::CWindow>,
                        public std::enable_shared_from_this<CProgressDialog> {
 public:
  enum { IDD = IDD_FILE_DOWNLOAD };

  /// The caller's hold on a dialog. Letting go stops a running transfer, and deletes the temporary
  /// file of a dialog that never came to deliver or delete it.
  using Ptr = std::shared_ptr<CProgressDialog>;

  /// A dialog for downloading `url` into the file `tempPath`, which is created by the transfer.
  static Ptr Create(const CStringW& url, const CFilePath& tempPath);

  /// For `Create`: a dialog is always shared with its worker.
  CProgressDialog(const CStringW& url, const CFilePath& tempPath);
  // NOLINTNEXTLINE(modernize-use-override): not every ATL gives the base a virtual destructor
  virtual ~CProgressDialog();
  CProgressDialog(const CProgressDialog&) = delete;
  CProgressDialog& operator=(const CProgressDialog&) = delete;

  /// Opens the URL and judges the head of its body by the content rule of `extension` (with its
  /// dot). Blocks up to 25 seconds, pumping messages. True when the content is genuine; its head is
  /// then in the temporary file and the dialog carries on from there. False: let go of the dialog.
  /// Caller's thread, before DoModal.
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

  // The dialog's side (progress_dialog.cpp), dialog thread.
  void ShowInitialState();
  void StopDownload();
  bool ServeMessagesUntilEnded(boost::thread& worker);
  HANDLE TakeFile();
  void CloseFile();
  void DeliverFile();
  void CompleteProtectedSave();
  void ShellOpen(const CFilePath& path);
  void Abandon();

  // The transfer (download_transfer.cpp): under PeekContent the caller's thread, else the worker.
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
  void ShowMessage(LPCWSTR format, const CStringW& subject) const;
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
  CFilePath m_destPath;          ///< Where to deliver; set before DoModal.
  HANDLE m_saveState = nullptr;  ///< Set before DoModal for a protected-mode save.

 private:
  CStringW m_url;

 public:
  CStringW m_fileName;  ///< Shown while downloading; set before DoModal.

 private:
  std::atomic<HWND> m_window{nullptr};        // the worker's copy of m_hWnd
  std::atomic<bool> m_inBlockingCall{false};  // network or message box: not to be waited for
  std::atomic<bool> m_fileInUse{false};       // a write is under way with the file taken out
  bool m_tempFileSettled = false;             // delivered, deleted or handed over
};
