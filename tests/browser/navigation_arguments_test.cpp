#include "browser/navigation_arguments.h"

#include <gtest/gtest.h>
#include <oleauto.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/browser/fake_browser.h"
#include "tests/browser/navigation_event.h"

namespace {

constexpr UINT kFlag = 0;
constexpr UINT kUrl = 5;

VARIANT MakeVariant(int type, void* value = nullptr) {
  VARIANT variant = {};
  variant.vt = static_cast<VARTYPE>(type);
  variant.byref = value;
  return variant;
}

/// Every type that a variant or a property may have, and one that nothing has: by value, by
/// reference, as an array and as a vector.
std::vector<int> Types() {
  std::vector<int> types;
  for (int type = VT_EMPTY; type <= 0x0FFF; ++type) {
    if (type <= VT_UINT_PTR || (type >= VT_FILETIME && type <= VT_VERSIONED_STREAM) ||
        type == 0x0FFF) {
      for (const int modifier : {0, +VT_BYREF, +VT_ARRAY, VT_BYREF | VT_ARRAY, +VT_VECTOR}) {
        types.push_back(type | modifier);
      }
    }
  }
  return types;
}

/// The URL of an event whose URL argument is this one, which stays as it is; or the failure that is
/// thrown.
std::wstring UrlOf(VARIANT argument) {
  CNavigationEvent event(L"");
  event.Argument(kUrl) = argument;
  std::wstring url;
  try {
    const CComBSTR text = GetNavigationUrl(*event.Params());
    url = text != nullptr ? text.m_str : L"";
  } catch (const CAtlException& e) {
    url = L"failed " + std::to_wstring(e.m_hr);
  }
  EXPECT_EQ(std::memcmp(&event.Argument(kUrl), &argument, sizeof(argument)), 0);
  return url;
}

/// The same behind the reference that browsers send.
std::wstring UrlBehind(VARIANT* argument) {
  return UrlOf(MakeVariant(VT_BYREF | VT_VARIANT, argument));
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

TEST(NavigationArguments, OnlyUrlAndFlagAreRead) {
  for (const int type : Types()) {
    CNavigationEvent event(L"http://server/a.qdk");
    for (UINT i = kFlag + 1; i < event.kArgumentCount; ++i) {
      if (i != kUrl) {
        event.Argument(i) = MakeVariant(type);
      }
    }
    EXPECT_EQ(std::wstring(GetNavigationUrl(*event.Params())), L"http://server/a.qdk") << type;
    CancelNavigation(*event.Params());
    EXPECT_TRUE(event.Cancelled()) << type;
    EXPECT_TRUE(event.FlagIntact());
  }
}

TEST(NavigationArgumentsUrl, IsReadFromAnyVariantThatConvertsToText) {
  const CComBSTR url(L"http://server/a.qdk");
  VARIANT text = MakeVariant(VT_BSTR, url.m_str);
  BSTR pointed = url.m_str;
  VARIANT textByReference = MakeVariant(VT_BYREF | VT_BSTR, &pointed);
  EXPECT_EQ(UrlOf(text), url.m_str);
  EXPECT_EQ(UrlOf(textByReference), url.m_str);
  EXPECT_EQ(UrlBehind(&text), url.m_str);
  EXPECT_EQ(UrlBehind(&textByReference), url.m_str);
  VARIANT number = MakeVariant(VT_I4);
  number.lVal = 42;
  EXPECT_EQ(UrlBehind(&number), L"42");
  EXPECT_EQ(number.vt, VT_I4);
  EXPECT_EQ(text.bstrVal, url.m_str);
  EXPECT_EQ(std::wstring(url), L"http://server/a.qdk");
}

TEST(NavigationArgumentsUrl, IsEmptyForNullTexts) {
  BSTR none = nullptr;
  VARIANT text = MakeVariant(VT_BSTR);
  VARIANT inner = MakeVariant(VT_BYREF | VT_VARIANT, &text);
  for (const VARIANT& argument :
       {text, inner, MakeVariant(VT_BYREF | VT_BSTR, &none), MakeVariant(VT_BYREF | VT_BSTR),
        MakeVariant(VT_BYREF | VT_VARIANT, &inner), MakeVariant(VT_BYREF | VT_VARIANT),
        MakeVariant(VT_EMPTY), MakeVariant(VT_NULL)}) {
    EXPECT_EQ(UrlOf(argument), L"") << argument.vt;
  }
}

TEST(NavigationArgumentsUrl, OtherVariantTypesGiveNoUrlAndAFailedCopyThrows) {
  const unsigned char zeros[64] = {};
  alignas(16) unsigned char target[64] = {};  // room for what a reference of any type points to
  for (const int type : Types()) {
    for (void* const value : {static_cast<void*>(nullptr), static_cast<void*>(target)}) {
      if (type == (VT_BYREF | VT_VARIANT) || (value != nullptr && (type & VT_BYREF) == 0)) {
        continue;
      }
      VARIANT argument = MakeVariant(type, value);
      CComVariant copy;
      const HRESULT copied = VariantCopy(&copy, &argument);
      const std::wstring url = UrlOf(argument);
      EXPECT_EQ(url.find(L'.'), std::wstring::npos) << type;
      EXPECT_EQ(url == L"failed " + std::to_wstring(copied), FAILED(copied)) << type;
      EXPECT_EQ(UrlBehind(&argument), url) << type;
    }
  }
  EXPECT_EQ(std::memcmp(target, zeros, sizeof(zeros)), 0);
  EXPECT_EQ(UrlOf(MakeVariant(0x0FFF)), L"failed " + std::to_wstring(DISP_E_BADVARTYPE));
}

TEST(NavigationArgumentsUrl, ObjectAndArrayVariantsGiveNoUrlAndAreNotReleased) {
  CFakeBrowser browser;  // must have all its references back in the end
  IDispatch* dispatch = &browser;
  SAFEARRAYBOUND bound = {3, 0};
  SAFEARRAY* array = SafeArrayCreate(VT_DISPATCH, 1, &bound);
  for (VARIANT argument :
       {MakeVariant(VT_DISPATCH, dispatch), MakeVariant(VT_BYREF | VT_DISPATCH, &dispatch),
        MakeVariant(VT_ARRAY | VT_DISPATCH, array),
        MakeVariant(VT_ARRAY | VT_BYREF | VT_DISPATCH, &array)}) {
    EXPECT_EQ(UrlOf(argument), L"") << argument.vt;
    EXPECT_EQ(UrlBehind(&argument), L"") << argument.vt;
  }
  EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(NavigationArgumentsCancel, TurnsAVariantByReferenceIntoAFlagAndReleasesWhatItHeld) {
  CFakeSite held(nullptr);
  held.AddRef();
  std::vector<VARIANT> variants = {MakeVariant(VT_UNKNOWN, &held)};
  for (const int type : Types()) {
    variants.push_back(MakeVariant(type));
  }
  for (VARIANT flag : variants) {
    CNavigationEvent event(L"");
    event.Argument(kFlag) = MakeVariant(VT_BYREF | VT_VARIANT, &flag);
    CancelNavigation(*event.Params());
    EXPECT_EQ(flag.vt, VT_BOOL);
    EXPECT_EQ(flag.boolVal, VARIANT_TRUE);
    EXPECT_FALSE(event.Cancelled());
  }
  EXPECT_EQ(held.references, 0);
}

TEST(NavigationArgumentsCancel, IgnoresNullReferencesAndOtherTypes) {
  // What a reference of another type points to, with room after it for any type.
  unsigned char target[64];
  std::memset(target, 0xA5, sizeof(target));
  CNavigationEvent event(L"");
  for (const int type : Types()) {
    const bool isFlag = type == (VT_BYREF | VT_BOOL) || type == (VT_BYREF | VT_VARIANT);
    const VARIANT argument = MakeVariant(type, isFlag ? nullptr : target);
    event.Argument(kFlag) = argument;
    CancelNavigation(*event.Params());
    EXPECT_EQ(std::memcmp(&event.Argument(kFlag), &argument, sizeof(argument)), 0) << type;
  }
  EXPECT_EQ(std::string(target, target + sizeof(target)), std::string(sizeof(target), '\xA5'));
}

}  // namespace
