#include "collections/unzip_callbacks.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unzip/unzip_test.h"

namespace {

// The library's texts are its own to change, so they come as such.
LPSTR Text(const char* text) { return const_cast<LPSTR>(text); }

TEST(UnzipCallbacks, PrintWritesTheTextAndReturnsItsLength) {
  CStdoutCapture output;
  EXPECT_EQ(UnzipPrint(Text("50% of %s, %n\n"), 14), 14);
  EXPECT_EQ(output.Take(), "50% of %s, %n\n");
  EXPECT_EQ(UnzipPrint(Text("\xFC\x80"), 1000), 1000) << "the length is the library's";
  EXPECT_EQ(output.Take(), "\xFC\x80") << "bytes, whatever the code page";
  EXPECT_EQ(UnzipPrint(nullptr, 5), 5);
  EXPECT_EQ(output.Take(), "");
}

TEST(UnzipCallbacks, ReplaceAndPasswordReturnOne) {
  EXPECT_EQ(UnzipReplace(Text("a.txt")), 1);
  char password[] = "untouched";
  EXPECT_EQ(UnzipPassword(password, sizeof(password), "Enter password: ", "a.txt"), 1);
  EXPECT_STREQ(password, "untouched");
}

TEST(UnzipCallbacks, EntryWithoutANameIsNotListed) {
  CSimpleArray<CStringW> names;
  const CUnzipListingTarget target(names);
  UnzipListEntry(1, 1, 0, 1, 2, 3, 4, 5, ' ', nullptr, nullptr, 0, ' ');
  EXPECT_EQ(names.GetSize(), 0);
}

TEST(UnzipCallbacks, ReportIsOneLine) {
  const std::string longName(1025, 'n');
  const struct {
    unsigned long size;
    unsigned long compressedSize;
    unsigned factor;
    char flag;
    const char* name;
    std::string line;
  } cases[] = {
      {1234567, 678901, 45, '*', "folder/a.txt",
       "1234567   678901  45%  01-02-03  04:05  *folder/a.txt\n"},
      {4294967295, 4294967295, 9, 'x', "c", "4294967295  4294967295   9%  01-02-03  04:05  xc\n"},
      // Growing: a sign. Not growing: a blank in its place.
      {1, 2, 45, ' ', "a", "      1        2 -45%  01-02-03  04:05   a\n"},
      {2, 2, 5, ' ', "a", "      2        2   5%  01-02-03  04:05   a\n"},
      {1, 900, 200, ' ', "a", "      1      900 -200%  01-02-03  04:05   a\n"},
      // A full one is a text of its own, with both signs, whichever way the sizes are.
      {2, 1, 100, ' ', "a", "      2        1 100%%  01-02-03  04:05   a\n"},
      {1, 2, 100, ' ', "a", "      1        2 100%%  01-02-03  04:05   a\n"},
      {1, 1, 0, ' ', "%s%n%d 100%", "      1        1   0%  01-02-03  04:05   %s%n%d 100%\n"},
      {1, 1, 0, ' ', nullptr, "      1        1   0%  01-02-03  04:05   \n"},
      {1, 1, 0, ' ', longName.c_str(),
       "      1        1   0%  01-02-03  04:05   " + std::string(1024, 'n') + "\n"},
  };
  for (const auto& c : cases) {
    CStdoutCapture output;
    UnzipReportEntry(c.size, c.compressedSize, c.factor, 1, 2, 3, 4, 5, c.flag, Text(c.name),
                     nullptr, 0, ' ');
    EXPECT_EQ(output.Take(), c.line);
  }
}

}  // namespace
