#pragma once

#include <memory>
#include <vector>

#include "download/progress_dialog.h"

/// A test's view of the transfer's state, and its hand on single steps.
struct CProgressDialogPeer {
  CProgressDialog& dialog;

  /// One step with a buffer of `size` bytes, the worker's by default.
  bool Step(DWORD size = 0x20000) {
    std::vector<BYTE> buffer(size + sizeof(wchar_t));
    return dialog.DownloadStep(buffer.data(), size);
  }
  /// The worker's whole run, on the calling thread.
  void RunWorker() { dialog.WorkerThreadProc(); }

  /// What PeekContent does at its begin.
  void BeginPeek() { dialog.m_hPeekEvent.Attach(CreateEventW(nullptr, TRUE, FALSE, nullptr)); }
  bool IsPeeking() const { return dialog.m_hPeekEvent != nullptr; }
  bool IsPeekSignalled() const { return WaitForSingleObject(dialog.m_hPeekEvent, 0) == 0; }

  HANDLE PeekEvent() const { return dialog.m_hPeekEvent; }
  CStringW Extension() const { return dialog.m_extension; }

  bool IsOpened() const { return dialog.m_opened; }
  bool IsCheckPending() const { return dialog.m_checkPending; }
  bool IsValid() const { return dialog.m_valid; }
  bool IsComplete() const { return dialog.m_complete == 1; }
  bool IsFinished() const { return dialog.m_finished == 1; }
  bool IsRunning() const { return dialog.m_running; }
  int Received() const { return dialog.m_received; }
  bool HasThread() const { return dialog.m_thread != nullptr; }
  HINTERNET Session() const { return dialog.m_hSession.Get(); }
  HINTERNET Request() const { return dialog.m_hRequest.Get(); }
  HANDLE File() const { return dialog.m_hFile.Get(); }
  CStringW Url() const { return dialog.m_url; }
  CStringW TempPath() const { return dialog.m_tempPath.GetText(); }
  CStringW DestPath() const { return dialog.m_destPath.GetText(); }
  CStringW FileName() const { return dialog.m_fileName; }
  HANDLE SaveState() const { return dialog.m_saveState; }

  LONGLONG FileSize() const {
    LARGE_INTEGER size = {};
    return GetFileSizeEx(File(), &size) ? size.QuadPart : -1;
  }

  /// Where the members lie, in the order that they are meant to have.
  std::vector<const void*> MemberAddresses() const {
    return {std::addressof(dialog.m_opened),       std::addressof(dialog.m_hSession),
            std::addressof(dialog.m_hRequest),     std::addressof(dialog.m_hFile),
            std::addressof(dialog.m_checkPending), std::addressof(dialog.m_complete),
            std::addressof(dialog.m_lengthKnown),  std::addressof(dialog.m_finished),
            std::addressof(dialog.m_total),        std::addressof(dialog.m_received),
            std::addressof(dialog.m_running),      std::addressof(dialog.m_hPeekEvent),
            std::addressof(dialog.m_extension),    std::addressof(dialog.m_valid),
            std::addressof(dialog.m_thread),       std::addressof(dialog.m_tempPath),
            std::addressof(dialog.m_destPath),     std::addressof(dialog.m_saveState),
            std::addressof(dialog.m_url),          std::addressof(dialog.m_fileName)};
  }
  /// Whether what two threads share is read and written by plain instructions.
  static constexpr bool kIsLockFree = decltype(CProgressDialog::m_opened)::is_always_lock_free &&
                                      decltype(CProgressDialog::m_complete)::is_always_lock_free &&
                                      decltype(CProgressDialog::m_window)::is_always_lock_free &&
                                      decltype(CProgressDialog::m_fileInUse)::is_always_lock_free &&
                                      sizeof(CProgressDialog::m_running) == sizeof(bool) &&
                                      sizeof(CProgressDialog::m_finished) == sizeof(std::int32_t) &&
                                      sizeof(CProgressDialog::m_hFile) == sizeof(HANDLE);

  void SetExtension(LPCWSTR extension) { dialog.m_extension = extension; }
  void SetRunning(bool running) { dialog.m_running = running; }
  void SetFile(HANDLE file) { dialog.m_hFile.Put(file); }
  void CloseFile() { dialog.m_hFile.Close(); }
  /// As a write does: the file is out of the dialog's reach between the two.
  HANDLE BeginWrite() {
    dialog.m_fileInUse = true;
    return dialog.m_hFile.Take();
  }
  void EndWrite(HANDLE file) {
    dialog.m_hFile.Put(file);
    dialog.m_fileInUse = false;
  }
  void SetWindow(HWND window) { dialog.m_window = window; }
  CBlockingCallGate& Gate() { return dialog.m_gate; }
  void CloseLateHandles() { dialog.CloseLateHandles(); }
  bool CreateTempFile() { return dialog.CreateTempFile(); }
  bool ReportFailure(LPCWSTR format, const CStringW& subject) {
    return dialog.ReportFailure(format, subject);
  }
  void StopDownload() { dialog.StopDownload(); }
  void Abandon() { dialog.Abandon(); }
};
