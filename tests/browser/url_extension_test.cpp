#include "browser/url_extension.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

void ExpectExtensions(const std::vector<std::pair<LPCWSTR, LPCWSTR>>& rows) {
  for (const auto& [url, extension] : rows) {
    EXPECT_EQ(GetPathExtension(GetUrlPath(url)), extension) << url;
  }
}

TEST(UrlExtension, RunsFromTheLastDotToTheEnd) {
  ExpectExtensions({{L"http://server/dir/Lesson.FOLIVO", L".FOLIVO"},
                    {L"http://server/a.tar.qdk", L".qdk"},
                    {L"lesson.", L"."},
                    {L".folivo", L".folivo"},
                    {L"lesson", L""},
                    {L"", L""}});
}

TEST(UrlExtension, QueryIsCutAtTheFirstQuestionMarkAndAFragmentIsNot) {
  ExpectExtensions({{L"a.folivo?b.qdk?c.fvk", L".folivo"},
                    {L"http://localhost/get?f=a.folivo", L""},
                    {L"?a.folivo", L""},
                    {L"http://localhost/a.folivo#part", L".folivo#part"}});
}

TEST(UrlExtension, BackslashEndsAFolderAndSlashDoesNot) {
  ExpectExtensions({{L"C:\\a.b\\file", L""},
                    {L"C:\\a.b\\file.qdk", L".qdk"},
                    {L"C:\\a.b\\", L""},
                    {L"C:\\a\\.qdk", L".qdk"},
                    {L"http://server/a.b/file", L".b/file"}});
}

}  // namespace
