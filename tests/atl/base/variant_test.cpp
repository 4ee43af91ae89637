#include <gtest/gtest.h>

#include <atlcomcli.h>

#include "counted_object.h"

using namespace ATL;

namespace {

TEST(ComVariant, TypeOfEachConstructor) {
  EXPECT_EQ(VT_EMPTY, CComVariant().vt);
  EXPECT_EQ(VT_BOOL, CComVariant(true).vt);
  EXPECT_EQ(VT_I1, CComVariant('c').vt);
  EXPECT_EQ(VT_UI1, CComVariant(static_cast<BYTE>(1)).vt);
  EXPECT_EQ(VT_I2, CComVariant(static_cast<short>(1)).vt);
  EXPECT_EQ(VT_UI2, CComVariant(static_cast<unsigned short>(1)).vt);
  EXPECT_EQ(VT_I4, CComVariant(1).vt);
  EXPECT_EQ(VT_INT, CComVariant(1, VT_INT).vt);
  EXPECT_EQ(VT_I4, CComVariant(1L).vt);
  EXPECT_EQ(VT_ERROR, CComVariant(static_cast<long>(DISP_E_PARAMNOTFOUND), VT_ERROR).vt);
  EXPECT_EQ(VT_UI4, CComVariant(1U).vt);
  EXPECT_EQ(VT_UI4, CComVariant(1UL).vt);
  EXPECT_EQ(VT_I8, CComVariant(1LL).vt);
  EXPECT_EQ(VT_UI8, CComVariant(1ULL).vt);
  EXPECT_EQ(VT_R4, CComVariant(1.0F).vt);
  EXPECT_EQ(VT_R8, CComVariant(1.0).vt);
  EXPECT_EQ(VT_DATE, CComVariant(1.0, VT_DATE).vt);
  EXPECT_EQ(VT_CY, CComVariant(CY{}).vt);
  EXPECT_EQ(VT_BSTR, CComVariant(L"w").vt);
  EXPECT_EQ(VT_BSTR, CComVariant("n").vt);
  EXPECT_EQ(VT_BSTR, CComVariant(CComBSTR(L"b")).vt);
  EXPECT_EQ(VT_DISPATCH, CComVariant(static_cast<IDispatch*>(nullptr)).vt);
  EXPECT_EQ(VT_UNKNOWN, CComVariant(static_cast<IUnknown*>(nullptr)).vt);
}

TEST(ComVariant, Values) {
  EXPECT_EQ(VARIANT_TRUE, CComVariant(true).boolVal);
  EXPECT_EQ(VARIANT_FALSE, CComVariant(false).boolVal);
  EXPECT_EQ(-7, CComVariant(-7).lVal);
  EXPECT_EQ(0xFFFFFFFFFFLL, CComVariant(0xFFFFFFFFFFLL).llVal);
  EXPECT_EQ(0.5, CComVariant(0.5).dblVal);
  EXPECT_STREQ(L"text", CComVariant(L"text").bstrVal);
  EXPECT_STREQ(L"text", CComVariant("text").bstrVal);
  EXPECT_THROW(CComVariant(1, VT_BSTR), CAtlException);
}

TEST(ComVariant, CopiesOwnTheirContents) {
  const CComVariant source(L"text");
  const CComVariant copy(source);
  EXPECT_NE(source.bstrVal, copy.bstrVal);
  CComVariant assigned(5);
  assigned = copy;
  EXPECT_STREQ(L"text", assigned.bstrVal);
  const CComVariant& same = assigned;
  assigned = same;
  EXPECT_STREQ(L"text", assigned.bstrVal);
  const CComVariant moved(std::move(assigned));
  EXPECT_STREQ(L"text", moved.bstrVal);
}

TEST(ComVariant, AssignmentOfValuesClearsTheOldOne) {
  CComVariant value(L"text");
  value = true;
  EXPECT_EQ(VT_BOOL, value.vt);
  value = L"again";
  EXPECT_EQ(VT_BSTR, value.vt);
  value = 12;
  EXPECT_EQ(VT_I4, value.vt);
  VARIANT plain;
  ::VariantInit(&plain);
  value = plain;
  EXPECT_EQ(VT_EMPTY, value.vt);
}

TEST(ComVariant, ObjectsAreCounted) {
  CCountedObject object;
  {
    CComVariant value(object.Unknown());
    EXPECT_EQ(2, object.References());
    const CComVariant copy(value);
    EXPECT_EQ(3, object.References());
    value = 1;
    EXPECT_EQ(2, object.References());
  }
  EXPECT_EQ(1, object.References());
}

TEST(ComVariant, AttachAndDetachMoveTheContents) {
  CComVariant source(L"text");
  CComVariant target(L"old");
  EXPECT_EQ(S_OK, target.Attach(&source));
  EXPECT_EQ(VT_EMPTY, source.vt);
  EXPECT_STREQ(L"text", target.bstrVal);
  VARIANT plain;
  ::VariantInit(&plain);
  EXPECT_EQ(S_OK, target.Detach(&plain));
  EXPECT_EQ(VT_EMPTY, target.vt);
  EXPECT_STREQ(L"text", plain.bstrVal);
  EXPECT_EQ(S_OK, ::VariantClear(&plain));
  EXPECT_EQ(E_INVALIDARG, target.Attach(nullptr));
  EXPECT_EQ(E_POINTER, target.Detach(nullptr));
}

TEST(ComVariant, ChangeType) {
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
  VARIANT bad;
  ::VariantInit(&bad);
  bad.vt = static_cast<VARTYPE>(VT_BSTR | VT_VECTOR);
  try {
    const CComVariant copy(bad);
    FAIL();
  } catch (const CAtlException& e) {
    EXPECT_EQ(DISP_E_BADVARTYPE, e.m_hr);
  }
}

TEST(ComVariant, Comparison) {
  EXPECT_TRUE(CComVariant() == CComVariant());
  EXPECT_TRUE(CComVariant(5) == CComVariant(5));
  EXPECT_TRUE(CComVariant(5) != CComVariant(6));
  EXPECT_TRUE(CComVariant(5) != CComVariant(5U));
  EXPECT_TRUE(CComVariant(5) != CComVariant(5.0));
  EXPECT_TRUE(CComVariant(L"a") == CComVariant("a"));
  EXPECT_TRUE(CComVariant(L"a") != CComVariant(L"A"));
  EXPECT_TRUE(CComVariant(true) == CComVariant(true));
  EXPECT_TRUE(CComVariant(static_cast<long>(E_FAIL), VT_ERROR) ==
              CComVariant(static_cast<long>(E_FAIL), VT_ERROR));
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_TRUE(null == CComVariant(null));
  CCountedObject object;
  CCountedObject other;
  EXPECT_TRUE(CComVariant(object.Unknown()) == CComVariant(object.Unknown()));
  EXPECT_TRUE(CComVariant(object.Unknown()) != CComVariant(other.Unknown()));
}

}  // namespace
