#include "browser/download_file_name.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/message_recorder.h"

namespace {

std::wstring NameOf(const std::wstring& url) {
  return MakeDownloadFileName(nullptr, url.c_str()).GetString();
}

TEST(DownloadFileName, PlainUrlGivesWhatFollowsTheLastSlash) {
  EXPECT_EQ(NameOf(L"http://server/files/lesson.folivo"), L"lesson.folivo");
}

TEST(DownloadFileName, PercentEscapesAreDecoded) {
  EXPECT_EQ(NameOf(L"http://server/files/My%20Lesson.folivo"), L"My Lesson.folivo");
}

TEST(DownloadFileName, QueryGivesTheValueAfterItsLastEqualsSign) {
  EXPECT_EQ(NameOf(L"http://server/download?id=7&name=a.folivo"), L"a.folivo");
  EXPECT_EQ(NameOf(L"http://server/lesson.folivo?x=1"), L"1");
  EXPECT_EQ(NameOf(L"x.folivo?id=7"), L"7");
  EXPECT_EQ(NameOf(L"http://server/a=b/lesson.folivo"), L"blesson.folivo");
}

TEST(DownloadFileName, EachSeparatorCountsBeforeThoseAfterIt) {
  const std::wstring separators = L"=?&\\/:><*|\"";
  for (size_t i = 0; i + 1 < separators.size(); ++i) {
    const wchar_t counting = separators[i];
    const wchar_t later = separators[i + 1];
    // What stays of the later one is dropped by the cleaning; file names may hold an ampersand.
    const std::wstring left = later == L'&' ? L"yy&zz" : L"yyzz";
    const std::wstring url = std::wstring(L"xx") + counting + L"yy" + later + L"zz";
    EXPECT_EQ(NameOf(url), left) << i;
  }
  EXPECT_EQ(NameOf(L"xx\"yy"), L"yy");
}

TEST(DownloadFileName, LastOccurrenceOfTheSeparatorCounts) {
  EXPECT_EQ(NameOf(L"a=b=c"), L"c");
  EXPECT_EQ(NameOf(L"a|b|c"), L"c");
}

TEST(DownloadFileName, FirstSeparatorThatOccursCountsEvenWithNothingBehindIt) {
  EXPECT_EQ(NameOf(L"http://server/lesson.folivo?"), L"");
}

TEST(DownloadFileName, AmpersandStaysInAName) {
  EXPECT_EQ(NameOf(L"http://server/get?a&b"), L"a&b");
  EXPECT_EQ(NameOf(L"http://server/get?name=a&b.folivo"), L"a&b.folivo");
}

TEST(DownloadFileName, TextWithoutAnySeparatorGivesNoName) {
  EXPECT_EQ(NameOf(L"lesson.folivo"), L"");
  EXPECT_EQ(NameOf(L""), L"");
}

TEST(DownloadFileName, SeparatorAtTheEndGivesNoName) {
  EXPECT_EQ(NameOf(L"http://server/download?name="), L"");
  EXPECT_EQ(NameOf(L"http://server/folder/"), L"");
}

TEST(DownloadFileName, EscapedSeparatorsAreDroppedAfterDecoding) {
  EXPECT_EQ(NameOf(L"http://server/a%2Fb.qdk"), L"ab.qdk");
  EXPECT_EQ(NameOf(L"http://server/..%5C..%5Cevil%3A.qdk"), L"....evil.qdk");
  EXPECT_EQ(NameOf(L"http://server/%3Ca%3E%22%7C%3F%2Ab.qdk"), L"ab.qdk");
}

TEST(DownloadFileName, EscapesThatAreNoneStayAsTheyAre) {
  CMessageRecorder messages;
  EXPECT_EQ(NameOf(L"http://server/a%zz.qdk"), L"a%zz.qdk");
  EXPECT_EQ(NameOf(L"http://server/100%"), L"100%");
  EXPECT_TRUE(messages.Take().empty());
}

TEST(DownloadFileName, LongestNameThatDecodes) {
  CMessageRecorder messages;
  const std::wstring name = std::wstring(259 - 4, L'n') + L".qdk";
  EXPECT_EQ(NameOf(L"http://server/" + name), name);
  EXPECT_TRUE(messages.Take().empty());
}

TEST(DownloadFileName, NameTooLongToDecodeIsReplacedAndReported) {
  CMessageRecorder messages;
  const HWND owner = GetDesktopWindow();
  const std::wstring url = L"http://server/" + std::wstring(260 - 4, L'n') + L".qdk";
  EXPECT_EQ(std::wstring(MakeDownloadFileName(owner, url.c_str())), L"downloadedfile.qdk");
  const auto shown = messages.Take();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].text,
            L"We were unable to get the proper download filename. Your downloaded file will be "
            L"renamed to downloadedfile.qdk.");
  EXPECT_EQ(shown[0].caption, L"MERLO Folivo");
  EXPECT_EQ(shown[0].style, static_cast<UINT>(MB_OK));
  EXPECT_EQ(shown[0].owner, owner);
}

TEST(DownloadFileName, ReplacementWithoutDotIsALesson) {
  CMessageRecorder messages;
  EXPECT_EQ(NameOf(L"http://server/" + std::wstring(2000, L'n')), L"downloadedfile.folivo");
  EXPECT_EQ(messages.TakeTexts().size(), 1u);
}

TEST(DownloadFileName, ReplacementKeepsAnExtensionOfAnyLength) {
  CMessageRecorder messages;
  const std::wstring extension = L"." + std::wstring(400, L'e');
  EXPECT_EQ(NameOf(L"http://server/name" + extension), L"downloadedfile" + extension);
  EXPECT_EQ(NameOf(L"http://server/" + extension), L"downloadedfile" + extension);
}

TEST(DownloadFileName, ReplacementIsCleanedToo) {
  CMessageRecorder messages;
  const std::wstring url = L"http://server/get?" + std::wstring(300, L'n') + L".a:b|c";
  EXPECT_EQ(NameOf(url), L"downloadedfile.abc");
  // The message tells the name as it is before that.
  EXPECT_NE(messages.TakeTexts().at(0).find(L"downloadedfile.a:b|c."), std::wstring::npos);
}

}  // namespace
