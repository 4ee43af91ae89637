#include <gtest/gtest.h>

#include <atlcomcli.h>

using namespace ATL;

namespace {

TEST(ComBstr, OwnsItsString) {
  EXPECT_EQ(nullptr, CComBSTR(static_cast<LPCOLESTR>(nullptr)).m_str);
  CComBSTR source(L"text");
  EXPECT_STREQ(L"text", source);
  const BSTR text = source.Detach();
  EXPECT_EQ(nullptr, source.m_str);
  *&source = text;
  const CComBSTR moved(std::move(source));
  EXPECT_EQ(text, moved.m_str);
}

TEST(ComVariant, CopiesOwnTheirContents) {
  const CComVariant source(L"text");
  const CComVariant copy(source);
  EXPECT_NE(source.bstrVal, copy.bstrVal);
  CComVariant assigned(5);
  assigned = copy;
  const CComVariant& same = assigned;
  assigned = same;
  const CComVariant moved(std::move(assigned));
  EXPECT_STREQ(L"text", moved.bstrVal);
}

TEST(ComVariant, ChangeTypeConverts) {
  CComVariant value(L"42");
  EXPECT_EQ(S_OK, value.ChangeType(VT_I4));
  EXPECT_EQ(42, value.lVal);
  const CComVariant source(7);
  EXPECT_EQ(S_OK, value.ChangeType(VT_BSTR, &source));
  EXPECT_STREQ(L"7", value.bstrVal);
  value = L"no number";
  EXPECT_EQ(DISP_E_TYPEMISMATCH, value.ChangeType(VT_I4));
  EXPECT_STREQ(L"no number", value.bstrVal);
}

TEST(ComVariant, UncopyableContentsThrow) {
  CComVariant bad;
  bad.vt = static_cast<VARTYPE>(VT_BSTR | VT_VECTOR);
  try {
    const CComVariant copy(bad);
    FAIL();
  } catch (const CAtlException& e) {
    EXPECT_EQ(DISP_E_BADVARTYPE, e.m_hr);
  }
  bad.vt = VT_EMPTY;
}

}  // namespace
