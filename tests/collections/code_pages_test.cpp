#include "collections/code_pages.h"

#include <gtest/gtest.h>

#include <string>

#include "plugin/thread_locale.h"

namespace {

TEST(CodePages, EveryByteGoesToTheSystemCodePageAndBack) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    bytes += static_cast<char>(i);
  }
  const CStringW wide = FromSystemCodePage(bytes.data(), 256);
  EXPECT_EQ(wide.GetLength(), 256);
  const CStringA back = ToSystemCodePage(wide);
  EXPECT_EQ(std::string(back.GetString(), static_cast<size_t>(back.GetLength())), bytes);
}

TEST(CodePages, ThreadsLocaleDoesNotChangeTheSystemCodePage) {
  const CThreadLocaleScope japanese(
      MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
  EXPECT_NE(FromThreadCodePage("\xE9!"), L"\u00E9!");
  EXPECT_EQ(FromSystemCodePage("caf\xE9!"), L"caf\u00E9!");
  EXPECT_STREQ(ToSystemCodePage(L"caf\u00E9!"), "caf\xE9!");
}

TEST(CodePages, MissingCharacterIsReplacedAndEmptyTextStaysEmpty) {
  EXPECT_STREQ(ToSystemCodePage(L"a\u4E2Db"), "a?b");
  EXPECT_TRUE(FromSystemCodePage(nullptr).IsEmpty());
  EXPECT_TRUE(FromSystemCodePage("abc", 0).IsEmpty());
  EXPECT_TRUE(ToSystemCodePage(CStringW()).IsEmpty());
}

}  // namespace
