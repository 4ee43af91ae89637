#include "browser/navigation_arguments.h"

#include <gtest/gtest.h>
#include <oleauto.h>

#include <cstring>
#include <string>

#include "tests/browser/fake_browser.h"
#include "tests/browser/navigation_event.h"

namespace {

VARIANT MakeVariant(VARTYPE type, void* value = nullptr) {
  VARIANT variant = {};
  variant.vt = type;
  variant.byref = value;
  return variant;
}

/// The URL of an event whose URL argument is this one, which stays as it is.
std::wstring UrlOf(VARIANT argument) {
  CNavigationEvent event(L"");
  event.Argument(5) = argument;
  const CComBSTR url = GetNavigationUrl(*event.Params());
  EXPECT_EQ(std::memcmp(&event.Argument(5), &argument, sizeof(argument)), 0);
  return url != nullptr ? std::wstring(url) : std::wstring();
}

TEST(NavigationArguments, SixAreNeeded) {
  CNavigationEvent event(L"http://server/a.qdk");
  for (const UINT count : {0u, 1u, 5u, 6u, 7u, 20u}) {
    event.Params()->cArgs = count;
    EXPECT_EQ(HasNavigationArguments(*event.Params()), count >= 6) << count;
  }
  event.Params()->rgvarg = nullptr;
  EXPECT_FALSE(HasNavigationArguments(*event.Params()));
}

TEST(NavigationArgumentsUrl, IsReadFromAnyVariantThatConvertsToText) {
  const CComBSTR url(L"http://server/a.qdk");
  VARIANT text = MakeVariant(VT_BSTR, url.m_str);
  BSTR pointed = url.m_str;
  VARIANT textByReference = MakeVariant(VT_BYREF | VT_BSTR, &pointed);
  EXPECT_EQ(UrlOf(text), url.m_str);
  EXPECT_EQ(UrlOf(textByReference), url.m_str);
  EXPECT_EQ(UrlOf(MakeVariant(VT_BYREF | VT_VARIANT, &text)), url.m_str);
  EXPECT_EQ(UrlOf(MakeVariant(VT_BYREF | VT_VARIANT, &textByReference)), url.m_str);
  VARIANT number = MakeVariant(VT_I4);
  number.lVal = 42;
  EXPECT_EQ(UrlOf(MakeVariant(VT_BYREF | VT_VARIANT, &number)), L"42");
  EXPECT_EQ(number.vt, VT_I4);
  EXPECT_EQ(text.bstrVal, url.m_str);
  EXPECT_EQ(std::wstring(url), L"http://server/a.qdk");
}

TEST(NavigationArgumentsUrl, IsEmptyForAnyOtherVariant) {
  BSTR none = nullptr;
  VARIANT text = MakeVariant(VT_BSTR);
  VARIANT inner = MakeVariant(VT_BYREF | VT_VARIANT, &text);
  for (const VARIANT& argument :
       {MakeVariant(VT_BYREF | VT_BSTR, &none), MakeVariant(VT_BYREF | VT_VARIANT, &inner),
        MakeVariant(VT_BYREF | VT_VARIANT), MakeVariant(VT_BSTR), MakeVariant(VT_BYREF | VT_BSTR),
        MakeVariant(VT_EMPTY), MakeVariant(VT_NULL), MakeVariant(VT_DISPATCH)}) {
    EXPECT_EQ(UrlOf(argument), L"") << argument.vt;
  }
}

TEST(NavigationArgumentsUrl, UncopyableVariantThrowsItsFailure) {
  VARIANT corrupt = MakeVariant(0x0FFF);
  for (const VARIANT& argument : {corrupt, MakeVariant(VT_BYREF | VT_VARIANT, &corrupt)}) {
    try {
      UrlOf(argument);
      ADD_FAILURE() << "no exception";
    } catch (const CAtlException& e) {
      EXPECT_EQ(e.m_hr, DISP_E_BADVARTYPE);
    }
  }
}

TEST(NavigationArgumentsCancel, SetsAFlagByReference) {
  CNavigationEvent event(L"");
  CancelNavigation(*event.Params());
  EXPECT_TRUE(event.Cancelled());
  EXPECT_TRUE(event.FlagIntact());
}

TEST(NavigationArgumentsCancel, TurnsAVariantByReferenceIntoAFlagAndReleasesWhatItHeld) {
  CFakeSite held(nullptr);
  held.AddRef();
  for (const VARIANT& before : {MakeVariant(VT_BOOL), MakeVariant(VT_EMPTY), MakeVariant(VT_I4),
                                MakeVariant(VT_UNKNOWN, &held)}) {
    CNavigationEvent event(L"");
    VARIANT flag = before;
    event.Argument(0) = MakeVariant(VT_BYREF | VT_VARIANT, &flag);
    CancelNavigation(*event.Params());
    EXPECT_EQ(flag.vt, VT_BOOL);
    EXPECT_EQ(flag.boolVal, VARIANT_TRUE);
    EXPECT_FALSE(event.Cancelled());
  }
  EXPECT_EQ(held.references, 0);
}

TEST(NavigationArgumentsCancel, IgnoresNullReferencesAndOtherTypes) {
  // What a reference of another type points to, with room behind it for any type.
  unsigned char target[64];
  std::memset(target, 0xA5, sizeof(target));
  CNavigationEvent event(L"");
  for (const int type : {VT_BYREF | VT_BOOL, VT_BYREF | VT_VARIANT, +VT_BOOL, +VT_VARIANT,
                         VT_BYREF | VT_I2, VT_ARRAY | VT_BOOL}) {
    const bool isFlag = type == (VT_BYREF | VT_BOOL) || type == (VT_BYREF | VT_VARIANT);
    const VARIANT argument = MakeVariant(static_cast<VARTYPE>(type), isFlag ? nullptr : target);
    event.Argument(0) = argument;
    CancelNavigation(*event.Params());
    EXPECT_EQ(std::memcmp(&event.Argument(0), &argument, sizeof(argument)), 0) << type;
  }
  EXPECT_EQ(std::string(target, target + sizeof(target)), std::string(sizeof(target), '\xA5'));
}

}  // namespace
