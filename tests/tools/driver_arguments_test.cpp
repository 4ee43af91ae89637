#include "tools/dialog_driver/arguments.h"

#include <gtest/gtest.h>

TEST(DriverArguments, SeparatesWordsAndOptions) {
  const auto arguments = ParseArguments({L"wait-window", L"--title", L"", L"--class", L"#32770",
                                         L"--pid", L"12", L"--timeout", L"0x10"});
  ASSERT_TRUE(arguments);
  EXPECT_EQ(arguments->words, std::vector<std::wstring>{L"wait-window"});
  EXPECT_EQ(arguments->filter.title, L"");
  EXPECT_EQ(arguments->filter.className, L"#32770");
  EXPECT_EQ(arguments->filter.processId, 12u);
  EXPECT_EQ(arguments->timeout, 16u);
}

TEST(DriverArguments, TakesTextsThatLookLikeOptions) {
  const auto arguments = ParseArguments({L"set-text", L"1", L"2", L"--", L"--title", L"--"});
  ASSERT_TRUE(arguments);
  EXPECT_EQ(arguments->words,
            (std::vector<std::wstring>{L"set-text", L"1", L"2", L"--title", L"--"}));
  EXPECT_FALSE(arguments->filter.title);
}

TEST(DriverArguments, RefusesWrongUsage) {
  EXPECT_FALSE(ParseArguments({}));
  EXPECT_FALSE(ParseArguments({L"--title", L"x"}));
  EXPECT_FALSE(ParseArguments({L"list", L"--title"}));
  EXPECT_FALSE(ParseArguments({L"list", L"--bogus", L"1"}));
  EXPECT_FALSE(ParseArguments({L"list", L"--pid", L"x"}));
  EXPECT_TRUE(ParseArguments({L"--help"})->help);
}

TEST(DriverArguments, ReadsNumbersAndKeys) {
  HWND window = nullptr;
  EXPECT_TRUE(ParseWindow(L"0x0001002c", window));
  EXPECT_EQ(window, reinterpret_cast<HWND>(0x1002c));
  EXPECT_FALSE(ParseWindow(L"window", window));
  int id = 0;
  EXPECT_TRUE(ParseId(L"0x47C", id));
  EXPECT_EQ(id, 1148);
  EXPECT_FALSE(ParseId(L"", id));
  WORD key = 0;
  EXPECT_TRUE(ParseKey(L"escape", key));
  EXPECT_EQ(key, VK_ESCAPE);
  EXPECT_FALSE(ParseKey(L"f13", key));
}
