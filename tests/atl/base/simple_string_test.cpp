#include <gtest/gtest.h>

#include <atlstr.h>

#include <algorithm>
#include <cwchar>
#include <utility>

#include "failing_malloc.h"

namespace {

HRESULT ThrownBy(auto action) {
  try {
    action();
  } catch (const CAtlException& e) {
    return e.m_hr;
  }
  return S_OK;
}

TEST(SimpleString, ChangeLeavesCopiesAlone) {
  using Change = void (*)(CStringW&);
  const Change changes[] = {
      [](CStringW& s) { s.Append(L"x", 1); },       [](CStringW& s) { s.AppendChar(L'x'); },
      [](CStringW& s) { s.SetString(L"y"); },       [](CStringW& s) { s.Empty(); },
      [](CStringW& s) { s.GetBuffer()[0] = L'z'; }, [](CStringW& s) { s.Replace(L'a', L'b'); },
      [](CStringW& s) { s.TrimRight(); },           [](CStringW& s) { s.Format(L"%d", 1); },
  };
  for (const Change change : changes) {
    const CStringW original(L" a text ");
    CStringW copy(original);
    change(copy);
    EXPECT_STREQ(L" a text ", original);
    EXPECT_STRNE(L" a text ", copy);
    copy = original;
    EXPECT_STREQ(L" a text ", copy);
  }
}

TEST(SimpleString, EmptyStringsAllocateNothing) {
  const CFailingMalloc failing(0);
  CStringW text;
  const CStringW empty(L"");
  text = empty;
  text.Empty();
  text.ReleaseBuffer(0);
  EXPECT_EQ(L'\0', *text.GetString());
  EXPECT_EQ(0, text.GetLength());
  EXPECT_EQ(L'\0', *empty.GetString());
}

TEST(SimpleString, MoveKeepsTheBuffer) {
  CStringW source(L"moved");
  const wchar_t* const text = source.GetString();
  CStringW target(std::move(source));
  CStringW assigned(L"old");
  assigned = std::move(target);
  EXPECT_EQ(text, assigned.GetString());
}

TEST(SimpleString, SourceMayBePartOfTheString) {
  CStringW text(L"0123456789");
  text.Append(text.GetString() + 5, 5);
  EXPECT_STREQ(L"012345678956789", text);
  text.SetString(text.GetString() + 10, 3);
  EXPECT_STREQ(L"567", text);
  text += text;
  EXPECT_STREQ(L"567567", text);
  const CStringW& same = text;
  text = same;
  text = text.GetString() + 4;
  EXPECT_STREQ(L"67", text);
}

TEST(SimpleString, GetBufferKeepsTheTextAndMakesRoom) {
  CStringW text(L"abc");
  wchar_t* const buffer = text.GetBuffer(100);
  EXPECT_STREQ(L"abc", buffer);
  std::wcscpy(buffer + 97, L"xyz");
  std::wcscpy(buffer, L"abcdef");
  text.ReleaseBuffer();
  EXPECT_EQ(6, text.GetLength());
  text.ReleaseBuffer(2);
  EXPECT_STREQ(L"ab", text);
  EXPECT_STREQ(L"ab", text.GetBuffer(1));
}

TEST(SimpleString, ReleaseBufferWithoutTerminatorStopsAtTheEnd) {
  CStringW text;
  std::fill_n(text.GetBuffer(3), 4, L'x');
  text.ReleaseBuffer();
  EXPECT_STREQ(L"xxx", text);
}

TEST(SimpleString, TextMayHoldNul) {
  CStringW text;
  std::copy_n(L"a\0b", 3, text.GetBuffer(3));
  text.ReleaseBufferSetLength(3);
  text += L'c';
  EXPECT_EQ(4, text.GetLength());
  EXPECT_EQ(L'c', text[3]);
}

TEST(SimpleString, InvalidArgumentsThrowEInvalidArg) {
  CStringW text(L"abc");
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.GetBuffer(-1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.ReleaseBuffer(4); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.ReleaseBuffer(-2); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.SetString(L"x", -1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.SetString(nullptr, 1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.Append(nullptr, 1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { (void)text[4]; }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { (void)text[-1]; }));
  EXPECT_STREQ(L"abc", text);
  EXPECT_EQ(L'c', text[2]);
  EXPECT_EQ(L'\0', text[3]);
}

TEST(SimpleString, AppendingIsNotQuadratic) {
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

TEST(SimpleString, OutOfMemoryThrowsAndLeavesTheStringUnchanged) {
  CStringW text(L"abc");
  CStringW empty;
  {
    const CFailingMalloc failing(0);
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([] { CStringW(L"new"); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { const CStringW copy(text); }));
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

}  // namespace
