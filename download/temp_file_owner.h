#pragma once

#include <atomic>

#include "download/file_operations.h"

/// Knows who has a download's temporary file, and deletes it. The transfer's steps have it open
/// first; then either the dialog takes it, or a worker that is left behind keeps it. The dialog can
/// leave it to the browser. All members but `Delete` are called on the dialog thread only.
class CTempFileOwner {
 public:
  /// `path` must outlive this object.
  explicit CTempFileOwner(const CFilePath& path) : m_path(path) {}
  CTempFileOwner(const CTempFileOwner&) = delete;
  CTempFileOwner& operator=(const CTempFileOwner&) = delete;

  /// The dialog has taken the file's handle from the steps.
  void TakeFromSteps() { Replace(kSteps, kDialog); }
  /// A worker that is left behind has the file open: it closes and deletes it. No effect when the
  /// dialog has taken the file before.
  void LeaveToWorker() { Replace(kSteps, kWorker); }
  bool IsLeftToWorker() const { return m_holder == kWorker; }
  /// The browser uses the file from now on: nobody deletes it.
  void LeaveToBrowser() { m_holder = kBrowser; }

  /// Marks the file as delivered: `DiscardUnlessSettled` does not delete it any more.
  void Settle() { m_isSettled = true; }
  /// Deletes the file, unless it is the worker's or the browser's.
  void Discard() {
    Settle();
    if (!IsLeftToWorker()) {
      Delete();
    }
  }
  /// The same, unless the file was delivered or discarded before.
  void DiscardUnlessSettled() {
    if (!m_isSettled) {
      Discard();
    }
  }

  /// Deletes the file, unless it is the browser's. Dialog thread, or the thread of the steps.
  void Delete() const {
    if (m_holder != kBrowser) {
      DeleteFileForced(m_path);
    }
  }

 private:
  enum Holder { kSteps, kDialog, kWorker, kBrowser };
  static_assert(std::atomic<Holder>::is_always_lock_free);

  void Replace(Holder from, Holder to) { m_holder.compare_exchange_strong(from, to); }

  const CFilePath& m_path;
  std::atomic<Holder> m_holder{kSteps};
  bool m_isSettled = false;
};
