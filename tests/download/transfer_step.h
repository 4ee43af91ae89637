#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/download/download_test.h"
#include "tests/support/message_recorder.h"

/// Steps of a transfer, driven one by one without a window.
class TransferStep : public DownloadTest {
 protected:
  /// The one message so far; fails when there is none or more.
  std::wstring OnlyMessage() {
    const auto messages = m_messages.Take();
    if (messages.size() != 1) {
      ADD_FAILURE() << messages.size() << " messages";
      return {};
    }
    EXPECT_EQ(messages[0].caption, L"MERLO Folivo");
    EXPECT_EQ(messages[0].style, static_cast<UINT>(MB_ICONEXCLAMATION));
    return messages[0].text;
  }

  CMessageRecorder m_messages;
};
