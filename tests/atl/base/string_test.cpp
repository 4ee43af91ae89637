#include <gtest/gtest.h>

#include <atlstr.h>

#include <climits>
#include <string>
#include <utility>

namespace {

TEST(String, FormatTakesWideArguments) {
  CStringW text;
  text.Format(L"[%s] [%hs] %d.%u.%05X.%lld.%%.%c", L"w\x00ef\x4f60", "narrow", -14, 4000000000U,
              0xBEEF, -9000000000000LL, L'z');
  EXPECT_STREQ(L"[w\x00ef\x4f60] [narrow] -14.4000000000.0BEEF.-9000000000000.%.z", text);
}

TEST(String, FormatDoesNotCutALongResult) {
  const std::wstring part(100000, L'x');
  CStringW text;
  text.Format(L"<%s>", part.c_str());
  EXPECT_EQ(100002, text.GetLength());
  EXPECT_EQ(L'>', text[100001]);
}

TEST(String, FormatArgumentMayBeTheStringItself) {
  CStringW text(L"self");
  text.Format(L"<%s%s>", text.GetString(), text.GetString());
  EXPECT_STREQ(L"<selfself>", text);
}

TEST(String, NullFormatThrows) {
  CStringW text(L"old");
  EXPECT_THROW(text.Format(nullptr), CAtlException);
  EXPECT_STREQ(L"old", text);
}

TEST(String, PlusJoinsEveryPairOfOperands) {
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
  EXPECT_STREQ("cdab", "cd" + CStringA("ab"));
}

TEST(String, ComparisonsRespectCaseExceptCompareNoCase) {
  const CStringW a(L"abc");
  const CStringW b(L"abd");
  EXPECT_TRUE(a == CStringW(L"abc") && a == L"abc" && L"abc" == a);
  EXPECT_TRUE(a != b && a != L"abd" && L"abd" != a && a != L"ABC");
  EXPECT_EQ(0, a.CompareNoCase(L"ABC"));
  EXPECT_GT(0, a.CompareNoCase(b));
  EXPECT_THROW((void)(a == static_cast<PCWSTR>(nullptr)), CAtlException);
}

TEST(String, FindOutsideOfTheStringReturnsMinusOne) {
  const CStringW text(L"a.b.c");
  EXPECT_EQ(3, text.Find(L'.', 2));
  EXPECT_EQ(2, text.Find(L"b."));
  EXPECT_EQ(2, text.FindOneOf(L"cb"));
  for (const int start : {-1, 4, 99}) {
    EXPECT_EQ(-1, text.Find(L'.', start));
    EXPECT_EQ(-1, text.Find(L"b.", start));
  }
  EXPECT_EQ(-1, text.Find(static_cast<PCWSTR>(nullptr)));
  EXPECT_EQ(-1, text.ReverseFind(L'x'));
}

TEST(String, PartsAreClippedToTheString) {
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

TEST(String, ReplaceAndTrimRightChangeTheString) {
  CStringW text(L" a/b/c \t\r\n ");
  EXPECT_EQ(2, text.Replace(L'/', L'\\'));
  EXPECT_EQ(0, text.Replace(L'a', L'a'));
  EXPECT_STREQ(L" a\\b\\c", text.TrimRight());
  EXPECT_STREQ(L"", CStringW(L" \t ").TrimRight());
}

}  // namespace
