#include <gtest/gtest.h>

#include <atlcomcli.h>

#include "resource.h"

using namespace ATL;

namespace {

TEST(ComBstr, Construction) {
  EXPECT_EQ(nullptr, CComBSTR().m_str);
  EXPECT_EQ(nullptr, CComBSTR(static_cast<LPCOLESTR>(nullptr)).m_str);
  EXPECT_EQ(nullptr, CComBSTR(static_cast<LPCSTR>(nullptr)).m_str);
  EXPECT_STREQ(L"wide", CComBSTR(L"wide"));
  EXPECT_STREQ(L"narrow", CComBSTR("narrow"));
  EXPECT_STREQ(L"wi", CComBSTR(2, L"wide"));
  EXPECT_EQ(5U, CComBSTR(5).Length());
  EXPECT_STREQ(L"", CComBSTR(""));
  EXPECT_STREQ(L"{00000000-0000-0000-C000-000000000046}", CComBSTR(IID_IUnknown));
}

TEST(ComBstr, ImpossibleSizeThrows) {
  EXPECT_THROW(CComBSTR(-1), CAtlException);
  try {
    CComBSTR text(INT_MAX);
    FAIL();
  } catch (const CAtlException& e) {
    EXPECT_EQ(E_OUTOFMEMORY, e.m_hr);
  }
}

TEST(ComBstr, CopiesAreIndependentAndKeepBytes) {
  CComBSTR odd;
  odd.Attach(::SysAllocStringByteLen("abc", 3));
  const CComBSTR copy(odd);
  EXPECT_EQ(3U, copy.ByteLength());
  EXPECT_EQ(1U, copy.Length());
  EXPECT_NE(odd.m_str, copy.m_str);
  CComBSTR assigned(L"old");
  assigned = copy;
  EXPECT_EQ(3U, assigned.ByteLength());
  const CComBSTR& same = assigned;
  assigned = same;
  EXPECT_EQ(3U, assigned.ByteLength());
  assigned = L"text";
  assigned = assigned.m_str + 1;
  EXPECT_STREQ(L"ext", assigned);
  assigned = "narrow";
  EXPECT_STREQ(L"narrow", assigned);
}

TEST(ComBstr, MoveAndDetach) {
  CComBSTR source(L"moved");
  const BSTR text = source.m_str;
  CComBSTR target(std::move(source));
  EXPECT_EQ(text, target.m_str);
  EXPECT_TRUE(!source);  // NOLINT(bugprone-use-after-move): that is what is tested
  CComBSTR taker;
  taker.Attach(target.Detach());
  EXPECT_EQ(text, taker.m_str);
  EXPECT_EQ(nullptr, target.m_str);
  taker.Attach(text);
  EXPECT_STREQ(L"moved", taker);
  taker.Empty();
  EXPECT_EQ(nullptr, taker.m_str);
}

TEST(ComBstr, CopyTo) {
  const CComBSTR source(L"copied");
  CComBSTR copy;
  EXPECT_EQ(S_OK, source.CopyTo(&copy));
  EXPECT_STREQ(L"copied", copy);
  BSTR none = nullptr;
  EXPECT_EQ(S_OK, CComBSTR().CopyTo(&none));
  EXPECT_EQ(nullptr, none);
  VARIANT value;
  EXPECT_EQ(S_OK, source.CopyTo(&value));
  EXPECT_EQ(VT_BSTR, value.vt);
  EXPECT_STREQ(L"copied", value.bstrVal);
  EXPECT_EQ(S_OK, ::VariantClear(&value));
  BSTR raw = source.Copy();
  EXPECT_STREQ(L"copied", raw);
  ::SysFreeString(raw);
}

TEST(ComBstr, Append) {
  CComBSTR text;
  EXPECT_EQ(S_OK, text.Append(L"a"));
  EXPECT_EQ(S_OK, text.Append(L"bcd", 2));
  EXPECT_EQ(S_OK, text.Append(L'd'));
  EXPECT_EQ(S_OK, text.Append(static_cast<LPCOLESTR>(nullptr)));
  EXPECT_EQ(S_OK, text.AppendBSTR(nullptr));
  EXPECT_EQ(S_OK, text.AppendBSTR(CComBSTR(3, L"e\0f")));
  EXPECT_EQ(7U, text.Length());
  EXPECT_EQ(0, std::wmemcmp(L"abcde\0f", text, 8));
  text = L"xy";
  EXPECT_EQ(S_OK, text.Append(text));
  EXPECT_EQ(S_OK, text.Append(text.m_str + 3));
  EXPECT_STREQ(L"xyxyy", text);
  EXPECT_EQ(E_INVALIDARG, text.Append(L"z", -1));
  text += L"1";
  text += CComBSTR(L"2");
  EXPECT_STREQ(L"xyxyy12", text);
}

TEST(ComBstr, AssignBstr) {
  CComBSTR text(L"old");
  EXPECT_EQ(S_OK, text.AssignBSTR(text));
  EXPECT_STREQ(L"old", text);
  EXPECT_EQ(S_OK, text.AssignBSTR(CComBSTR(L"new")));
  EXPECT_STREQ(L"new", text);
  EXPECT_EQ(S_OK, text.AssignBSTR(nullptr));
  EXPECT_EQ(nullptr, text.m_str);
}

TEST(ComBstr, Comparison) {
  const CComBSTR text(L"same");
  EXPECT_TRUE(text == CComBSTR(L"same"));
  EXPECT_TRUE(text == L"same");
  EXPECT_TRUE(text != L"Same");
  EXPECT_TRUE(text != CComBSTR(L"sam"));
  EXPECT_TRUE(CComBSTR() == CComBSTR(L""));
  EXPECT_TRUE(CComBSTR() == L"");
  EXPECT_TRUE(CComBSTR(3, L"a\0b") != L"a");
}

TEST(ComBstr, LoadString) {
  CComBSTR text(L"old");
  EXPECT_TRUE(text.LoadString(IDS_ACCENTED));
  EXPECT_STREQ(L"caf\x00e9 \x4f60", text);
  EXPECT_FALSE(text.LoadString(IDS_MISSING));
  EXPECT_STREQ(L"caf\x00e9 \x4f60", text);
}

}  // namespace
