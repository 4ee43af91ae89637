#include "tools/browser_host/options.h"

#include <gtest/gtest.h>

TEST(ParseOptions, ShowsTheWindowWhenThereIsNoCommand) {
  const auto options = ParseOptions({});
  ASSERT_TRUE(options);
  EXPECT_TRUE(options->show);
  EXPECT_TRUE(options->loadRegisteredHelpers);
  EXPECT_FALSE(ParseOptions({L"quit"})->show);
  EXPECT_TRUE(ParseOptions({L"--show", L"quit"})->show);
  EXPECT_FALSE(ParseOptions({L"--commands-from-stdin"})->show);
}

TEST(ParseOptions, ReadsOptionsBeforeCommands) {
  const auto options = ParseOptions({L"--helper", L"{A}", L"--helper", L"{B}", L"--log", L"f.txt",
                                     L"--timeout", L"70", L"print", L"--show"});
  ASSERT_TRUE(options);
  EXPECT_FALSE(options->loadRegisteredHelpers);
  EXPECT_EQ(options->helpers, (std::vector<std::wstring>{L"{A}", L"{B}"}));
  EXPECT_EQ(options->logFile, L"f.txt");
  EXPECT_EQ(options->timeout, 70u);
  EXPECT_FALSE(options->show);
  ASSERT_EQ(options->commands.size(), 1u);
  EXPECT_EQ(options->commands[0].text, L"--show");
}

TEST(ParseOptions, LoadsNoHelperObjectsWhenToldSo) {
  const auto options = ParseOptions({L"--no-helpers"});
  EXPECT_FALSE(options->loadRegisteredHelpers);
  EXPECT_TRUE(options->helpers.empty());
}

TEST(ParseOptions, RefusesWrongOptions) {
  EXPECT_FALSE(ParseOptions({L"--bogus"}));
  EXPECT_FALSE(ParseOptions({L"--helper"}));
  EXPECT_FALSE(ParseOptions({L"--timeout", L"-1"}));
  EXPECT_FALSE(ParseOptions({L"quit", L"--show"}));
  EXPECT_FALSE(ParseOptions({L"--commands-from-stdin", L"quit"}));
}
