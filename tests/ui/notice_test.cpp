#include "ui/notice.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/message_recorder.h"

namespace {

TEST(Notice, IsAPlainMessageOfTheProductOverItsOwner) {
  CMessageRecorder messages;
  ShowNotice(GetDesktopWindow(), L"The file %s is gone.", L"C:\\a.qdk");
  const auto shown = messages.Take();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].text, L"The file C:\\a.qdk is gone.");
  EXPECT_EQ(shown[0].caption, L"MERLO Folivo");
  EXPECT_EQ(shown[0].style, static_cast<UINT>(MB_OK));
  EXPECT_EQ(shown[0].owner, GetDesktopWindow());
}

TEST(ConfirmWarning, OnlyYesIsTrue) {
  for (const int answer : {IDYES, IDNO, IDCANCEL, 0}) {  // 0: the box cannot be shown
    CMessageRecorder messages(answer);
    EXPECT_EQ(ConfirmWarning(GetDesktopWindow(), L"%s exists.", L"a.qdk"), answer == IDYES);
    const auto shown = messages.Take();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].text, L"a.qdk exists.");
    EXPECT_EQ(shown[0].caption, L"MERLO Folivo");
    EXPECT_EQ(shown[0].style, static_cast<UINT>(MB_YESNO | MB_ICONWARNING));
    EXPECT_EQ(shown[0].owner, GetDesktopWindow());
  }
}

TEST(Notice, SubjectIsNeverAFormat) {
  CMessageRecorder messages;
  ShowNotice(nullptr, L"<%s>", L"%s%n%d 100%");
  EXPECT_EQ(messages.TakeTexts().at(0), L"<%s%n%d 100%>");
}

TEST(Notice, SubjectMayBeVeryLong) {
  CMessageRecorder messages;
  const std::wstring subject(5000, L'x');
  ShowNotice(nullptr, L"<%s>", subject.c_str());
  EXPECT_EQ(messages.TakeTexts().at(0), L"<" + subject + L">");
}

}  // namespace
