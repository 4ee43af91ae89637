#pragma once

#include <optional>
#include <string>

#include "tests/collections/collection_fixture.h"
#include "tests/collections/dialog_trace.h"
#include "tests/faults/run_checks.h"
#include "tests/faults/transfer_faults.h"
#include "tests/support/import_spy.h"
#include "tests/support/wininet_recorder.h"

/// Faults of an archive's download. The dialog itself ends with 3 and one message in each case: an
/// archive that has come is still held open when it is to be read.
class ArchiveFaults : public CollectionFixture {
 protected:
  static constexpr size_t kBuffer = 10000;  // of the transfer
  static constexpr size_t kPeekBuffer = 800;
  static constexpr bool kHasPreCheck = false;

  /// A whole body of this many bytes.
  static std::string BodyBytes(size_t size);
  static HttpAnswer Body(size_t size);
  static std::wstring UrlOf(const ScriptedPath& path) { return TrustedUrl(path); }

  CTransferOutcome Download(bool peeks, const std::wstring& url, const CTransferFault& fault);
  /// Runs the dialog, whose archive is `file` below the sandbox; it adds nothing.
  CTransferOutcome DownloadTo(const std::wstring& url, const std::wstring& file);
  static bool IsRight(const CTransferFault& fault) { return fault.bytes != kPage; }
  static std::wstring WrongMessage(const std::wstring&) { return kNotValid; }
  static std::wstring UnavailableMessage(const std::wstring&) { return kUnavailable; }
  /// The messages so far; forgets them.
  CDialogTrace::Lines TakeMessages() { return m_trace.Take(L"message"); }

  CRunChecks m_checks;

 private:
  CWinInetRecorder m_winInet;
  CDialogTrace m_trace;
  std::optional<std::string> m_deleted;
  /// Above the trace's own. Keeps what is about to go: the dialog never leaves an archive behind.
  const CImportSpy<&DeleteFileW> m_delete{"kernel32.dll", "DeleteFileW", [this](LPCWSTR path) {
                                            m_deleted = ReadFileBytes(path);
                                            return m_delete.CallOriginal(path);
                                          }};
};
