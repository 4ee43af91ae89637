#include "tools/browser_host/command.h"

#include <gtest/gtest.h>

TEST(ParseCommandLine, TakesEverythingBehindTheFirstBlankAsTheArgument) {
  const auto command = ParseCommandLine(L"navigate C:\\My Lessons\\a b.folivo");
  ASSERT_TRUE(command);
  EXPECT_EQ(command->kind, CommandKind::kNavigate);
  EXPECT_EQ(command->text, L"C:\\My Lessons\\a b.folivo");
}

TEST(ParseCommandLine, KnowsEveryCommand) {
  EXPECT_EQ(ParseCommandLine(L"back")->kind, CommandKind::kBack);
  EXPECT_EQ(ParseCommandLine(L"stop")->kind, CommandKind::kStop);
  EXPECT_EQ(ParseCommandLine(L"wait-navigation")->kind, CommandKind::kWaitNavigation);
  EXPECT_EQ(ParseCommandLine(L"wait-idle")->kind, CommandKind::kWaitIdle);
  EXPECT_EQ(ParseCommandLine(L"print x")->kind, CommandKind::kPrint);
  EXPECT_EQ(ParseCommandLine(L"quit")->kind, CommandKind::kQuit);
  EXPECT_EQ(ParseCommandLine(L"close")->kind, CommandKind::kClose);
  const auto wait = ParseCommandLine(L"wait 250");
  ASSERT_TRUE(wait);
  EXPECT_EQ(wait->kind, CommandKind::kWait);
  EXPECT_EQ(wait->milliseconds, 250u);
}

TEST(ParseCommandLine, RefusesWhatIsNoCommand) {
  for (const wchar_t* line : {L"", L" ", L"jump", L"navigate", L"navigate ", L"wait", L"wait soon",
                              L"wait -1", L"wait 1x", L"quit now", L"Quit"}) {
    EXPECT_FALSE(ParseCommandLine(line)) << line;
  }
}

TEST(ParseCommandWords, GivesEachCommandTheArgumentItNeeds) {
  const auto commands = ParseCommandWords({L"navigate", L"quit", L"wait", L"5", L"quit"});
  ASSERT_TRUE(commands);
  ASSERT_EQ(commands->size(), 3u);
  EXPECT_EQ((*commands)[0].text, L"quit");
  EXPECT_EQ((*commands)[1].milliseconds, 5u);
  EXPECT_EQ((*commands)[2].kind, CommandKind::kQuit);
}

TEST(ParseCommandWords, RefusesTheWholeWhenOneIsWrong) {
  EXPECT_TRUE(ParseCommandWords({})->empty());
  EXPECT_FALSE(ParseCommandWords({L"quit", L"navigate"}));
  EXPECT_FALSE(ParseCommandWords({L"wait", L"quit"}));
  EXPECT_FALSE(ParseCommandWords({L"quit", L"now"}));
}
