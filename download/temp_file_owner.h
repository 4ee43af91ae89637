#pragma once

#include <atomic>

#include "download/file_operations.h"

/// Knows who deletes a download's temporary file, and deletes it: the dialog, unless it leaves the
/// file to a worker that is left behind, or to the browser. All members but `Delete` are called on
/// the dialog thread only.
class CTempFileOwner {
 public:
  /// `path` must outlive this object.
  explicit CTempFileOwner(const CFilePath& path) : m_path(path) {}
  CTempFileOwner(const CTempFileOwner&) = delete;
  CTempFileOwner& operator=(const CTempFileOwner&) = delete;

  /// A worker that is left behind has the file open: it closes and deletes it.
  void LeaveToWorker() { m_holder = kWorker; }
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
  enum Holder { kDialog, kWorker, kBrowser };
  static_assert(std::atomic<Holder>::is_always_lock_free);

  const CFilePath& m_path;
  std::atomic<Holder> m_holder{kDialog};
  bool m_isSettled = false;
};
