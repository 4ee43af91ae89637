#include "tools/launcher_standin/command_line.h"

#include <gtest/gtest.h>

TEST(RawArguments, DropsOnlyTheProgramNameAndTheBlanksBehindIt) {
  EXPECT_EQ(RawArguments(L"LaunchFolivo.exe C:\\a  b.folivo "), L"C:\\a  b.folivo ");
  EXPECT_EQ(RawArguments(L"\"C:\\Program Files\\LaunchFolivo.exe\" \"x y\"  z"), L"\"x y\"  z");
  EXPECT_EQ(RawArguments(L"\"C:\\a b\"\\c.exe \t /insertinfolivo:x"), L"/insertinfolivo:x");
}

TEST(RawArguments, IsEmptyWithoutArguments) {
  EXPECT_EQ(RawArguments(L"a.exe"), L"");
  EXPECT_EQ(RawArguments(L"\"a b.exe\" "), L"");
  EXPECT_EQ(RawArguments(L"\"never closed.exe x"), L"");
  EXPECT_EQ(RawArguments(L""), L"");
}

TEST(FormatRecord, IsOneLineOfUtf8) {
  EXPECT_EQ(FormatRecord(L"C:\\\u00e4 \u4f60.folivo", L"C:\\work"),
            "C:\\\xc3\xa4 \xe4\xbd\xa0.folivo\tC:\\work\n");
  EXPECT_EQ(FormatRecord(L"a\r\nb", L"C:\\"),
            "a\xe2\x90\x8d\xe2\x90\x8a"
            "b\tC:\\\n");
}
