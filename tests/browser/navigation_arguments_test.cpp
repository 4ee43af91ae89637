#include "browser/navigation_arguments.h"

#include <gtest/gtest.h>
#include <oleauto.h>

#include <cstring>
#include <string>

#include "tests/browser/fake_browser.h"
#include "tests/browser/navigation_event.h"

namespace {

constexpr VARTYPE kCorruptType = 0x0FFF;

std::wstring UrlOf(CNavigationEvent& event) {
  const CComBSTR url = GetNavigationUrl(*event.Params());
  return url != nullptr ? std::wstring(url) : std::wstring();
}

/// The URL of an event whose URL argument is `argument` itself.
std::wstring UrlOf(const VARIANT& argument) {
  CNavigationEvent event(L"");
  event.Argument(5) = argument;
  return UrlOf(event);
}

VARIANT MakeVariant(VARTYPE type, void* value = nullptr) {
  VARIANT variant = {};
  variant.vt = type;
  variant.byref = value;
  return variant;
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

TEST(NavigationUrl, IsReadFromATextOfAnyShape) {
  CComBSTR url(L"http://server/a.qdk");
  CNavigationEvent event(url.m_str);
  EXPECT_EQ(UrlOf(event), url.m_str);
  EXPECT_EQ(UrlOf(MakeVariant(VT_BSTR, url.m_str)), url.m_str);
  EXPECT_EQ(UrlOf(MakeVariant(VT_BYREF | VT_BSTR, &url.m_str)), url.m_str);
  event.Url().Clear();
  event.Url().vt = VT_BYREF | VT_BSTR;
  event.Url().pbstrVal = &url.m_str;
  EXPECT_EQ(UrlOf(event), url.m_str);
  event.Url().vt = VT_EMPTY;
}

TEST(NavigationUrl, EventsOwnVariantIsNotChanged) {
  CNavigationEvent event(L"");
  event.Url() = 42;
  EXPECT_EQ(UrlOf(event), L"42");
  EXPECT_EQ(event.Url().vt, VT_I4);
  EXPECT_EQ(event.Url().lVal, 42);
  CNavigationEvent text(L"http://server/a.qdk");
  const BSTR before = text.Url().bstrVal;
  EXPECT_EQ(UrlOf(text), L"http://server/a.qdk");
  EXPECT_EQ(text.Url().bstrVal, before);
  EXPECT_EQ(std::wstring(before), L"http://server/a.qdk");
}

TEST(NavigationUrl, WhatIsNoTextIsConvertedOrEmpty) {
  CNavigationEvent event(L"");
  event.Url() = true;
  EXPECT_EQ(UrlOf(event), L"-1");
  BSTR none = nullptr;
  EXPECT_EQ(UrlOf(MakeVariant(VT_BYREF | VT_BSTR, &none)), L"");
  for (const int type : {VT_BYREF | VT_VARIANT, +VT_BSTR, VT_BYREF | VT_BSTR, +VT_EMPTY, +VT_NULL,
                         +VT_DISPATCH, +VT_UNKNOWN, +VT_ERROR}) {
    EXPECT_EQ(UrlOf(MakeVariant(static_cast<VARTYPE>(type))), L"") << type;
  }
  VARIANT inner = MakeVariant(VT_BYREF | VT_VARIANT, &event.Argument(6));
  event.Argument(5).pvarVal = &inner;
  EXPECT_EQ(UrlOf(event), L"") << "a reference behind a reference";
}

TEST(NavigationUrl, EveryTypeByReferenceWithNullInsideIsSurvived) {
  for (VARTYPE type = VT_I2; type <= VT_UINT; ++type) {
    CNavigationEvent event(L"");
    event.Argument(5) = MakeVariant(static_cast<VARTYPE>(VT_BYREF | type));
    try {
      UrlOf(event);
    } catch (const CAtlException& e) {
      EXPECT_TRUE(FAILED(e.m_hr)) << type;
    }
  }
}

TEST(NavigationUrl, UncopyableVariantThrowsItsFailure) {
  VARIANT corrupt = MakeVariant(kCorruptType);
  CComVariant copy;
  const HRESULT expected = VariantCopy(&copy, &corrupt);
  ASSERT_TRUE(FAILED(expected));
  CNavigationEvent event(L"");
  for (const bool behindReference : {false, true}) {
    VARIANT inner = corrupt;
    event.Argument(5) = behindReference ? MakeVariant(VT_BYREF | VT_VARIANT, &inner) : corrupt;
    try {
      UrlOf(event);
      ADD_FAILURE() << "no exception";
    } catch (const CAtlException& e) {
      EXPECT_EQ(e.m_hr, expected);
    }
  }
}

TEST(CancelNavigation, SetsAFlagByReference) {
  CNavigationEvent event(L"");
  CancelNavigation(*event.Params());
  EXPECT_TRUE(event.Cancelled());
  EXPECT_TRUE(event.FlagIntact());
}

TEST(CancelNavigation, TurnsAVariantByReferenceIntoAFlag) {
  for (const VARTYPE type : {VT_BOOL, VT_EMPTY, VT_I4, VT_NULL}) {
    CNavigationEvent event(L"");
    VARIANT flags[3] = {MakeVariant(VT_I8, &event), MakeVariant(type), MakeVariant(VT_I8, &event)};
    VARIANT guard[3];
    std::memcpy(guard, flags, sizeof(flags));
    event.Argument(0) = MakeVariant(VT_BYREF | VT_VARIANT, &flags[1]);
    CancelNavigation(*event.Params());
    EXPECT_EQ(flags[1].vt, VT_BOOL);
    EXPECT_EQ(flags[1].boolVal, VARIANT_TRUE);
    EXPECT_EQ(std::memcmp(&flags[0], &guard[0], sizeof(VARIANT)), 0);
    EXPECT_EQ(std::memcmp(&flags[2], &guard[2], sizeof(VARIANT)), 0);
    EXPECT_FALSE(event.Cancelled());
  }
}

TEST(CancelNavigation, WhatTheVariantHeldIsReleased) {
  CNavigationEvent event(L"");
  CFakeSite held(nullptr);
  CComVariant flag;
  flag.vt = VT_UNKNOWN;
  flag.punkVal = &held;
  held.AddRef();
  event.Argument(0) = MakeVariant(VT_BYREF | VT_VARIANT, &flag);
  CancelNavigation(*event.Params());
  EXPECT_EQ(held.references, 0);
  EXPECT_EQ(flag.vt, VT_BOOL);
  EXPECT_EQ(flag.boolVal, VARIANT_TRUE);
}

TEST(CancelNavigation, NullReferencesAreLeftAlone) {
  CNavigationEvent event(L"");
  for (const VARTYPE type : {VT_BYREF | VT_BOOL, VT_BYREF | VT_VARIANT}) {
    event.Argument(0) = MakeVariant(type);
    CancelNavigation(*event.Params());
    EXPECT_EQ(event.Argument(0).vt, type);
    EXPECT_EQ(event.Argument(0).byref, nullptr);
  }
}

TEST(CancelNavigation, EveryOtherTypeIsLeftAlone) {
  // What a reference of another type points to, with room behind it for any type.
  unsigned char target[64];
  unsigned char before[sizeof(target)];
  std::memset(target, 0xA5, sizeof(target));
  std::memcpy(before, target, sizeof(target));
  CNavigationEvent event(L"");
  for (VARTYPE type = VT_EMPTY; type <= VT_UINT; ++type) {
    for (const VARTYPE modifier : {VARTYPE{0}, VARTYPE{VT_BYREF}, VARTYPE{VT_ARRAY}}) {
      const auto whole = static_cast<VARTYPE>(type | modifier);
      if (whole == (VT_BYREF | VT_BOOL) || whole == (VT_BYREF | VT_VARIANT)) {
        continue;
      }
      event.Argument(0) = MakeVariant(whole, target);
      CancelNavigation(*event.Params());
      EXPECT_EQ(event.Argument(0).vt, whole);
      EXPECT_EQ(event.Argument(0).byref, static_cast<void*>(target)) << whole;
      EXPECT_EQ(std::memcmp(target, before, sizeof(target)), 0) << whole;
    }
  }
  EXPECT_FALSE(event.Cancelled());
}

}  // namespace
