#include <gtest/gtest.h>

#include <atlstr.h>

#include <string>

namespace {

TEST(StringFormat, StringArgumentsOfAWideFormatAreWide) {
  CStringW text;
  text.Format(L"[%s] [%ls] [%hs] [%S]", L"w\x00ef\x4f60", L"long", "narrow", "other");
  EXPECT_STREQ(L"[w\x00ef\x4f60] [long] [narrow] [other]", text);
}

TEST(StringFormat, Numbers) {
  CStringW text;
  text.Format(L"%d.%u.%05X.%lld.%%.%c", -14, 4000000000U, 0xBEEF, -9000000000000LL, L'z');
  EXPECT_STREQ(L"-14.4000000000.0BEEF.-9000000000000.%.z", text);
}

TEST(StringFormat, LongResultIsNotCut) {
  const std::wstring part(100000, L'x');
  CStringW text;
  text.Format(L"<%s>", part.c_str());
  EXPECT_EQ(100002, text.GetLength());
  EXPECT_EQ(L'>', text[100001]);
}

TEST(StringFormat, ArgumentMayBeTheStringItself) {
  CStringW text(L"self");
  text.Format(L"<%s%s>", text.GetString(), text.GetString());
  EXPECT_STREQ(L"<selfself>", text);
}

TEST(StringFormat, EmptyFormatGivesTheEmptyString) {
  CStringW text(L"old");
  const wchar_t* const format = L"";
  text.Format(format);
  EXPECT_TRUE(text.IsEmpty());
}

TEST(StringFormat, NullFormatIsRefused) {
  CStringW text(L"old");
  EXPECT_THROW(text.Format(nullptr), CAtlException);
  EXPECT_STREQ(L"old", text);
}

TEST(StringConstruct, FromParts) {
  EXPECT_STREQ(L"", CStringW());
  EXPECT_STREQ(L"", CStringW(static_cast<PCWSTR>(nullptr)));
  EXPECT_STREQ(L"ab", CStringW(L"abc", 2));
  EXPECT_EQ(3, CStringW(L"a\0b", 3).GetLength());
}

TEST(StringJoin, EveryPairOfOperands) {
  const CStringW a(L"ab");
  EXPECT_STREQ(L"abab", a + a);
  EXPECT_STREQ(L"abcd", a + L"cd");
  EXPECT_STREQ(L"cdab", L"cd" + a);
  EXPECT_STREQ(L"abc", a + L'c');
  EXPECT_STREQ(L"ab", a + static_cast<PCWSTR>(nullptr));
  CStringW text(a);
  text += L'c';
  text += a;
  EXPECT_STREQ(L"abcab", text);
  const CStringA narrow("ab");
  EXPECT_STREQ("abab", narrow + narrow);
  EXPECT_STREQ("cdab", "cd" + narrow);
}

TEST(StringCompare, OperatorsAndCompareNoCase) {
  const CStringW a(L"abc");
  const CStringW b(L"abd");
  EXPECT_TRUE(a == CStringW(L"abc"));
  EXPECT_TRUE(a == L"abc");
  EXPECT_TRUE(L"abc" == a);
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a != b && a != L"abd" && L"abd" != a);
  EXPECT_FALSE(a == L"ABC");
  EXPECT_EQ(0, a.CompareNoCase(L"ABC"));
  EXPECT_GT(0, a.CompareNoCase(b));
  EXPECT_THROW((void)(a == static_cast<PCWSTR>(nullptr)), CAtlException);
}

TEST(StringFind, Positions) {
  const CStringW text(L"a.b.c");
  EXPECT_EQ(1, text.Find(L'.'));
  EXPECT_EQ(3, text.Find(L'.', 2));
  EXPECT_EQ(-1, text.Find(L'.', 4));
  EXPECT_EQ(-1, text.Find(L'.', 99));
  EXPECT_EQ(-1, text.Find(L'.', -1));
  EXPECT_EQ(-1, text.Find(L'x'));
  EXPECT_EQ(2, text.Find(L"b."));
  EXPECT_EQ(-1, text.Find(L"b.", 3));
  EXPECT_EQ(-1, text.Find(L"b.", 99));
  EXPECT_EQ(-1, text.Find(static_cast<PCWSTR>(nullptr)));
  EXPECT_EQ(3, text.ReverseFind(L'.'));
  EXPECT_EQ(-1, text.ReverseFind(L'x'));
  EXPECT_EQ(2, text.FindOneOf(L"cb"));
  EXPECT_EQ(-1, text.FindOneOf(L"xyz"));
}

TEST(StringParts, AreClippedToTheString) {
  const CStringW text(L"abcde");
  EXPECT_STREQ(L"ab", text.Left(2));
  EXPECT_STREQ(L"abcde", text.Left(9));
  EXPECT_STREQ(L"", text.Left(-1));
  EXPECT_STREQ(L"cde", text.Mid(2));
  EXPECT_STREQ(L"cd", text.Mid(2, 2));
  EXPECT_STREQ(L"e", text.Mid(4, INT_MAX));
  EXPECT_STREQ(L"", text.Mid(5));
  EXPECT_STREQ(L"ab", text.Mid(-3, 2));
  EXPECT_STREQ(L"", text.Mid(1, -1));
}

TEST(StringChange, ReplaceCharacters) {
  CStringW text(L"a/b/c");
  EXPECT_EQ(2, text.Replace(L'/', L'\\'));
  EXPECT_STREQ(L"a\\b\\c", text);
  EXPECT_EQ(0, text.Replace(L'x', L'y'));
  EXPECT_EQ(0, text.Replace(L'a', L'a'));
}

TEST(StringChange, TrimRight) {
  CStringW text(L" a b \t\r\n ");
  const CStringW original(text);
  EXPECT_STREQ(L" a b", text.TrimRight());
  EXPECT_STREQ(L" a b \t\r\n ", original);
  EXPECT_STREQ(L"", CStringW(L" \t ").TrimRight());
  EXPECT_STREQ(L"", CStringW().TrimRight());
}

}  // namespace
