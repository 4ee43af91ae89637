#include "collections/unzip_callbacks.h"

#include <gmock/gmock.h>

#include <new>

#include "tests/collections/stdout_capture.h"
#include "tests/support/import_spy.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::ElementsAre;

// The library's texts are its own to change, so they come as such.
LPSTR Text(const char* text) { return const_cast<LPSTR>(text); }

void ListEntry(const char* name) {
  UnzipListEntry(1, 1, 0, 1, 2, 2003, 4, 5, ' ', Text(name), Text("Stored"), 0, ' ');
}

/// The line that a report writes.
std::string Report(unsigned long size, unsigned long compressedSize, unsigned factor, char flag,
                   const char* name) {
  CStdoutCapture output;
  UnzipReportEntry(size, compressedSize, factor, 1, 2, 3, 4, 5, flag, Text(name), Text("Stored"), 0,
                   ' ');
  return output.Take();
}

TEST(UnzipCallbacks, PrintWritesTheTextAndReturnsItsLength) {
  CStdoutCapture output;
  EXPECT_EQ(UnzipPrint(Text("50% of %s, %n\n"), 14), 14);
  EXPECT_EQ(output.Take(), "50% of %s, %n\n");
  EXPECT_EQ(UnzipPrint(Text("text"), 1000), 1000) << "the length is the library's, used or not";
  EXPECT_EQ(output.Take(), "text");
  EXPECT_EQ(UnzipPrint(Text("\xFC\x80"), 2), 2);
  EXPECT_EQ(output.Take(), "\xFC\x80") << "bytes, whatever the code page";
  EXPECT_EQ(UnzipPrint(nullptr, 5), 5);
  EXPECT_EQ(output.Take(), "");
}

TEST(UnzipCallbacks, ReplaceAndPasswordReturnOne) {
  CStdoutCapture output;
  EXPECT_EQ(UnzipReplace(Text("a.txt")), 1);
  char password[] = "untouched";
  EXPECT_EQ(UnzipPassword(password, sizeof(password), "Enter password: ", "a.txt"), 1);
  EXPECT_STREQ(password, "untouched");
  EXPECT_EQ(UnzipReplace(nullptr), 1);
  EXPECT_EQ(UnzipPassword(nullptr, 0, nullptr, nullptr), 1);
  EXPECT_EQ(output.Take(), "");
}

TEST(UnzipCallbacks, ListEntryAppendsToTheRegisteredList) {
  CStdoutCapture output;
  CSimpleArray<CStringW> names;
  names.Add(L"before");
  {
    const CUnzipListingTarget target(names);
    ListEntry("a.txt");
    ListEntry(
        "Gr\xFC\xDF"
        "e%s.txt");
    ListEntry("");
    ListEntry(nullptr);
    ListEntry(std::string(70000, 'n').c_str());
  }
  ListEntry("after");
  EXPECT_THAT(ToVector(names), ElementsAre(L"before", L"a.txt", L"Gr\u00fc\u00dfe%s.txt", L"",
                                           std::wstring(70000, L'n')));
  EXPECT_EQ(output.Take(), "");
}

TEST(UnzipCallbacks, OutOfMemoryIsNoException) {
  CSimpleArray<CStringW> names;
  const CUnzipListingTarget target(names);
  const CImportSpy<&MultiByteToWideChar> convert("kernel32.dll", "MultiByteToWideChar",
                                                 [](auto...) -> int { throw std::bad_alloc(); });
  EXPECT_NO_THROW(ListEntry("a.txt"));
  EXPECT_NO_THROW(Report(1, 1, 0, ' ', "a.txt"));
  EXPECT_EQ(names.GetSize(), 0);
}

TEST(UnzipCallbacks, ReportTellsTheFactor) {
  const struct {
    unsigned long size;
    unsigned long compressedSize;
    unsigned factor;
    char flag;
    const char* name;
    const char* line;
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
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Report(c.size, c.compressedSize, c.factor, c.flag, c.name), c.line);
  }
  // Names are cut, and it is still one line.
  EXPECT_EQ(Report(1, 1, 0, ' ', std::string(70000, 'n').c_str()),
            "      1        1   0%  01-02-03  04:05   " + std::string(1024, 'n') + "\n");
}

}  // namespace
