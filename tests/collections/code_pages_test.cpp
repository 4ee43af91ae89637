#include "collections/code_pages.h"

#include <gtest/gtest.h>

#include <string>

#include "plugin/thread_locale.h"

namespace {

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    bytes += static_cast<char>(i);
  }
  return bytes;
}

TEST(SystemCodePage, EveryByteGoesThereAndBack) {
  const std::string bytes = AllBytes();
  const CStringW wide = FromSystemCodePage(bytes.data(), 256);
  EXPECT_EQ(wide.GetLength(), 256);
  const CStringA back = ToSystemCodePage(wide);
  EXPECT_EQ(std::string(back.GetString(), static_cast<size_t>(back.GetLength())), bytes);
}

TEST(SystemCodePage, IsTheSystemsWhateverTheThreadsLocaleIs) {
  const CThreadLocaleScope japanese(
      MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
  wchar_t threads = 0;
  ASSERT_EQ(MultiByteToWideChar(CP_THREAD_ACP, 0, "\xE9", 1, &threads, 1), 1);
  ASSERT_NE(threads, L'\u00E9') << "this locale changes nothing";
  EXPECT_EQ(FromSystemCodePage("caf\xE9!"), L"caf\u00E9!");
  EXPECT_STREQ(ToSystemCodePage(L"caf\u00E9!"), "caf\xE9!");
}

TEST(SystemCodePage, NothingIsNothing) {
  EXPECT_TRUE(FromSystemCodePage(nullptr).IsEmpty());
  EXPECT_TRUE(FromSystemCodePage("").IsEmpty());
  EXPECT_TRUE(FromSystemCodePage("abc", 0).IsEmpty());
  EXPECT_TRUE(ToSystemCodePage(CStringW()).IsEmpty());
}

TEST(SystemCodePage, WhatTheCodePageLacksIsReplaced) {
  EXPECT_STREQ(ToSystemCodePage(L"a\u4E2Db"), "a?b");
}

}  // namespace
