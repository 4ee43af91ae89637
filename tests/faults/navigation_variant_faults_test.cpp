// Variants of every type, by value, by reference and with nothing inside, in each place of the
// browser's event. What is no address is not taken over, what is no flag is not set, and whatever
// else the event brings is ignored.

#include <cstring>

#include "tests/browser/lesson_bytes.h"
#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"
#include "tests/support/dialogs.h"

namespace {

constexpr UINT kFlag = 0;
constexpr UINT kUrl = 5;
const std::vector<UINT> kOthers = {1, 2, 3, 4, 6};

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

std::string Name(const VARIANT& variant) {
  return "type " + std::to_string(variant.vt) + (variant.byref != nullptr ? ", not" : ", null");
}

/// Room for what a reference of any type points to, all zero.
class CTarget {
 public:
  void* Address() { return m_bytes; }
  bool IsUntouched() const { return std::memcmp(m_bytes, CTarget().m_bytes, sizeof(m_bytes)) == 0; }

 private:
  alignas(16) unsigned char m_bytes[64] = {};
};

class VariantFaults : public NavigationFaults {
 protected:
  VariantFaults() : NavigationFaults(kCancelButton) {}

  void ExpectTaken(CNavigationEvent& event) {
    const CNavigationResult outcome = Navigate(event);
    const VARIANT& flag = event.Argument(kFlag);
    EXPECT_EQ(outcome.result, S_OK);
    EXPECT_EQ(outcome.prompts, 1);
    EXPECT_EQ(outcome.cancelled, flag.vt == (VT_BYREF | VT_BOOL) && flag.byref != nullptr);
    EXPECT_TRUE(outcome.messages.empty());
  }

  /// `result`: what leaves the event; S_OK or, as an exception, a failure.
  void ExpectUntaken(CNavigationEvent& event, HRESULT result = S_OK) {
    const CNavigationResult outcome = Navigate(event);
    EXPECT_EQ(outcome.result, result);
    EXPECT_EQ(outcome.prompts, 0);
    EXPECT_FALSE(outcome.cancelled);
    EXPECT_TRUE(outcome.messages.empty());
  }

  /// Runs a cell for each type: by value, by reference, as an array and as a vector. Where a
  /// reference leads to is not written to.
  void RunAll(const std::function<void(int type, void* target)>& cell) {
    for (const int type : QuickCut(Types())) {
      Checks().Run([&] {
        CTarget target;
        for (const int modifier : {0, +VT_BYREF, +VT_ARRAY, VT_BYREF | VT_ARRAY, +VT_VECTOR}) {
          SCOPED_TRACE(type | modifier);
          cell(type | modifier, target.Address());
        }
        EXPECT_TRUE(target.IsUntouched());
      });
    }
  }

  /// A lesson is taken over whatever these arguments are, which stay as they were.
  void ExpectIgnored(const std::vector<UINT>& indices, const VARIANT& argument) {
    SCOPED_TRACE(Name(argument));
    CNavigationEvent event(m_lesson);
    for (const UINT index : indices) {
      event.Argument(index) = argument;
    }
    ExpectTaken(event);
    for (const UINT index : indices) {
      EXPECT_EQ(std::memcmp(&event.Argument(index), &argument, sizeof(argument)), 0) << index;
    }
  }

  /// An event whose URL argument is this one. The copy of it that is made fails or not.
  void ExpectNoUrl(VARIANT argument) {
    SCOPED_TRACE(Name(argument));
    CComVariant copy;
    const HRESULT copied = VariantCopy(&copy, &argument);
    CNavigationEvent event(L"");
    event.Argument(kUrl) = argument;
    ExpectUntaken(event, FAILED(copied) ? copied : S_OK);
    EXPECT_EQ(std::memcmp(&event.Argument(kUrl), &argument, sizeof(argument)), 0);
    // The same behind the reference that browsers send.
    event.Argument(kUrl) = Make(VT_BYREF | VT_VARIANT, &argument);
    ExpectUntaken(event, FAILED(copied) ? copied : S_OK);
  }

  const std::wstring m_lesson = m_sandbox.Write(L"a.qdk", kOldLessonHead);
};

TEST_F(VariantFaults, FlagOfAnotherTypeIsLeftAlone) {
  RunAll([&](int type, void* target) {
    if (type != (VT_BYREF | VT_VARIANT)) {
      ExpectIgnored({kFlag}, Make(type));
      if (type != (VT_BYREF | VT_BOOL)) {
        ExpectIgnored({kFlag}, Make(type, target));
      }
    }
  });
}

TEST_F(VariantFaults, VariantForAFlagBecomesOneWhateverItHeld) {
  RunAll([&](int type, void*) {
    CNavigationEvent event(m_lesson);
    VARIANT flag = Make(type);
    event.Argument(kFlag) = Make(VT_BYREF | VT_VARIANT, &flag);
    ExpectTaken(event);
    EXPECT_EQ(flag.vt, VT_BOOL);
    EXPECT_EQ(flag.boolVal, VARIANT_TRUE);
  });
  ExpectIgnored({kFlag}, Make(VT_BYREF | VT_VARIANT));
}

TEST_F(VariantFaults, OtherArgumentsAreIgnored) {
  RunAll([&](int type, void* target) {
    ExpectIgnored(kOthers, Make(type));
    ExpectIgnored(kOthers, Make(type, target));
  });
}

TEST_F(VariantFaults, WhatIsNoAddressIsNotTaken) {
  RunAll([&](int type, void* target) {
    if (type != (VT_BYREF | VT_VARIANT)) {
      ExpectNoUrl(Make(type));
      if ((type & VT_BYREF) != 0) {
        ExpectNoUrl(Make(type, target));
      }
    }
  });
}

TEST_F(VariantFaults, ObjectsAndArraysAreNoAddressAndStayTheCallers) {
  Checks().Run([&] {
    const long references = m_browser.references;
    IUnknown* unknown = &m_browser;
    IDispatch* dispatch = &m_browser;
    ExpectNoUrl(Make(VT_UNKNOWN, unknown));
    ExpectNoUrl(Make(VT_DISPATCH, dispatch));
    ExpectNoUrl(Make(VT_BYREF | VT_UNKNOWN, &unknown));
    ExpectNoUrl(Make(VT_BYREF | VT_DISPATCH, &dispatch));
    EXPECT_EQ(m_browser.references, references);
    SAFEARRAYBOUND bound = {3, 0};
    for (const VARTYPE type : {VT_BSTR, VT_VARIANT, VT_UI1, VT_DISPATCH}) {
      SAFEARRAY* array = SafeArrayCreate(type, 1, &bound);
      ExpectNoUrl(Make(VT_ARRAY | type, array));
      ExpectNoUrl(Make(VT_ARRAY | VT_BYREF | type, &array));
      EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    }
  });
}

}  // namespace
