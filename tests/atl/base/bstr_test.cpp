#include <gtest/gtest.h>

#include <atlcomcli.h>

using namespace ATL;

namespace {

TEST(ComBstr, Construction) {
  EXPECT_EQ(nullptr, CComBSTR().m_str);
  EXPECT_EQ(nullptr, CComBSTR(static_cast<LPCOLESTR>(nullptr)).m_str);
  EXPECT_STREQ(L"wide", CComBSTR(L"wide"));
  EXPECT_STREQ(L"", CComBSTR(L""));
}

TEST(ComBstr, CopiesAreIndependentAndKeepBytes) {
  CComBSTR odd;
  *&odd = ::SysAllocStringByteLen("abc", 3);
  const CComBSTR copy(odd);
  EXPECT_EQ(3U, ::SysStringByteLen(copy));
  EXPECT_NE(odd.m_str, copy.m_str);
  CComBSTR assigned(L"old");
  assigned = copy;
  EXPECT_EQ(3U, ::SysStringByteLen(assigned));
  const CComBSTR& same = assigned;
  assigned = same;
  EXPECT_EQ(3U, ::SysStringByteLen(assigned));
  EXPECT_EQ(nullptr, CComBSTR(CComBSTR()).m_str);
}

TEST(ComBstr, MoveAndDetach) {
  CComBSTR source(L"moved");
  const BSTR text = source.m_str;
  CComBSTR target(std::move(source));
  EXPECT_EQ(text, target.m_str);
  EXPECT_EQ(nullptr, source.m_str);  // NOLINT(bugprone-use-after-move): that is what is tested
  source = std::move(target);
  EXPECT_EQ(text, source.Detach());
  EXPECT_EQ(nullptr, source.m_str);
  ::SysFreeString(text);
}

}  // namespace
