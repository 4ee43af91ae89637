#include <gtest/gtest.h>

#include <atlstr.h>

#include <algorithm>
#include <climits>
#include <cwchar>
#include <string>
#include <type_traits>
#include <utility>

#include "tests/support/failing_malloc.h"

namespace {

HRESULT ThrownBy(auto action) {
  try {
    action();
  } catch (const CAtlException& e) {
    return e.m_hr;
  }
  return S_OK;
}

/// Its own assignments must promise what the string's do: the compiler leaves out clean-up code
/// around those that do not throw.
struct CNamed {
  CStringW name;
};
static_assert(!std::is_nothrow_copy_assignable_v<CNamed>);
static_assert(std::is_nothrow_move_assignable_v<CNamed>);

TEST(String, SourceMayBePartOfTheString) {
  CStringW text(L"0123456789");
  text.Append(text.GetString() + 5, 5);
  EXPECT_STREQ(L"012345678956789", text);
  text.SetString(text.GetString() + 10, 3);
  EXPECT_STREQ(L"567", text);
  text += text;
  EXPECT_STREQ(L"567567", text);
  text = text.GetString() + 4;
  EXPECT_STREQ(L"67", text);
  text.Format(L"<%s%s>", text.GetString(), text.GetString());
  EXPECT_STREQ(L"<6767>", text);
}

TEST(String, GetBufferKeepsTheTextAndMakesRoom) {
  CStringW text(L"abc");
  wchar_t* const buffer = text.GetBuffer(100);
  EXPECT_STREQ(L"abc", buffer);
  std::wcscpy(buffer + 97, L"xyz");
  std::wcscpy(buffer, L"abcdef");
  text.ReleaseBuffer();
  EXPECT_EQ(6, text.GetLength());
  text.ReleaseBuffer(2);
  EXPECT_STREQ(L"ab", text.GetBuffer(1));
}

TEST(String, ReleaseBufferWithoutTerminatorStopsAtTheEnd) {
  CStringW text;
  std::fill_n(text.GetBuffer(3), 4, L'x');
  text.ReleaseBuffer();
  EXPECT_STREQ(L"xxx", text);
}

TEST(String, InvalidArgumentsThrowEInvalidArg) {
  CStringW text(L"abc");
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.GetBuffer(-1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.ReleaseBuffer(4); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.ReleaseBuffer(-2); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.SetString(L"x", -1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.SetString(nullptr, 1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.Append(nullptr, 1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.Format(nullptr); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { (void)text[4]; }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { (void)text[-1]; }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { (void)(text == static_cast<PCWSTR>(nullptr)); }));
  EXPECT_STREQ(L"abc", text);
  EXPECT_EQ(L'\0', text[3]);
}

TEST(String, AppendingIsNotQuadratic) {
  CStringW text;
  int moves = 0;
  for (int i = 0; i < 100000; ++i) {
    const wchar_t* const last = text.GetString();
    text.AppendChar(static_cast<wchar_t>(L'a' + i % 26));
    moves += text.GetString() != last;
  }
  EXPECT_EQ(100000, text.GetLength());
  EXPECT_EQ(static_cast<wchar_t>(L'a' + 99999 % 26), text[99999]);
  EXPECT_GT(100, moves);
}

TEST(String, OutOfMemoryThrowsAndLeavesTheStringUnchanged) {
  CStringW text(L"abc");
  CStringW empty;
  {
    const CFailingMalloc failing(0);
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([] { CStringW(L"new"); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { text += L'x'; }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { text = L"other text"; }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { text.Format(L"%d", 5); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { (void)(text + text); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { empty.GetBuffer(1); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { empty = text; }));
  }
  EXPECT_STREQ(L"abc", text);
  EXPECT_STREQ(L"", empty);
}

TEST(String, FormatTakesWideArgumentsOfAnyLength) {
  const std::wstring part(100000, L'x');
  CStringW text;
  text.Format(L"[%s] [%hs] %d.%u.%05X.%lld.%%.%c%s", L"w\x00ef\x4f60", "narrow", -14, 4000000000U,
              0xBEEF, -9000000000000LL, L'z', part.c_str());
  EXPECT_EQ(L"[w\x00ef\x4f60] [narrow] -14.4000000000.0BEEF.-9000000000000.%.z" + part,
            text.GetString());
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
}

TEST(String, PartsAreClippedToTheString) {
  const CStringW text(L"abcde");
  EXPECT_STREQ(L"abcde", text.Left(9));
  EXPECT_STREQ(L"", text.Left(-1));
  EXPECT_STREQ(L"cde", text.Mid(2));
  EXPECT_STREQ(L"e", text.Mid(4, INT_MAX));
  EXPECT_STREQ(L"", text.Mid(5));
  EXPECT_STREQ(L"ab", text.Mid(-3, 2));
  EXPECT_STREQ(L"", text.Mid(1, -1));
}

}  // namespace
