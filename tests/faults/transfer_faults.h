#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/faults/run_checks.h"
#include "tests/support/http_server.h"
#include "tests/support/path_script.h"
#include "tests/support/scripted_path.h"

/// What is seen of a download.
enum class TransferEnd {
  kBody,               // these bytes are taken for the whole body, and judged
  kTorn,               // so is a beginning of them
  kUnavailable,        // one message that the address is not available
  kTornOrUnavailable,  // a break that the system reports only when a read waits just then
};

/// A row of the tables: a fault and what is seen of it.
struct CTransferFault {
  std::string name;
  PathScript script;
  TransferEnd end;
  std::string bytes = {};
  std::wstring extension = L".qdk";  // of a lesson
  /// Plays the server's part beside the download.
  std::function<void(const ScriptedPath&)> server = nullptr;
  std::wstring url = {};  // in place of the script's
};

/// Runs tables of faults through a dialog, with and without a pre-check where there is one, and
/// asserts of each row what its `end` says, that no file is left, and that nothing of the run lives
/// on (`CRunChecks`). A quick run takes a part of each table.
class CTransferFaults {
 public:
  CTransferFaults(const CTransferFaults&) = delete;
  CTransferFaults& operator=(const CTransferFaults&) = delete;

 protected:
  /// What one run came to.
  struct COutcome {
    bool isLeft = false;        // the pre-check left it to the browser
    std::wstring message = {};  // none: the body arrived
    std::string bytes = {};     // of it, whatever became of it then
  };

  CTransferFaults() = default;
  ~CTransferFaults() = default;

  void RunAll(const std::vector<CTransferFault>& faults);

  CRunChecks& Checks() { return m_checks; }

 private:
  void RunOnce(bool peeks, const std::wstring& url, const CTransferFault& fault);

  virtual const HttpTestServer& Server() const = 0;
  virtual std::wstring UrlOf(const ScriptedPath& path) const = 0;
  /// Whether there are runs with a pre-check in front of the dialog.
  virtual bool HasPreCheck() const = 0;
  virtual COutcome Download(bool peeks, const std::wstring& url, const CTransferFault& fault) = 0;
  /// Whether a body is what its extension promises, and the message about one that is not.
  virtual bool IsRight(const CTransferFault& fault) const = 0;
  virtual std::wstring WrongMessage(const std::wstring& url) const = 0;
  virtual std::wstring UnavailableMessage(const std::wstring& url) const = 0;

  CRunChecks m_checks;
};

/// A page, as a server sends it in place of what is missing.
inline constexpr char kPage[] = "<html><body>Not here</body></html>";
