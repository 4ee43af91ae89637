#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/faults/run_checks.h"
#include "tests/support/import_patch.h"
#include "tests/support/path_script.h"

/// How the download of an archive of collections ends. The dialog itself ends with 3 and one
/// message in each case: an archive that has come is still held open when it is to be read.
enum class ArchiveEnd {
  kTransferred,  // with these bytes
  kTorn,         // with a beginning of these bytes, which the system takes for all of the body
  kUnavailable,  // the message that it is not to be had
  kNotValid,     // the message that it is a page
  kTornOrUnavailable,  // a break that the system reports only when a read waits just then
};

struct CArchiveFault {
  std::string name;
  PathScript script;
  ArchiveEnd end;
  std::string bytes = {};  // of the archive, before the dialog deletes it
};

/// Runs tables of faults through the collection dialog and asserts the same of each cell: the
/// result, one message and which, the bytes of the archive, that no file is left, nothing added,
/// and that nothing of the run lives on. A quick run takes a part of each table.
class ArchiveFaults : public CollectionTest {
 protected:
  ArchiveFaults();

  void RunAll(const std::vector<CArchiveFault>& all);
  /// The same for an address that is not of a script.
  void RunAddress(const std::wstring& url, const CArchiveFault& fault);

  /// For cells that a user or the server acts in: one run, inside Checks().Run.
  void RunOnce(const std::wstring& url, const CArchiveFault& fault);

  /// What one run says, and the archive's bytes before the dialog deletes it.
  struct CRun {
    std::wstring message;
    std::string archive;
  };
  /// The same with an archive of another path. The dialog ends with 3 and adds nothing.
  CRun RunDialogOnce(const std::wstring& url, const std::wstring& zipPath);

  CRunChecks& Checks() { return m_checks; }
  /// The messages so far; forgets them.
  CDialogTrace::Lines TakeMessages() { return m_trace.Take(L"message"); }

 private:
  CWinInetRecorder m_winInet;
  CDialogTrace m_trace;
  CRunChecks m_checks;
  /// Above the trace's own.
  CImportPatch m_delete;
};

/// The archive's bytes: `length` bytes of a pattern.
std::string ArchiveBytes(size_t length);
/// The same as a server's answer.
HttpAnswer Archive(size_t length);
