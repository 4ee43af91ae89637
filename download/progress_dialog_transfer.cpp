// The transfer of CProgressDialog, and the story of its two threads:
//
// 1. Pre-check, dialog thread. PeekContent makes the steps (DownloadStep) itself until the first
//    bytes are checked. The dialog has no window and no worker yet. Steps never run on two threads.
// 2. Start, dialog thread. OnInitDialog starts the worker, whose binding shares ownership of the
//    object. WorkerThreadProc goes on with the steps, on the request that the pre-check has opened.
// 3. End of the body or failure, worker. It sets m_finished, posts the result as WM_USER and ends.
// 4. Result, dialog thread. OnDownloadFinished stops the transfer as below, delivers or deletes the
//    file and ends the dialog.
// 5. Cancel, or a dialog that goes otherwise, while a step runs:
//    Dialog thread: clears m_running. Takes the file's handle, for which it waits at most 200 ms.
//      m_finished is 0 in mid-transfer, so the worker is detached (KeepModuleUntilThreadEnds). It
//      is joined only after it has posted its result, unless the gate (blocking_call_gate.h) says
//      that it is inside a blocking call. Closes file, request and session; closing the request
//      ends a read from the network. Cancels a protected-mode save. Deletes the file, unless the
//      worker has it open. Ends the dialog.
//    Worker, when its call returns: every step finds m_running cleared and returns false, without a
//      message. If it was left behind inside the call, closes the handles that it has put back, and
//      deletes the file if it was among them. Releases the object, whose destructor may run here.
//    A thread of the system's pool, when the worker has ended: unlocks and frees the module.
#include "download/progress_dialog.h"

#include <commctrl.h>
#include <wininet.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/exception_boundary.h"
#include "base/product_texts.h"
#include "download/atomic_handle.h"
#include "download/content_check.h"
#include "download/download_texts.h"
#include "download/progress_arithmetic.h"
#include "download/thread_name.h"
#include "download/transfer_debug.h"
#include "download/transfer_request.h"
#include "resources/resource.h"
#include "ui/notice.h"

namespace {

constexpr DWORD kConnectTimeoutMs = 25000;
constexpr DWORD kWorkerBufferSize = 0x20000;
constexpr DWORD kPeekBufferSize = kContentHeadSize;
constexpr LONGLONG kPeekTimeLimit = -250000000;  // 25 s from now, in units of 100 ns
constexpr int kProgressFull = 100;

/// For debug builds: until scope end, only the current thread may call DownloadStep.
class CStepsScope {
 public:
  explicit CStepsScope(CBoundThread& thread) : m_thread(thread) {
    ATLASSERT(!m_thread.IsBound());
    m_thread.Bind();
  }
  ~CStepsScope() { m_thread.Unbind(); }
  CStepsScope(const CStepsScope&) = delete;
  CStepsScope& operator=(const CStepsScope&) = delete;

 private:
  CBoundThread& m_thread;
};

/// Allocates a step's buffer, one character longer than `size`, so that a text in it always has a
/// terminator.
std::vector<BYTE> MakeStepBuffer(DWORD size) { return std::vector<BYTE>(size + sizeof(wchar_t)); }

/// Sets a flag for its scope.
class CFlagScope {
 public:
  explicit CFlagScope(std::atomic<bool>& flag) : m_flag(flag) { m_flag = true; }
  ~CFlagScope() { m_flag = false; }
  CFlagScope(const CFlagScope&) = delete;
  CFlagScope& operator=(const CFlagScope&) = delete;

 private:
  std::atomic<bool>& m_flag;
};

/// Dispatches one message if there is one. Returns false for WM_QUIT, and posts it again for the
/// browser's message loop.
bool DispatchOneMessage() {
  MSG message;
  if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    return true;
  }
  if (message.message == WM_QUIT) {
    PostQuitMessage(static_cast<int>(message.wParam));
    return false;
  }
  DispatchMessageW(&message);
  return true;
}

}  // namespace

bool CProgressDialog::PeekContent(const CStringW& extension) {
  ATLASSERT(m_dialogThread.MayCall());
  const CStepsScope steps(m_stepsThread);
  TraceTransfer(this, "pre-check");
  m_extension = extension;
  m_hPeekEvent.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  CHandle timer(CreateWaitableTimerW(nullptr, FALSE, nullptr));
  LARGE_INTEGER dueTime = {};
  dueTime.QuadPart = kPeekTimeLimit;
  // Without the time limit an empty body would keep the loop running for ever.
  const bool isLimited = SetWaitableTimer(timer, &dueTime, 0, nullptr, nullptr, FALSE) != FALSE;
  std::vector<BYTE> buffer = MakeStepBuffer(kPeekBufferSize);

  const HANDLE handles[] = {timer, m_hPeekEvent};
  while (isLimited) {
    // Quirk 25: a time-out of 0. The steps of the transfer run here, on the browser's thread.
    const DWORD wait =
        MsgWaitForMultipleObjects(ARRAYSIZE(handles), handles, FALSE, 0, QS_MOUSEBUTTON);
    if (wait == WAIT_TIMEOUT) {
      DownloadStep(buffer.data(), kPeekBufferSize);
      if (m_complete != 0) {
        // Quirk 26: the body is empty, so the loop runs until the time limit. Yields the processor.
        Sleep(1);
      }
    } else if (wait != WAIT_OBJECT_0 + ARRAYSIZE(handles) || !DispatchOneMessage()) {
      break;
    }
  }
  m_hPeekEvent.Close();
  TraceTransfer(this, m_valid ? "genuine" : "not genuine");
  return m_valid;
}

void CProgressDialog::SignalPeek() {
  if (IsPeeking()) {
    SetEvent(m_hPeekEvent);
  }
}

void CProgressDialog::WorkerThreadProc() {
  const CStepsScope steps(m_stepsThread);
  NameCurrentThread("CProgressDialog");
  TraceTransfer(this, "worker starts");
  if (FAILED(CallGuarded([this] { RunWorkerSteps(); }))) {
    // Out of memory, which is reported like every other failure.
    m_complete = 0;
    ReportFailure(kNotAvailableText, m_url);
  }
  if (m_running) {
    TraceTransfer(this, m_complete != 0 ? "complete" : "failed");
    m_finished = 1;
    ::PostMessageW(m_window, WM_USER, m_complete != 0 ? kDownloadDelivered : kDownloadFailed, 0);
  } else if (m_gate.IsLeftBehind()) {
    TraceTransfer(this, "worker cleans up");
    CloseLateHandles();
  }
}

void CProgressDialog::RunWorkerSteps() {
  std::vector<BYTE> buffer = MakeStepBuffer(kWorkerBufferSize);
  while (m_running) {
    if (!DownloadStep(buffer.data(), kWorkerBufferSize)) {
      break;
    }
    Sleep(0);
  }
}

/// Closes the handles that the worker has opened or put back after the dialog thread closed them.
/// Runs on a worker that was left behind, where waiting for the disk is allowed.
void CProgressDialog::CloseLateHandles() {
  const HANDLE file = m_hFile.Take();
  if (file != CFileTraits::Empty()) {
    CFileTraits::Close(file);
    // The dialog thread could not delete the file, as it was still open.
    m_tempFile.Delete();
  }
  m_hRequest.Close();
  m_hSession.Close();
}

bool CProgressDialog::DownloadStep(void* buffer, DWORD size) {
  ATLASSERT(m_stepsThread.MayCall());
  return m_opened ? TransferChunk(buffer, size) : OpenTransfer(buffer, size);
}

bool CProgressDialog::OpenTransfer(void* buffer, DWORD size) {
  if (!OpenRequest()) {
    return ReportFailure(kNotAvailableText, m_url);
  }
  if (!HasAcceptedStatus(m_hRequest.Get())) {
    return RefuseStatus();
  }
  const auto length = ReadContentLength(m_hRequest.Get(), 0, buffer, size);
  m_total = length.value_or(kAssumedSize);
  m_lengthKnown = length ? 1 : 0;
  const bool goesOn = CreateTempFile();
  TraceTransfer(this, m_opened ? "opened" : "not opened");
  return goesOn;
}

/// Opens the session and the request. Shows the system's dialog when the server or proxy asks for
/// credentials. Returns false when that fails, or when the worker was stopped meanwhile.
bool CProgressDialog::OpenRequest() {
  const CBlockingCallGate::CCall call(m_gate);
  if (!call) {
    return false;
  }
  // Left open by an earlier attempt.
  m_hFile.Close();
  m_hRequest.Close();
  m_hSession.Close();

  m_hSession.Put(InternetOpenW(kUserAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
  DWORD timeout = kConnectTimeoutMs;
  InternetSetOptionW(m_hSession.Get(), INTERNET_OPTION_CONNECT_TIMEOUT, &timeout, sizeof(timeout));

  OpenWithCredentials(
      m_hSession.Get(), m_url, kOpenFlags,
      [this] {
        m_hRequest.Close();
        return m_running.load();
      },
      [this](HINTERNET request) -> std::optional<HWND> {
        m_hRequest.Put(request);
        // Read before the flag: a dialog that is destroyed clears the flag before the window.
        const HWND dialog = m_window;
        if (request == nullptr || !m_running) {
          return std::nullopt;
        }
        // During the pre-check the dialog has no window, and InternetErrorDlg needs an owner to
        // show its own.
        return dialog != nullptr ? dialog : GetForegroundWindow();
      });
  return m_running && m_hSession.IsOpen() && m_hRequest.IsOpen();
}

/// Reports a refused status and ends the transfer. During the pre-check, the event that
/// ReportFailure signals ends the loop, which would otherwise send the request again.
bool CProgressDialog::RefuseStatus() {
  ReportFailure(kNotAvailableText, m_url);
  if (!IsPeeking() && m_running) {
    // Quirk 30: the worker posts the same result a second time when it ends.
    m_finished = 1;
    ::PostMessageW(m_window, WM_USER, kDownloadFailed, 0);
  }
  return false;
}

bool CProgressDialog::CreateTempFile() {
  {
    const CBlockingCallGate::CCall call(m_gate);
    if (!call) {
      return false;  // Another download may use the same name by now.
    }
    const CFlagScope fileInUse(m_fileInUse);
    // Without sharing: no other program may open the file before it is delivered.
    const HANDLE file = CreateFileW(m_tempPath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != CFileTraits::Empty()) {
      m_opened = true;  // Before the handle: a thread that takes it must know that the file exists.
      m_hFile.Put(file);
      return true;
    }
  }
  return ReportFailure(kCannotCreateText, m_tempPath.GetText());
}

bool CProgressDialog::TransferChunk(void* buffer, DWORD size) {
  DWORD received = 0;
  bool succeeded = false;
  {
    const CBlockingCallGate::CCall call(m_gate);
    if (!call) {
      return false;
    }
    succeeded = InternetReadFile(m_hRequest.Get(), buffer, size, &received) != FALSE;
    if (!succeeded && m_running) {
      // Takes the handle out, so that the dialog cannot close and deliver the file meanwhile.
      // Quirk 29: the deletion has no effect, as the file is still open without sharing; the dialog
      // deletes it when it ends.
      const CFlagScope fileInUse(m_fileInUse);
      const HANDLE file = m_hFile.Take();
      // If the handle is gone, another thread has it. Deletes the file only while m_running is
      // set: StopWorker clears that before it takes the handle.
      if (file != CFileTraits::Empty() || m_running) {
        m_tempFile.Delete();
      }
      if (file != CFileTraits::Empty()) {
        m_hFile.Put(file);
      }
    }
  }
  if (!succeeded) {
    return ReportFailure(kNotAvailableText, m_url);
  }
  if (received == 0) {
    // Quirk 22: the end that the system reports counts, whatever length the server announced.
    return FinishTransfer();
  }
  if (m_checkPending.exchange(false)) {
    if (!IsValidContent(static_cast<const std::uint8_t*>(buffer),
                        static_cast<std::int32_t>(received), m_extension)) {
      if (IsPeeking()) {
        SignalPeek();
        return true;
      }
      return ReportFailure(kNotAFolivoFileText, m_url);
    }
    m_valid = true;
    SignalPeek();
  }
  return WriteChunk(buffer, received);
}

bool CProgressDialog::FinishTransfer() {
  if (IsPeeking()) {
    // No window yet. Quirk 26: does not signal the event, so for an empty body the pre-check runs
    // until its time limit.
    m_complete = 1;
    return false;
  }
  if (!m_running) {
    return false;
  }
  ::SendDlgItemMessageW(m_window, IDC_PROGRESS, PBM_SETPOS, kProgressFull, 0);
  m_complete = 1;
  ::EnableWindow(::GetDlgItem(m_window, IDC_OPEN_FILE), TRUE);
  ::EnableWindow(::GetDlgItem(m_window, IDC_OPEN_FOLDER), TRUE);
  ::SetWindowTextW(::GetDlgItem(m_window, IDCANCEL), kCloseLabel);
  ::SetWindowTextW(::GetDlgItem(m_window, IDC_PROGRESS_TEXT), kDownloadCompleteText);
  ::SetWindowTextW(m_window, kDownloadCompleteText);
  return false;
}

bool CProgressDialog::WriteChunk(const void* data, DWORD size) {
  DWORD written = 0;
  {
    const CBlockingCallGate::CCall call(m_gate);
    if (!call) {
      return false;
    }
    // Taken out during the write: otherwise the dialog thread could close the handle, and the
    // system could reuse its value for another file.
    const CFlagScope fileInUse(m_fileInUse);
    const HANDLE file = m_hFile.Take();
    if (file == CFileTraits::Empty()) {
      return false;
    }
    const bool succeeded = WriteFile(file, data, size, &written, nullptr) != FALSE;
    m_hFile.Put(file);
    if (!succeeded) {
      written = 0;
    }
  }
  if (written != size) {  // Also after a partial write, which would leave a gap in the file.
    if (!m_running) {
      return false;
    }
    m_valid = false;  // A file that lacks its first bytes must not be delivered.
    return ReportFailure(kCannotWriteText, m_tempPath.GetText());
  }
  // Quirk 27: bytes that the pre-check writes are not counted.
  if (!IsPeeking()) {
    ShowProgress(written);
  }
  return true;
}

void CProgressDialog::ShowProgress(DWORD written) {
  m_received = WrappingAdd(m_received, static_cast<std::int32_t>(written));
  if (m_lengthKnown == 0 && m_received > m_total) {
    m_total = WrappingAdd(m_received, kAssumedSize);
  }
  const auto percent = ProgressPercent(m_received, m_total);
  if (m_running && percent) {
    ::SendDlgItemMessageW(m_window, IDC_PROGRESS, PBM_SETPOS, static_cast<WPARAM>(*percent), 0);
  }
}

/// Shows a message, unless the worker was stopped. Returns the step's result: false, which ends the
/// worker, or true during the pre-check, whose loop ends by the event that this function signals.
bool CProgressDialog::ReportFailure(LPCWSTR format, const CStringW& subject) {
  {
    const CBlockingCallGate::CCall call(m_gate);
    if (!call) {
      return false;
    }
    HWND owner = m_window;
    if (IsPeeking()) {
      // The dialog has no window yet.
      owner = ::IsWindow(m_browserWindow) ? m_browserWindow : nullptr;
    } else if (owner == nullptr && !m_running) {
      return false;  // The dialog was destroyed after the gate had allowed the call.
    }
    ShowMessage(owner, format, subject);
  }
  SignalPeek();
  return IsPeeking();
}

/// Shows a message box. Out of memory, shows a fixed text instead.
void CProgressDialog::ShowMessage(HWND owner, LPCWSTR format, const CStringW& subject) {
  if (FAILED(CallGuarded([&] { ShowFormatted(owner, MB_ICONEXCLAMATION, format, subject); }))) {
    ::MessageBoxW(owner, kNoMemoryText, kProductName, MB_ICONEXCLAMATION);
  }
}
