#pragma once

#include <string>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/faults/run_checks.h"
#include "tests/support/deferred_close.h"
#include "tests/support/message_recorder.h"
#include "tests/support/path_script.h"
#include "tests/support/scripted_path.h"

/// How a download of a lesson ends.
enum class LessonEnd {
  kDelivered,    // silently, with these bytes
  kEmpty,        // a body without a byte: the pre-check waits for a judgement that never comes; the
                 // dialog delivers an empty file
  kUnavailable,  // one message that the address is not available
  kNotALesson,   // the pre-check leaves it to the browser; the dialog says what is wrong
  kTorn,  // as delivered, with no more than a beginning of these bytes: the system takes it for
          // all of the body, and so do pre-check and dialog
  kTornOrUnavailable,  // a break that the system reports only when a read waits just then
};

struct CLessonFault {
  std::string name;
  PathScript script;
  LessonEnd end;
  std::string bytes = {};  // of the delivered file
  std::wstring extension = L".qdk";
};

/// Runs tables of faults, each cell with and without a pre-check, and asserts the same of each: the
/// judgement, the dialog's result, the messages, the files left and their bytes, and that nothing
/// of the run lives on. A quick run takes a part of each table.
class LessonFaults : public DownloadTest {
 protected:
  void RunAll(const std::vector<CLessonFault>& all);
  /// The same for an address that is not of a script.
  void RunAddress(const std::wstring& url, const CLessonFault& fault);

  /// For cells that a user or the server acts in.
  CRunChecks& Checks() { return m_checks; }
  std::vector<std::wstring> TakeMessages() { return m_messages.TakeTexts(); }
  /// The delivered file has these bytes and nothing else is left; it goes too.
  void ExpectDelivered(const std::string& bytes) const;

 private:
  void RunPeeked(const std::wstring& url, const CLessonFault& fault);
  void RunDirect(const std::wstring& url, const CLessonFault& fault);
  void ExpectEnd(const std::wstring& url, const CLessonFault& fault, INT_PTR result);

  const CDeferredClose m_deferredClose;
  CMessageRecorder m_messages;
  CRunChecks m_checks;
};

/// A page, as a server sends it in place of what is missing.
inline constexpr char kPage[] = "<!DOCTYPE html><html><body>Not here</body></html>";
