#include <gtest/gtest.h>

#include <atlhandle.h>
#include <atlstr.h>

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

TEST(SimpleStringShare, CopiesShareTheBufferUntilOneIsChanged) {
  const CStringW first(L"shared");
  CStringW second(first);
  CStringW third;
  third = second;
  EXPECT_EQ(first.GetString(), second.GetString());
  EXPECT_EQ(first.GetString(), third.GetString());
  second.GetBuffer()[0] = L'S';
  EXPECT_STREQ(L"Shared", second);
  EXPECT_STREQ(L"shared", first);
  EXPECT_EQ(first.GetString(), third.GetString());
}

TEST(SimpleStringShare, EveryChangeLeavesTheOtherCopyAlone) {
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
  }
}

TEST(SimpleStringShare, EmptyStringsShareOneTextAndAllocateNothing) {
  const CFailingMalloc failing(0);
  CStringW a;
  const CStringW b(L"");
  CStringW c(a);
  c = b;
  c.Empty();
  c.ReleaseBuffer(0);
  EXPECT_EQ(a.GetString(), b.GetString());
  EXPECT_EQ(a.GetString(), c.GetString());
  EXPECT_EQ(L'\0', *a.GetString());
}

TEST(SimpleStringShare, WritingIntoAnEmptyStringsBufferStaysPrivate) {
  CStringW text;
  *text.GetBuffer() = L'\0';
  text.GetBuffer(4)[0] = L'x';
  text.ReleaseBuffer(1);
  EXPECT_STREQ(L"x", text);
  EXPECT_STREQ(L"", CStringW());
}

TEST(SimpleStringShare, MoveEmptiesTheSource) {
  CStringW source(L"moved");
  const wchar_t* const text = source.GetString();
  CStringW target(std::move(source));
  EXPECT_EQ(text, target.GetString());
  CStringW assigned(L"old");
  assigned = std::move(target);
  EXPECT_EQ(text, assigned.GetString());
}

TEST(SimpleStringShare, SelfAssignment) {
  CStringW text(L"self");
  const CStringW& same = text;
  text = same;
  EXPECT_STREQ(L"self", text);
  text = text.GetString() + 2;
  EXPECT_STREQ(L"lf", text);
}

// Two threads copy and drop strings that share one buffer. A count that is not changed atomically
// is off at the end: the buffer then looks shared for ever, or is freed too early.
TEST(SimpleStringShare, ThreadsMayShareABuffer) {
  struct CWork {
    static DWORD WINAPI Run(void* context) {
      auto& work = *static_cast<CWork*>(context);
      ::InterlockedIncrement(&work.running);
      while (::InterlockedOr(&work.running, 0) != 2) {
        ::SwitchToThread();
      }
      for (int i = 0; i < 5000000; ++i) {
        const CStringW copy(work.shared);
        if (copy.GetLength() != 17) {
          return 1;
        }
      }
      return 0;
    }
    CStringW shared{L"shared by threads"};
    volatile LONG running = 0;
  } work;
  CHandle other(::CreateThread(nullptr, 0, CWork::Run, &work, 0, nullptr));
  ASSERT_TRUE(other);
  EXPECT_EQ(0U, CWork::Run(&work));
  ASSERT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(other, INFINITE));
  DWORD code = 1;
  ASSERT_TRUE(::GetExitCodeThread(other, &code));
  EXPECT_EQ(0U, code);
  // The count is back at one: writing needs no new buffer.
  const wchar_t* const text = work.shared.GetString();
  EXPECT_EQ(text, work.shared.GetBuffer());
}

TEST(SimpleStringBuffer, GetBufferKeepsTheTextAndMakesRoom) {
  CStringW text(L"abc");
  wchar_t* const buffer = text.GetBuffer(100);
  EXPECT_STREQ(L"abc", buffer);
  EXPECT_LE(100, text.GetAllocLength());
  std::wcscpy(buffer, L"abcdef");
  text.ReleaseBuffer();
  EXPECT_EQ(6, text.GetLength());
  text.ReleaseBuffer(2);
  EXPECT_STREQ(L"ab", text);
  EXPECT_STREQ(L"ab", text.GetBuffer(1));
}

TEST(SimpleStringBuffer, ReleaseBufferWithoutTerminatorStopsAtTheEnd) {
  CStringW text;
  wchar_t* const buffer = text.GetBuffer(3);
  const int room = text.GetAllocLength();
  for (int i = 0; i <= room; ++i) {
    buffer[i] = L'x';
  }
  text.ReleaseBuffer();
  EXPECT_EQ(room, text.GetLength());
  EXPECT_EQ(L'\0', text.GetString()[room]);
}

TEST(SimpleStringBuffer, SetLengthMayHoldNul) {
  CStringW text;
  wchar_t* const buffer = text.GetBuffer(3);
  buffer[0] = L'a';
  buffer[1] = L'\0';
  buffer[2] = L'b';
  text.ReleaseBufferSetLength(3);
  EXPECT_EQ(3, text.GetLength());
  text += L'c';
  EXPECT_EQ(4, text.GetLength());
  EXPECT_EQ(L'c', text[3]);
}

TEST(SimpleStringBuffer, BadLengthsAreRefused) {
  CStringW text(L"abc");
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.GetBuffer(-1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.ReleaseBuffer(text.GetAllocLength() + 1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.SetString(L"x", -1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.SetString(nullptr, 1); }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { text.Append(nullptr, 1); }));
  EXPECT_STREQ(L"abc", text);
}

TEST(SimpleStringBuffer, IndexIsChecked) {
  CStringW text(L"abc");
  EXPECT_EQ(L'c', text[2]);
  EXPECT_EQ(L'\0', text[3]);
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { (void)text[4]; }));
  EXPECT_EQ(E_INVALIDARG, ThrownBy([&] { (void)text[-1]; }));
}

TEST(SimpleStringBuffer, SourceMayBePartOfTheString) {
  CStringW text(L"0123456789");
  text.Append(text.GetString() + 5, 5);
  EXPECT_STREQ(L"012345678956789", text);
  text.SetString(text.GetString() + 10, 3);
  EXPECT_STREQ(L"567", text);
  text += text;
  EXPECT_STREQ(L"567567", text);
  const CStringW other(text);
  text.Append(text.GetString(), 3);
  EXPECT_STREQ(L"567567567", text);
  EXPECT_STREQ(L"567567", other);
}

TEST(SimpleStringBuffer, AppendingIsNotQuadratic) {
  CStringW text;
  int moves = 0;
  const wchar_t* last = text.GetString();
  for (int i = 0; i < 100000; ++i) {
    text.AppendChar(static_cast<wchar_t>(L'a' + i % 26));
    if (text.GetString() != last) {
      last = text.GetString();
      ++moves;
    }
  }
  EXPECT_EQ(100000, text.GetLength());
  EXPECT_EQ(static_cast<wchar_t>(L'a' + 99999 % 26), text[99999]);
  EXPECT_GT(100, moves);
}

TEST(SimpleStringMemory, FailureThrowsAndLeavesTheStringUnchanged) {
  CStringW text(L"abc");
  const CStringW copy(text);
  CStringW empty;
  {
    const CFailingMalloc failing(0);
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([] { CStringW(L"new"); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { text.GetBuffer(); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { text += L'x'; }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { text = L"other text"; }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { text.Format(L"%d", 5); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { (void)(text + copy); }));
    EXPECT_EQ(E_OUTOFMEMORY, ThrownBy([&] { empty.GetBuffer(1); }));
  }
  EXPECT_STREQ(L"abc", text);
  EXPECT_EQ(text.GetString(), copy.GetString());
  EXPECT_STREQ(L"", empty);
}

}  // namespace
