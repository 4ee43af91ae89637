#include "download/file_path.h"

#include <gtest/gtest.h>

namespace {

static_assert(sizeof(CFilePath) == sizeof(CStringW));

struct CTextCase {
  const wchar_t* given;
  const wchar_t* expected;
};

TEST(FilePath, ConstructorNormalisesTheText) {
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
      // What precedes a drive letter goes.
      {L"\\\\?\\C:\\x", L"C:\\x"},
      {L"file:///C:\\x", L"C:\\x"},
      {L"abcD:\\x", L"D:\\x"},
      {L"C:\\a\\D:\\b", L"D:\\b"},
      // Looked for before slashes are turned: this is no drive yet.
      {L"file:///C:/x", L"file:\\\\\\C:\\x"},
      {L"http://host/a/b", L"http:\\\\host\\a\\b"},
      // A colon further left, or without a backslash after it, ends no prefix.
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
    EXPECT_STREQ(CFilePath(CStringW(c.given)), c.expected) << c.given;
    EXPECT_STREQ(CFilePath(c.given), c.expected) << c.given;
  }
}

TEST(FilePath, NameLosesTheNineIllegalCharacters) {
  for (wchar_t c = 0; c < 128; ++c) {
    const bool illegal = c != 0 && wcschr(L"<>:\"/\\|?*", c) != nullptr;
    const wchar_t characters[] = {L'a', c, L'b'};
    const CStringW name(characters, 3);
    EXPECT_EQ(RemoveIllegalFileNameChars(name), illegal ? CStringW(L"ab") : name)
        << static_cast<int>(c);
  }
  EXPECT_STREQ(RemoveIllegalFileNameChars(L"?\x00e4\x4f60 |?b?"), L"\x00e4\x4f60 b");
}

TEST(FilePath, PartsEndAtTheLastBackslashAndTheLastDotBehindIt) {
  struct {
    LPCWSTR path;
    LPCWSTR parent;
    LPCWSTR name;
    LPCWSTR extension;
    LPCWSTR changed;  // to another extension
  } const cases[] = {
      {L"C:\\a\\b.folivo", L"C:\\a", L"b.folivo", L".folivo", L"C:\\a\\b.qdk"},
      {L"C:\\x.y\\file", L"C:\\x.y", L"file", L"", L"C:\\x.y\\file.qdk"},
      {L"C:\\x\\.hidden", L"C:\\x", L".hidden", L".hidden", L"C:\\x\\.qdk"},
      {L"C:\\a", L"C:", L"a", L"", L"C:\\a.qdk"},
      {L"C:\\a\\\\b", L"C:\\a", L"b", L"", L"C:\\a\\\\b.qdk"},
      {L"C:\\a\\\\", L"C:\\a", L"", L"", L"C:\\a\\.qdk"},
      {L"a.b.c", L"a.b.c", L"a.b.c", L".c", L"a.b.qdk"},
      {L"a.", L"a.", L"a.", L".", L"a.qdk"},
      {L".a", L".a", L".a", L".a", L".qdk"},
      {L"", L"", L"", L"", L".qdk"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.path));
    CFilePath path(c.path);
    EXPECT_STREQ(path.GetParentFolder(), c.parent);
    EXPECT_STREQ(path.GetFileNamePart(), c.name);
    EXPECT_STREQ(path.GetExtension(), c.extension);
    CFilePath parent = path;
    EXPECT_EQ(parent.RemoveLastComponent(), wcschr(c.path, L'\\') != nullptr);
    EXPECT_STREQ(CFilePath(parent.GetText()), c.parent);
    path.ChangeExtension(L".qdk");
    EXPECT_STREQ(path, c.changed);
  }
}

TEST(FilePath, AppendedComponentsAreNormalised) {
  struct {
    LPCWSTR path;
    LPCWSTR component;
    LPCWSTR expected;
  } const cases[] = {
      {L"C:", L"a/b/", L"C:\\a\\b"},
      {L"C:\\a", L"", L"C:\\a"},
      {L"C:\\a", L"\\c", L"C:\\a\\\\c"},
      {L"", L"c", L"\\c"},
      {L"C:/a", L"b/c/", L"C:\\a\\b\\c"},
      {L"C:\\a\\", L"b", L"C:\\a\\b"},
      {L"100%s", L"%d\x4f60", L"100%s\\%d\x4f60"},
  };
  for (const auto& c : cases) {
    CFilePath path(c.path);
    EXPECT_STREQ(JoinPath(path, c.component), c.expected);
    path.AppendComponent(c.component);
    EXPECT_STREQ(path, c.expected);
  }
}

}  // namespace
