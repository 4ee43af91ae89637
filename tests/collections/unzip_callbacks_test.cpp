#include "collections/unzip_callbacks.h"

#include <gmock/gmock.h>

#include <new>

#include "tests/collections/stdout_capture.h"
#include "tests/support/import_patch.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::SizeIs;

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
  const std::string longText(100000, 'x');
  EXPECT_EQ(UnzipPrint(Text(longText.c_str()), 100000), 100000);
  EXPECT_EQ(output.Take(), longText);
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

TEST(UnzipCallbacks, ListEntryWithoutAListDoesNothing) {
  ListEntry("a.txt");
  ListEntry(nullptr);
}

int WINAPI ConvertWithoutMemory(UINT, DWORD, LPCCH, int, LPWSTR, int) { throw std::bad_alloc(); }

TEST(UnzipCallbacks, LetNoExceptionOut) {
  CSimpleArray<CStringW> names;
  const CUnzipListingTarget target(names);
  const CImportPatch patch("kernel32.dll", "MultiByteToWideChar", ConvertWithoutMemory);
  EXPECT_NO_THROW(ListEntry("a.txt"));
  EXPECT_NO_THROW(Report(1, 1, 0, ' ', "a.txt"));
  EXPECT_EQ(names.GetSize(), 0);
}

TEST(UnzipCallbacks, ReportWritesOneLine) {
  EXPECT_EQ(Report(1234567, 678901, 45, '*', "folder/a.txt"),
            "1234567   678901  45%  01-02-03  04:05  *folder/a.txt\n");
  EXPECT_EQ(Report(7, 7, 0, ' ', "b.txt"), "      7        7   0%  01-02-03  04:05   b.txt\n");
  CStdoutCapture output;
  UnzipReportEntry(4294967295u, 4294967295u, 9, 12, 31, 2011, 23, 59, 'x', Text("c"), nullptr, 0,
                   'E');
  EXPECT_EQ(output.Take(), "4294967295  4294967295   9%  12-31-2011  23:59  xc\n");
}

TEST(UnzipCallbacks, ReportTellsTheFactor) {
  // Growing: a sign. Not growing: a blank in its place.
  EXPECT_EQ(Report(1, 2, 45, ' ', "a"), "      1        2 -45%  01-02-03  04:05   a\n");
  EXPECT_EQ(Report(2, 1, 45, ' ', "a"), "      2        1  45%  01-02-03  04:05   a\n");
  EXPECT_EQ(Report(2, 2, 5, ' ', "a"), "      2        2   5%  01-02-03  04:05   a\n");
  EXPECT_EQ(Report(1, 900, 200, ' ', "a"), "      1      900 -200%  01-02-03  04:05   a\n");
  // A full one is a text of its own, with both signs, whichever way the sizes are.
  EXPECT_EQ(Report(2, 1, 100, ' ', "a"), "      2        1 100%%  01-02-03  04:05   a\n");
  EXPECT_EQ(Report(1, 2, 100, ' ', "a"), "      1        2 100%%  01-02-03  04:05   a\n");
  EXPECT_EQ(Report(2, 1, 99, ' ', "a"), "      2        1  99%  01-02-03  04:05   a\n");
}

TEST(UnzipCallbacks, ReportTakesAnyName) {
  EXPECT_EQ(Report(1, 1, 0, ' ', "%s%n%d 100%"),
            "      1        1   0%  01-02-03  04:05   %s%n%d 100%\n");
  EXPECT_EQ(Report(1, 1, 0, ' ', nullptr), "      1        1   0%  01-02-03  04:05   \n");
  // Bounded, and still one line.
  const std::string line = Report(1, 1, 0, ' ', std::string(70000, 'n').c_str());
  EXPECT_THAT(line, EndsWith("nnn\n"));
  EXPECT_LT(line.size(), 1100u);
}

}  // namespace
