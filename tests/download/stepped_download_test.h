#pragma once

#include <string>
#include <vector>

#include "tests/download/download_test.h"
#include "tests/support/message_recorder.h"
#include "tests/support/scripted_path.h"

/// A download of 5,002 bytes whose steps the test makes one by one, without a window.
class SteppedDownloadTest : public DownloadTest {
 protected:
  /// The messages since the last call.
  std::vector<std::wstring> Messages() { return m_messages.TakeTexts(); }

  const ScriptedPath m_path{m_server, Lesson(5000)};
  const std::wstring m_url = m_path.Url(L"a.qdk");
  const CProgressDialog::Ptr m_dialog = Make(m_url);
  CProgressDialogPeer m_peer{*m_dialog};
  CMessageRecorder m_messages;
};
