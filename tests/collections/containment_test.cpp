#include "collections/containment.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr wchar_t kFolder[] = L"C:\\Users\\Ann\\Downloaded Content";

/// Whether a destination, joined like a manifest's, stays in the folder.
bool IsWithin(const std::wstring& destination) {
  return IsFolderWithin(JoinPath(kFolder, destination.c_str()), CFilePath(kFolder));
}

TEST(Containment, FoldersBelowAreWithin) {
  for (const wchar_t* destination : {L"", L"a", L"a\\b", L"a/b/c", L"a\\", L"\\a", L"a\\\\b",
                                     L"a.b\\c d", L"...a", L" a", L"Gr\u00F6\u00DFe", L"console",
                                     L"com", L"com10", L"comb", L"comx", L"nul1", L"auxiliary.x"}) {
    EXPECT_TRUE(IsWithin(destination)) << destination;
  }
}

TEST(Containment, DestinationThatLeadsElsewhereIsNotWithin) {
  for (const wchar_t* destination :
       {L"..", L"..\\x", L"..\\..\\x", L"a\\..\\..\\x", L"a\\..", L"../x", L".", L"a\\.\\b",
        L"C:\\Windows", L"x\\C:\\Windows", L"file:///C:\\Windows", L"\\\\?\\C:\\Windows", L"D:\\",
        L"x:y", L"a:stream", L"a::$DATA", L"a\\b:c\\d",
        // What the system reads as another name.
        L"a.", L"a..", L"a ", L"a. ", L"...", L" ", L"a \\b", L"a.\\b", L"a\tb", L"a\nb",
        L"..\u0001",
        // Devices.
        L"nul", L"NUL", L"con\\x", L"x\\aux", L"prn.txt", L"com1", L"COM9.a.b", L"lpt1", L"LPT9",
        L"com\u00B9", L"lpt\u00B3.x", L"nul .txt", L"conin$", L"conout$", L"clock$", L"com0"}) {
    EXPECT_FALSE(IsWithin(destination)) << destination;
  }
}

TEST(Containment, OnlyTheFolderAndWhatIsBelowIsWithin) {
  const CFilePath folder(kFolder);
  for (const wchar_t* path :
       {L"C:\\Users\\Ann\\Downloaded Content2", L"C:\\Users\\Ann\\Downloaded Contents\\a",
        L"C:\\Users\\Ann\\Downloaded", L"C:\\Users\\Ann", L"C:", L"", L"\\\\server\\share",
        L"Downloaded Content\\a"}) {
    EXPECT_FALSE(IsFolderWithin(CFilePath(path), folder)) << path;
  }
  EXPECT_TRUE(IsFolderWithin(CFilePath(L"c:/users/ann/downloaded content/a/"), folder));
  for (const wchar_t* path : {L"C:\\a", L"\\a", L""}) {
    EXPECT_FALSE(IsFolderWithin(CFilePath(path), CFilePath())) << path;
  }
}

TEST(Containment, PathsTooLongForTheSystemAreNotWithin) {
  const std::wstring folder = kFolder;
  EXPECT_TRUE(IsWithin(std::wstring(259 - folder.size() - 1, L'a')));
  EXPECT_FALSE(IsWithin(std::wstring(260 - folder.size() - 1, L'a')));
  EXPECT_FALSE(IsWithin(std::wstring(100000, L'a')));
}

TEST(Containment, FileNamesArePlain) {
  for (const wchar_t* name : {L"a", L"a.b.qdc", L"a b.qdc", L".qdc", L"..a", L"\u00E4.qdc"}) {
    EXPECT_TRUE(IsPlainFileName(name)) << name;
  }
  for (const wchar_t* name : {L"", L".", L"..", L"a\\b", L"a/b", L"C:a", L"a:b", L"a.", L"a ",
                              L"NUL", L"nul.qdc", L"Com1.qdc", L"a\rb", L"\x1F"}) {
    EXPECT_FALSE(IsPlainFileName(name)) << name;
  }
}

}  // namespace
