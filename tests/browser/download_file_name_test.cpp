#include "browser/download_file_name.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>

#include "tests/support/dialog_texts.h"
#include "tests/support/message_recorder.h"

namespace {

std::wstring NameOf(const std::wstring& url) {
  return MakeDownloadFileName(nullptr, url.c_str()).GetString();
}

void ExpectNames(std::initializer_list<std::pair<std::wstring, std::wstring>> rows) {
  CMessageRecorder messages;
  for (const auto& [url, name] : rows) {
    EXPECT_EQ(NameOf(url), name) << testing::PrintToString(url);
  }
  EXPECT_TRUE(messages.Take().empty());
}

TEST(DownloadFileName, StartsAfterTheLastOccurrenceOfTheFirstSeparatorInTheList) {
  const std::wstring longest = std::wstring(259 - 4, L'n') + L".qdk";
  ExpectNames({{L"http://server/files/My%20Lesson.folivo", L"My Lesson.folivo"},
               {L"a=b=c", L"c"},
               {L"a|b|c", L"c"},
               {L"/c", L"c"},
               {L"http://server/lesson.folivo?", L""},
               {L"http://server/folder/", L""},
               {L"http://server/get?a&b", L"a&b"},  // file names may hold an ampersand
               {L"http://server/" + longest, longest}});
}

TEST(DownloadFileName, QueryGivesTheValueAfterItsLastEqualsSign) {
  ExpectNames({{L"http://server/download?id=7&name=a.folivo", L"a.folivo"},
               {L"http://server/lesson.folivo?x=1", L"1"},
               {L"http://server/a=b/lesson.folivo", L"blesson.folivo"},
               {L"http://server/download?name=", L""}});
}

TEST(DownloadFileName, TextWithoutAnySeparatorGivesNoName) {
  ExpectNames({{L"lesson.folivo", L""}, {L"", L""}});
}

TEST(DownloadFileName, EscapesAreDecodedAndSeparatorsInThemDropped) {
  ExpectNames({{L"http://server/..%5C..%5Cevil%3A.qdk", L"....evil.qdk"},
               {L"http://server/%3Ca%3E%22%7C%3F%2A%2Fb.qdk", L"ab.qdk"},
               {L"http://server/a%zz.qdk", L"a%zz.qdk"},  // no escapes
               {L"http://server/100%", L"100%"}});
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

TEST(DownloadFileName, NameTooLongToDecodeIsReportedAndReplacedWithItsExtensionCleaned) {
  const std::wstring name(300, L'n');
  const std::wstring longest = L"." + std::wstring(400, L'e');
  const struct {
    std::wstring end;
    std::wstring extension;  // before it is cleaned
    std::wstring cleaned;
  } rows[] = {{std::wstring(260 - 4, L'n') + L".qdk", L".qdk", L".qdk"},
              {name, L".folivo", L".folivo"},
              {longest, longest, longest},
              {name + L".x.a:b|c", L".a:b|c", L".abc"}};
  const HWND owner = GetDesktopWindow();
  CMessageRecorder messages;
  for (const auto& row : rows) {
    EXPECT_EQ(std::wstring(MakeDownloadFileName(owner, (L"http://server/get?" + row.end).c_str())),
              L"downloadedfile" + row.cleaned);
    const auto shown = messages.Take();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_TRUE(shown[0].text.starts_with(
        L"We were unable to get the proper download filename. Your downloaded file will be renamed "
        L"to downloadedfile" +
        (row.extension.size() < 100 ? row.extension + L"." : L"")));
    EXPECT_EQ(shown[0].caption, kMessageTitle);
    EXPECT_EQ(shown[0].style, static_cast<UINT>(MB_OK));
    EXPECT_EQ(shown[0].owner, owner);
  }
}

}  // namespace
