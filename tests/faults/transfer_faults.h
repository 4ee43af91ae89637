#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/faults/quick_cut.h"
#include "tests/support/parallel.h"
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

/// What one run came to.
struct CTransferOutcome {
  bool isLeft = false;        // the pre-check left it to the browser
  std::wstring message = {};  // none: the body arrived
  std::string bytes = {};     // of it, whatever became of it then
};

/// A page, as a server sends it in place of what is missing.
inline constexpr char kPage[] = "<html><body>Not here</body></html>";

/// Runs tables of faults through a dialog (`LessonFaults`, `ArchiveFaults`), with and without a
/// pre-check where there is one, and asserts of each row what its `end` says, that no file is left,
/// and that nothing of the run lives on (`CRunChecks`). A quick run takes a part of each table.
template <typename Dialog>
class CTransferFaults : public Dialog {
 protected:
  void RunAll(const std::vector<CTransferFault>& faults) {
    for (const CTransferFault& fault : QuickCut(faults)) {
      for (const bool peeks : {true, false}) {
        if (!peeks || Dialog::kHasPreCheck) {
          this->m_checks.Run([&] {
            const ScriptedPath path(this->m_server, fault.script);
            const CParallel server([&] {
              if (fault.server) {
                fault.server(path);
              }
            });
            RunOnce(peeks, fault.url.empty() ? this->UrlOf(path) : fault.url, fault);
          });
        }
      }
    }
  }

 private:
  void RunOnce(bool peeks, const std::wstring& url, const CTransferFault& fault) {
    SCOPED_TRACE(fault.name + (peeks ? ", pre-check" : ", dialog alone"));
    const auto [isLeft, message, bytes] = this->Download(peeks, url, fault);
    const std::wstring unavailable = this->UnavailableMessage(url);
    const bool isRight = this->IsRight(fault);
    EXPECT_TRUE(fault.bytes.starts_with(bytes)) << "other bytes";
    switch (fault.end) {
      case TransferEnd::kBody:
        EXPECT_EQ(isLeft, peeks && (fault.bytes.empty() || !isRight));
        EXPECT_EQ(message, isRight || isLeft ? L"" : this->WrongMessage(url));
        EXPECT_TRUE(!isRight || bytes.size() == fault.bytes.size()) << bytes.size();
        break;
      case TransferEnd::kTorn:
        EXPECT_EQ(message, L"");
        break;
      case TransferEnd::kUnavailable:
        EXPECT_EQ(isLeft, peeks);
        EXPECT_EQ(message, unavailable);
        break;
      case TransferEnd::kTornOrUnavailable:
        EXPECT_TRUE(message.empty() || message == unavailable) << message;
        break;
    }
  }
};
