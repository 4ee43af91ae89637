#include "browser/url_extension.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring ExtensionOf(LPCWSTR url) { return std::wstring(GetPathExtension(GetUrlPath(url))); }

TEST(UrlExtension, RunsFromTheLastDotToTheEnd) {
  EXPECT_EQ(ExtensionOf(L"http://server/dir/Lesson.FOLIVO"), L".FOLIVO");
  EXPECT_EQ(ExtensionOf(L"http://server/a.tar.qdk"), L".qdk");
  EXPECT_EQ(ExtensionOf(L"C:\\Lessons\\one.fvk"), L".fvk");
  EXPECT_EQ(ExtensionOf(L"lesson."), L".");
  EXPECT_EQ(ExtensionOf(L".folivo"), L".folivo");
}

TEST(UrlExtension, EmptyWithoutDot) {
  EXPECT_EQ(ExtensionOf(L""), L"");
  EXPECT_EQ(ExtensionOf(L"lesson"), L"");
  EXPECT_EQ(ExtensionOf(L"C:\\Lessons\\one"), L"");
}

TEST(UrlExtension, QueryIsCutAtTheFirstQuestionMark) {
  EXPECT_EQ(ExtensionOf(L"a.folivo?x.qdk"), L".folivo");
  EXPECT_EQ(ExtensionOf(L"a.folivo?b.qdk?c.fvk"), L".folivo");
  EXPECT_EQ(ExtensionOf(L"http://localhost/get?f=a.folivo"), L"");
  EXPECT_EQ(ExtensionOf(L"?a.folivo"), L"");
}

TEST(UrlExtension, FragmentIsNotCut) {
  EXPECT_EQ(ExtensionOf(L"http://localhost/a.folivo#part"), L".folivo#part");
}

TEST(UrlExtension, DotBeforeTheLastBackslashDoesNotCount) {
  EXPECT_EQ(ExtensionOf(L"C:\\a.b\\file"), L"");
  EXPECT_EQ(ExtensionOf(L"C:\\a.b\\file.qdk"), L".qdk");
  EXPECT_EQ(ExtensionOf(L"C:\\a.b\\"), L"");
  EXPECT_EQ(ExtensionOf(L"C:\\a\\.qdk"), L".qdk");
}

TEST(UrlExtension, ForwardSlashesAreNotLookedAt) {
  EXPECT_EQ(ExtensionOf(L"http://server/a.b/file"), L".b/file");
  EXPECT_EQ(ExtensionOf(L"http://www.server/file"), L".server/file");
}

}  // namespace
