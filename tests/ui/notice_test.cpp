#include "ui/notice.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/dialog_texts.h"
#include "tests/support/message_recorder.h"

namespace {

void ExpectShown(CMessageRecorder& messages, const std::wstring& text, UINT style) {
  const auto shown = messages.Take();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].text, text);
  EXPECT_EQ(shown[0].caption, kMessageTitle);
  EXPECT_EQ(shown[0].style, style);
  EXPECT_EQ(shown[0].owner, GetDesktopWindow());
}

TEST(Notice, MessageNamesItsSubjectAsItIs) {
  CMessageRecorder messages;
  for (const std::wstring& subject : {std::wstring(L"%s%n%d 100%"), std::wstring(5000, L'x')}) {
    ShowNotice(GetDesktopWindow(), L"The file %s is gone.", subject.c_str());
    ExpectShown(messages, L"The file " + subject + L" is gone.", MB_OK);
  }
}

TEST(Notice, OnlyYesConfirmsAWarning) {
  for (const int answer : {IDYES, IDNO, IDCANCEL, 0}) {  // 0: the box cannot be shown
    CMessageRecorder messages(answer);
    EXPECT_EQ(ConfirmWarning(GetDesktopWindow(), L"%s exists.", L"a.qdk"), answer == IDYES);
    ExpectShown(messages, L"a.qdk exists.", MB_YESNO | MB_ICONWARNING);
  }
}

}  // namespace
