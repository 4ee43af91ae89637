// Variants of every type, by value, by reference and with nothing inside, in each place of the
// browser's event. What is no address is not taken over, what is no flag is not set, and whatever
// else the event brings is ignored.

#include <cstring>

#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"

namespace {

constexpr UINT kFlag = 0;
constexpr UINT kUrl = 5;

/// Every type that a variant or a property may have, and one that nothing has.
std::vector<int> Types() {
  std::vector<int> types = {0x0FFF};
  for (int type = VT_EMPTY; type <= VT_VERSIONED_STREAM; ++type) {
    if (type <= VT_UINT_PTR || type >= VT_FILETIME) {
      types.push_back(type);
    }
  }
  return types;
}

VARIANT Make(int type, void* value = nullptr) {
  VARIANT variant = {};
  variant.vt = static_cast<VARTYPE>(type);
  variant.byref = value;
  return variant;
}

class NavigationVariantFaults : public NavigationFaults {
 protected:
  NavigationVariantFaults() : NavigationFaults(kCancelButton) {}

  /// Runs a cell for each type: by value, by reference, as an array and as a vector. `target`: room
  /// for what a reference of any type points to, all zero, which stays so.
  void RunAll(const std::function<void(int type, void* target)>& cell) {
    for (const int type : QuickCut(Types())) {
      Checks().Run([&] {
        const unsigned char zeros[64] = {};
        alignas(16) unsigned char target[64] = {};
        for (const int modifier : {0, +VT_BYREF, +VT_ARRAY, VT_BYREF | VT_ARRAY, +VT_VECTOR}) {
          SCOPED_TRACE(type | modifier);
          cell(type | modifier, target);
        }
        EXPECT_EQ(std::memcmp(target, zeros, sizeof(zeros)), 0);
      });
    }
  }

  /// A lesson is taken over whatever the other arguments are, which stay as they were.
  void ExpectIgnored(const VARIANT& argument) {
    const bool isFlag =
        argument.vt == (VT_BYREF | VT_BOOL) || argument.vt == (VT_BYREF | VT_VARIANT);
    const UINT first = isFlag && argument.byref != nullptr ? kFlag + 1 : kFlag;
    CNavigationEvent event(m_lesson);
    for (UINT i = first; i < event.kArgumentCount; ++i) {
      if (i != kUrl) {
        event.Argument(i) = argument;
      }
    }
    EXPECT_EQ(Navigate(event), first == kFlag ? CSeen{L"asked"} : (CSeen{L"asked", L"cancelled"}));
    for (UINT i = first; i < event.kArgumentCount; ++i) {
      EXPECT_TRUE(i == kUrl || std::memcmp(&event.Argument(i), &argument, sizeof(VARIANT)) == 0);
    }
  }

  /// An event whose URL argument is this one. A failed copy of it leaves the event.
  void ExpectNoUrl(VARIANT argument) {
    CComVariant copy;
    const HRESULT copied = VariantCopy(&copy, &argument);
    const CSeen seen = FAILED(copied) ? CSeen{L"failed " + std::to_wstring(copied)} : CSeen();
    CNavigationEvent event(L"");
    event.Argument(kUrl) = argument;
    EXPECT_EQ(Navigate(event), seen);
    EXPECT_EQ(std::memcmp(&event.Argument(kUrl), &argument, sizeof(argument)), 0);
    // The same behind the reference that browsers send.
    event.Argument(kUrl) = Make(VT_BYREF | VT_VARIANT, &argument);
    EXPECT_EQ(Navigate(event), seen);
  }

  const std::wstring m_lesson = m_sandbox.Write(L"a.qdk", kOldLessonHead);
};

TEST_F(NavigationVariantFaults, OtherArgumentsAreIgnoredAndOtherFlagsLeftAlone) {
  RunAll([&](int type, void* target) {
    ExpectIgnored(Make(type));
    ExpectIgnored(Make(type, target));
  });
}

TEST_F(NavigationVariantFaults, VariantForAFlagBecomesOneWhateverItHeld) {
  RunAll([&](int type, void*) {
    CNavigationEvent event(m_lesson);
    VARIANT flag = Make(type);
    event.Argument(kFlag) = Make(VT_BYREF | VT_VARIANT, &flag);
    EXPECT_EQ(Navigate(event), CSeen{L"asked"});
    EXPECT_EQ(flag.vt, VT_BOOL);
    EXPECT_EQ(flag.boolVal, VARIANT_TRUE);
  });
}

TEST_F(NavigationVariantFaults, WhatIsNoAddressIsNotTaken) {
  RunAll([&](int type, void* target) {
    if (type != (VT_BYREF | VT_VARIANT)) {
      ExpectNoUrl(Make(type));
      if ((type & VT_BYREF) != 0) {
        ExpectNoUrl(Make(type, target));
      }
    }
  });
}

TEST_F(NavigationVariantFaults, ObjectsAndArraysAreNoAddressAndStayTheCallers) {
  Checks().Run([&] {
    const long references = m_browser.references;
    IDispatch* dispatch = &m_browser;
    SAFEARRAYBOUND bound = {3, 0};
    SAFEARRAY* array = SafeArrayCreate(VT_DISPATCH, 1, &bound);
    ExpectNoUrl(Make(VT_DISPATCH, dispatch));
    ExpectNoUrl(Make(VT_BYREF | VT_DISPATCH, &dispatch));
    ExpectNoUrl(Make(VT_ARRAY | VT_DISPATCH, array));
    ExpectNoUrl(Make(VT_ARRAY | VT_BYREF | VT_DISPATCH, &array));
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    EXPECT_EQ(m_browser.references, references);
  });
}

}  // namespace
