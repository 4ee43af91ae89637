#include "download/file_path.h"

#include <gtest/gtest.h>

#include <string>

namespace {

static_assert(sizeof(CFilePath) == sizeof(CStringW));

struct CTextCase {
  const wchar_t* given;
  const wchar_t* expected;
};

TEST(NormalizePath, GivesTheOneFormOfAPath) {
  const CTextCase cases[] = {
      {L"", L""},
      {L"C:/Temp/x/", L"C:\\Temp\\x"},
      {L"C:\\Temp\\x", L"C:\\Temp\\x"},
      {L"/", L""},
      {L"a", L"a"},
      // One trailing backslash goes, no more.
      {L"C:\\", L"C:"},
      {L"C:\\a\\\\", L"C:\\a\\"},
      {L"C:/a//", L"C:\\a\\"},
      // What stands in front of a drive letter goes.
      {L"\\\\?\\C:\\x", L"C:\\x"},
      {L"file:///C:\\x", L"C:\\x"},
      {L"abcD:\\x", L"D:\\x"},
      {L"C:\\a\\D:\\b", L"D:\\b"},
      // Looked for before slashes are turned: this is no drive yet.
      {L"file:///C:/x", L"file:\\\\\\C:\\x"},
      {L"http://host/a/b", L"http:\\\\host\\a\\b"},
      // A colon further left, or without a backslash, is none of a drive behind a prefix.
      {L"a:b\\c", L"a:b\\c"},
      {L":\\x", L":\\x"},
      {L"a:\\x", L"a:\\x"},
      {L"ab:\\x", L"ab:\\x"},
      {L"abc:\\x", L"abc:\\x"},
      {L"abcd:\\x", L"d:\\x"},
      {L"abcd:x", L"abcd:x"},
      {L"abcd:", L"abcd:"},
      {L"abcd:/x", L"abcd:\\x"},
      // Only the last colon counts.
      {L"abcd:\\x:y", L"abcd:\\x:y"},
      {L"\\\\server\\share\\", L"\\\\server\\share"},
  };
  for (const CTextCase& c : cases) {
    EXPECT_STREQ(NormalizePath(c.given), c.expected) << c.given;
    EXPECT_STREQ(CFilePath(CStringW(c.given)).GetText(), c.expected) << c.given;
    EXPECT_STREQ(CFilePath(c.given), c.expected) << c.given;
  }
}

TEST(NormalizePath, LongTextsAreNotCut) {
  for (const size_t length : {259U, 260U, 261U, 5000U}) {
    const std::wstring text = L"C:/" + std::wstring(length - 3, L'x');
    EXPECT_EQ(NormalizePath(text.c_str()).GetLength(), static_cast<int>(length));
  }
}

TEST(RemoveIllegalFileNameChars, TakesExactlyNineAsciiCharactersAway) {
  for (wchar_t c = 0; c < 128; ++c) {
    const bool illegal = c != 0 && wcschr(L"<>:\"/\\|?*", c) != nullptr;
    const wchar_t characters[] = {L'a', c, L'b'};
    const CStringW name(characters, 3);
    EXPECT_EQ(RemoveIllegalFileNameChars(name), illegal ? CStringW(L"ab") : name)
        << static_cast<int>(c);
  }
}

TEST(RemoveIllegalFileNameChars, KeepsTheRestInOrder) {
  const CTextCase cases[] = {
      {L"lesson?.qdk", L"lesson.qdk"},        {L"a/b", L"ab"}, {L"???", L""}, {L"", L""},
      {L"\x00e4\x4f60 b", L"\x00e4\x4f60 b"},
  };
  for (const CTextCase& c : cases) {
    EXPECT_STREQ(RemoveIllegalFileNameChars(c.given), c.expected) << c.given;
  }
}

TEST(FilePath, EmptyStandsForNoPath) {
  const CFilePath path;
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_STREQ(path, L"");
  EXPECT_FALSE(CFilePath(L"a").IsEmpty());
  EXPECT_TRUE(CFilePath(L"\\").IsEmpty());
}

TEST(FilePath, FileNamePartIsTheTextAfterTheLastBackslash) {
  EXPECT_STREQ(CFilePath(L"C:\\a\\b.qdk").GetFileNamePart(), L"b.qdk");
  EXPECT_STREQ(CFilePath(L"b.qdk").GetFileNamePart(), L"b.qdk");
  EXPECT_STREQ(CFilePath(L"C:\\a\\\\").GetFileNamePart(), L"");
  EXPECT_STREQ(CFilePath().GetFileNamePart(), L"");
}

TEST(FilePath, ParentFolderIsTheTextBeforeTheLastBackslash) {
  EXPECT_STREQ(CFilePath(L"C:\\a\\b.qdk").GetParentFolder(), L"C:\\a");
  EXPECT_STREQ(CFilePath(L"C:\\a").GetParentFolder(), L"C:");
  EXPECT_STREQ(CFilePath(L"C:\\a\\\\b").GetParentFolder(), L"C:\\a");
  EXPECT_STREQ(CFilePath(L"file").GetParentFolder(), L"file");
  EXPECT_STREQ(CFilePath().GetParentFolder(), L"");
}

TEST(FilePath, LastComponentIsRemovedInPlace) {
  CFilePath path(L"C:\\a\\b");
  EXPECT_TRUE(path.RemoveLastComponent());
  EXPECT_STREQ(path, L"C:\\a");
  EXPECT_TRUE(path.RemoveLastComponent());
  EXPECT_STREQ(path, L"C:");
  EXPECT_FALSE(path.RemoveLastComponent());
  EXPECT_STREQ(path, L"C:");
  CFilePath none;
  EXPECT_FALSE(none.RemoveLastComponent());
}

TEST(FilePath, AppendedComponentsAreNormalised) {
  CFilePath path(L"C:");
  path.AppendComponent(L"a/b/");
  EXPECT_STREQ(path, L"C:\\a\\b");
  path.AppendComponent(L"");
  EXPECT_STREQ(path, L"C:\\a\\b");
  path.AppendComponent(L"\\c");
  EXPECT_STREQ(path, L"C:\\a\\b\\\\c");
  CFilePath empty;
  empty.AppendComponent(L"c");
  EXPECT_STREQ(empty, L"\\c");
}

TEST(FilePath, ExtensionBeginsAtTheLastDotOfTheLastComponent) {
  const CTextCase cases[] = {
      {L"C:\\x.y\\file", L""},
      {L"a.b.qdk", L".qdk"},
      {L"C:\\x.y\\a.folivo", L".folivo"},
      {L"C:\\x\\.hidden", L".hidden"},
      {L"a.", L"."},
      {L"", L""},
      {L"plain", L""},
  };
  for (const CTextCase& c : cases) {
    EXPECT_STREQ(CFilePath(c.given).GetExtension(), c.expected) << c.given;
  }
}

TEST(FilePath, ExtensionIsReplacedOrAppended) {
  const auto changed = [](LPCWSTR text) {
    CFilePath path(text);
    path.ChangeExtension(L".qdk");
    return path.GetText();
  };
  EXPECT_STREQ(changed(L"C:\\x.y\\file"), L"C:\\x.y\\file.qdk");
  EXPECT_STREQ(changed(L"C:\\x.y\\file.a.b"), L"C:\\x.y\\file.a.qdk");
  EXPECT_STREQ(changed(L"file."), L"file.qdk");
  EXPECT_STREQ(changed(L""), L".qdk");
}

TEST(FilePath, CopiesAreIndependent) {
  const CFilePath original(L"C:\\a\\b");
  CFilePath copy = original;
  copy.AppendComponent(L"c");
  EXPECT_STREQ(original, L"C:\\a\\b");
  EXPECT_STREQ(copy, L"C:\\a\\b\\c");
}

TEST(JoinPath, PutsABackslashBetweenAndNormalises) {
  EXPECT_STREQ(JoinPath(L"C:\\a", L"b"), L"C:\\a\\b");
  EXPECT_STREQ(JoinPath(L"C:/a", L"b/c/"), L"C:\\a\\b\\c");
  EXPECT_STREQ(JoinPath(L"C:\\a\\", L"b"), L"C:\\a\\b");
  EXPECT_STREQ(JoinPath(L"", L"b"), L"\\b");
  EXPECT_STREQ(JoinPath(L"C:\\a", L""), L"C:\\a");
  EXPECT_STREQ(JoinPath(L"100%s", L"%d\x4f60"), L"100%s\\%d\x4f60");
}

}  // namespace
