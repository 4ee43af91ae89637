#include <gtest/gtest.h>

#include <atlstr.h>

#include "resource.h"

namespace {

TEST(StringFormat, StringArgumentsOfAWideFormatAreWide) {
  CStringW text;
  text.Format(L"[%s] [%ls] [%hs] [%S]", L"w\x00ef\x4f60", L"long", "narrow", "other");
  EXPECT_STREQ(L"[w\x00ef\x4f60] [long] [narrow] [other]", text);
}

TEST(StringFormat, StringArgumentsOfANarrowFormatAreNarrow) {
  CStringA text;
  text.Format("[%s] [%ls]", "narrow", L"wide");
  EXPECT_STREQ("[narrow] [wide]", text);
}

TEST(StringFormat, Numbers) {
  CStringW text;
  text.Format(L"%d.%u.%05X.%lld.%%.%c", -14, 4000000000U, 0xBEEF, -9000000000000LL, L'z');
  EXPECT_STREQ(L"-14.4000000000.0BEEF.-9000000000000.%.z", text);
}

TEST(StringFormat, LongResultIsNotCut) {
  const CStringW part(L'x', 100000);
  CStringW text;
  text.Format(L"<%s>", part.GetString());
  EXPECT_EQ(100002, text.GetLength());
  EXPECT_EQ(L'>', text[100001]);
}

TEST(StringFormat, ArgumentMayBeTheStringItself) {
  CStringW text(L"self");
  text.Format(L"<%s%s>", text.GetString(), text.GetString());
  EXPECT_STREQ(L"<selfself>", text);
  text.AppendFormat(L"+%s%d", text.GetString(), 7);
  EXPECT_STREQ(L"<selfself>+<selfself>7", text);
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
  EXPECT_STREQ(L"zzz", CStringW(L'z', 3));
  EXPECT_STREQ(L"", CStringW(L'z', 0));
  EXPECT_EQ(3, CStringW(L"a\0b", 3).GetLength());
}

TEST(StringConstruct, OtherWidth) {
  EXPECT_STREQ(L"narrow", CStringW("narrow"));
  EXPECT_STREQ(L"na", CStringW("narrow", 2));
  EXPECT_STREQ("wide", CStringA(L"wide"));
  EXPECT_STREQ(L"", CStringW(""));
  EXPECT_STREQ(L"", CStringW(static_cast<PCSTR>(nullptr)));
  EXPECT_STREQ("copy", CStringA(CStringW(L"copy")));
  CStringW text;
  text = "assigned";
  text += " more";
  EXPECT_STREQ(L"assigned more", text);
}

TEST(StringConstruct, OtherWidthKeepsEmbeddedNulAndAnsiCharacters) {
  const wchar_t ansi[] = {L'a', 0, 0, 0};
  wchar_t converted = 0;
  const char e_acute = '\xe9';
  ASSERT_EQ(1, ::MultiByteToWideChar(CP_THREAD_ACP, 0, &e_acute, 1, &converted, 1));
  const CStringW wide("a\0\xe9", 3);
  ASSERT_EQ(3, wide.GetLength());
  EXPECT_EQ(ansi[0], wide[0]);
  EXPECT_EQ(ansi[1], wide[1]);
  EXPECT_EQ(converted, wide[2]);
}

TEST(StringJoin, EveryPairOfOperands) {
  const CStringW a(L"ab");
  EXPECT_STREQ(L"abab", a + a);
  EXPECT_STREQ(L"abcd", a + L"cd");
  EXPECT_STREQ(L"cdab", L"cd" + a);
  EXPECT_STREQ(L"abc", a + L'c');
  EXPECT_STREQ(L"cab", L'c' + a);
  EXPECT_STREQ(L"ab", a + static_cast<PCWSTR>(nullptr));
  CStringW text(a);
  text += L"c";
  text += L'd';
  text += a;
  EXPECT_STREQ(L"abcdab", text);
}

TEST(StringCompare, OperatorsAgreeWithCompare) {
  const CStringW a(L"abc");
  const CStringW b(L"abd");
  EXPECT_TRUE(a == CStringW(L"abc"));
  EXPECT_TRUE(a == L"abc");
  EXPECT_TRUE(L"abc" == a);
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a != b && a != L"abd" && L"abd" != a);
  EXPECT_TRUE(a < b && a < L"abd" && L"abb" < a);
  EXPECT_TRUE(b > a && b > L"abc" && L"abe" > b);
  EXPECT_GT(0, a.Compare(b));
  EXPECT_NE(0, a.Compare(L"ABC"));
  EXPECT_EQ(0, a.CompareNoCase(L"ABC"));
  EXPECT_THROW(a.Compare(nullptr), CAtlException);
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
  EXPECT_STREQ(L"de", text.Right(2));
  EXPECT_STREQ(L"abcde", text.Right(9));
  EXPECT_STREQ(L"", text.Right(-1));
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

TEST(StringChange, ReplaceSubstrings) {
  CStringW text(L"it's 'x'");
  EXPECT_EQ(3, text.Replace(L"'", L"''"));
  EXPECT_STREQ(L"it''s ''x''", text);
  EXPECT_EQ(3, text.Replace(L"''", L""));
  EXPECT_STREQ(L"its x", text);
  EXPECT_EQ(1, text.Replace(L"its x", text));
  EXPECT_STREQ(L"its x", text);
  EXPECT_EQ(0, text.Replace(L"", L"y"));
  EXPECT_EQ(0, text.Replace(nullptr, L"y"));
  EXPECT_EQ(1, text.Replace(L" ", nullptr));
  EXPECT_STREQ(L"itsx", text);
}

TEST(StringChange, ReplaceDoesNotLookAtItsOwnOutput) {
  CStringW text(L"aaa");
  EXPECT_EQ(1, text.Replace(L"aa", L"a"));
  EXPECT_STREQ(L"aa", text);
}

TEST(StringChange, InsertDeleteRemove) {
  CStringW text(L"bd");
  EXPECT_EQ(3, text.Insert(1, L'c'));
  EXPECT_EQ(4, text.Insert(-5, L"a"));
  EXPECT_EQ(6, text.Insert(99, L"ef"));
  EXPECT_STREQ(L"abcdef", text);
  EXPECT_EQ(6, text.Insert(2, static_cast<PCWSTR>(nullptr)));
  EXPECT_EQ(12, text.Insert(3, text));
  EXPECT_STREQ(L"abcabcdefdef", text);
  EXPECT_EQ(6, text.Delete(3, 6));
  EXPECT_STREQ(L"abcdef", text);
  EXPECT_EQ(5, text.Delete(0));
  EXPECT_EQ(3, text.Delete(3, INT_MAX));
  EXPECT_STREQ(L"bcd", text);
  EXPECT_EQ(3, text.Delete(3));
  text = L"a-b-c";
  EXPECT_EQ(2, text.Remove(L'-'));
  EXPECT_STREQ(L"abc", text);
  EXPECT_EQ(0, text.Remove(L'-'));
}

TEST(StringChange, Case) {
  CStringW text(L"MiXed 1");
  EXPECT_STREQ(L"mixed 1", text.MakeLower());
  EXPECT_STREQ(L"MIXED 1", text.MakeUpper());
  CStringA narrow("MiXed");
  EXPECT_STREQ("mixed", narrow.MakeLower());
}

TEST(StringChange, Trim) {
  CStringW text(L" \t\r\n a b \n ");
  const CStringW original(text);
  EXPECT_STREQ(L"a b \n ", CStringW(text).TrimLeft());
  EXPECT_STREQ(L" \t\r\n a b", CStringW(text).TrimRight());
  EXPECT_STREQ(L"a b", text.Trim());
  EXPECT_STREQ(L" \t\r\n a b \n ", original);
  EXPECT_STREQ(L"", CStringW(L" \t ").Trim());
  EXPECT_STREQ(L"", CStringW().Trim());
}

TEST(StringResource, Load) {
  CStringW text(L"old");
  EXPECT_TRUE(text.LoadString(IDS_PLAIN));
  EXPECT_STREQ(L"Plain text", text);
  EXPECT_TRUE(text.LoadString(_AtlBaseModule.GetModuleInstance(), IDS_ACCENTED));
  EXPECT_STREQ(L"caf\x00e9 \x4f60", text);
  EXPECT_FALSE(text.LoadString(IDS_MISSING));
  EXPECT_STREQ(L"caf\x00e9 \x4f60", text);
  CStringA narrow;
  EXPECT_TRUE(narrow.LoadString(IDS_PLAIN));
  EXPECT_STREQ("Plain text", narrow);
}

TEST(StringBstr, AllocSysStringKeepsLengthAndContent) {
  const BSTR bstr = CStringW(L"a\0b", 3).AllocSysString();
  EXPECT_EQ(3U, ::SysStringLen(bstr));
  EXPECT_EQ(L'b', bstr[2]);
  ::SysFreeString(bstr);
  const BSTR empty = CStringW().AllocSysString();
  ASSERT_NE(nullptr, empty);
  EXPECT_EQ(0U, ::SysStringLen(empty));
  ::SysFreeString(empty);
  const BSTR converted = CStringA("narrow").AllocSysString();
  EXPECT_STREQ(L"narrow", converted);
  ::SysFreeString(converted);
}

}  // namespace
