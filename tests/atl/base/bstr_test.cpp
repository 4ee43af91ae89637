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

TEST(ComBstr, DetachedStringIsTheCallers) {
  CComBSTR source(L"text");
  const BSTR text = source.Detach();
  EXPECT_EQ(nullptr, source.m_str);
  *&source = text;
  EXPECT_EQ(text, source.m_str);
}

}  // namespace
