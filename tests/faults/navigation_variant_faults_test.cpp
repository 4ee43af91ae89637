// Variants of every type, by value, by reference and with nothing inside, in each place of the
// browser's event. What is no address is not taken over, what is no flag is not set, and whatever
// else the event brings is not looked at.

#include <cstring>

#include "tests/browser/lesson_bytes.h"
#include "tests/faults/navigation_faults.h"
#include "tests/faults/quick_cut.h"

namespace {

constexpr UINT kFlag = 0;
constexpr UINT kUrl = 5;
constexpr UINT kOthers[] = {1, 2, 3, 4, 6};

constexpr VARTYPE kModifiers[] = {0, VT_BYREF, VT_ARRAY, VT_BYREF | VT_ARRAY, VT_VECTOR};

/// Every type that a variant or a property may have, and some that nothing has.
std::vector<VARTYPE> Types() {
  std::vector<VARTYPE> types;
  for (VARTYPE type = VT_EMPTY; type <= VT_UINT_PTR; ++type) {
    types.push_back(type);
  }
  for (VARTYPE type = VT_FILETIME; type <= VT_VERSIONED_STREAM; ++type) {
    types.push_back(type);
  }
  types.push_back(0x0FFF);
  return types;
}

bool IsReference(VARTYPE whole) { return (whole & VT_BYREF) != 0; }

VARIANT Make(VARTYPE type, void* value = nullptr) {
  VARIANT variant = {};
  variant.vt = type;
  variant.byref = value;
  return variant;
}

std::string Name(const VARIANT& variant) {
  char text[64];
  std::snprintf(text, sizeof(text), "type 0x%04x, %s", variant.vt,
                variant.byref != nullptr ? "something inside" : "nothing inside");
  return text;
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
  VariantFaults() : NavigationFaults(kCancel) {}

  void ExpectTaken(CNavigationEvent& event) {
    const CNavigationResult outcome = Navigate(event);
    EXPECT_EQ(outcome.result, S_OK);
    EXPECT_EQ(outcome.prompts, 1);
    EXPECT_EQ(outcome.cancelled, IsOwnFlag(event.Argument(kFlag)));
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

 private:
  static bool IsOwnFlag(const VARIANT& argument) {
    return argument.vt == (VT_BYREF | VT_BOOL) && argument.byref != nullptr;
  }
};

TEST_F(VariantFaults, FlagOfAnotherTypeIsLeftAlone) {
  for (const VARTYPE type : QuickCut(Types())) {
    for (const VARTYPE modifier : kModifiers) {
      const auto whole = static_cast<VARTYPE>(type | modifier);
      if (whole == (VT_BYREF | VT_VARIANT)) {
        continue;
      }
      Checks().Run([&] {
        CTarget target;
        for (void* const value : {static_cast<void*>(nullptr), target.Address()}) {
          if (whole == (VT_BYREF | VT_BOOL) && value != nullptr) {
            continue;
          }
          const VARIANT flag = Make(whole, value);
          SCOPED_TRACE(Name(flag));
          CNavigationEvent event(m_lesson);
          event.Argument(kFlag) = flag;
          ExpectTaken(event);
          EXPECT_EQ(std::memcmp(&event.Argument(kFlag), &flag, sizeof(flag)), 0);
          EXPECT_TRUE(target.IsUntouched());
        }
      });
    }
  }
}

TEST_F(VariantFaults, VariantForAFlagBecomesOneWhateverItHeld) {
  for (const VARTYPE type : QuickCut(Types())) {
    for (const VARTYPE modifier : kModifiers) {
      const VARIANT held = Make(static_cast<VARTYPE>(type | modifier));
      SCOPED_TRACE(Name(held));
      Checks().Run([&] {
        CNavigationEvent event(m_lesson);
        VARIANT flag = held;
        event.Argument(kFlag) = Make(VT_BYREF | VT_VARIANT, &flag);
        ExpectTaken(event);
        EXPECT_EQ(flag.vt, VT_BOOL);
        EXPECT_EQ(flag.boolVal, VARIANT_TRUE);
      });
    }
  }
  CNavigationEvent event(m_lesson);
  event.Argument(kFlag) = Make(VT_BYREF | VT_VARIANT);
  ExpectTaken(event);
}

TEST_F(VariantFaults, WhatIsNoAddressIsNotTaken) {
  for (const VARTYPE type : QuickCut(Types())) {
    for (const VARTYPE modifier : kModifiers) {
      const auto whole = static_cast<VARTYPE>(type | modifier);
      if (whole != (VT_BYREF | VT_VARIANT)) {
        Checks().Run([&] {
          ExpectNoUrl(Make(whole));
          CTarget target;
          if (IsReference(whole)) {
            ExpectNoUrl(Make(whole, target.Address()));
            EXPECT_TRUE(target.IsUntouched());
          }
        });
      }
    }
  }
}

TEST_F(VariantFaults, ReferencesThatLeadNowhereAreNoAddress) {
  Checks().Run([&] {
    CNavigationEvent event(L"");
    event.Argument(kUrl) = Make(VT_BYREF | VT_VARIANT);
    ExpectUntaken(event);
    VARIANT itself = Make(VT_BYREF | VT_VARIANT, &itself);
    itself.pvarVal = &itself;
    event.Argument(kUrl).pvarVal = &itself;
    ExpectUntaken(event);
    BSTR none = nullptr;
    event.Argument(kUrl) = Make(VT_BYREF | VT_BSTR, &none);
    ExpectUntaken(event);
    event.Argument(kUrl) = Make(VT_BSTR);
    ExpectUntaken(event);
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
      ExpectNoUrl(Make(static_cast<VARTYPE>(VT_ARRAY | type), array));
      ExpectNoUrl(Make(static_cast<VARTYPE>(VT_ARRAY | VT_BYREF | type), &array));
      EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    }
  });
}

TEST_F(VariantFaults, AddressIsTakenInEachOfItsFourForms) {
  Checks().Run([&] {
    CComBSTR text(m_lesson.c_str());
    VARIANT byValue = Make(VT_BSTR, text.m_str);
    VARIANT byReference = Make(VT_BYREF | VT_BSTR, &text.m_str);
    for (const VARIANT& argument : {byValue, byReference, Make(VT_BYREF | VT_VARIANT, &byValue),
                                    Make(VT_BYREF | VT_VARIANT, &byReference)}) {
      SCOPED_TRACE(Name(argument));
      CNavigationEvent event(L"");
      event.Argument(kUrl) = argument;
      ExpectTaken(event);
    }
    EXPECT_EQ(std::wstring(text), m_lesson);
  });
}

TEST_F(VariantFaults, OtherArgumentsAreNotLookedAt) {
  for (const UINT index : kOthers) {
    for (const VARTYPE type : QuickCut(Types())) {
      SCOPED_TRACE(index);
      Checks().Run([&] {
        CTarget target;
        for (const VARTYPE modifier : kModifiers) {
          for (void* const value : {static_cast<void*>(nullptr), target.Address()}) {
            const VARIANT argument = Make(static_cast<VARTYPE>(type | modifier), value);
            SCOPED_TRACE(Name(argument));
            CNavigationEvent event(m_lesson);
            event.Argument(index) = argument;
            ExpectTaken(event);
            EXPECT_EQ(std::memcmp(&event.Argument(index), &argument, sizeof(argument)), 0);
          }
        }
        EXPECT_TRUE(target.IsUntouched());
      });
    }
  }
}

TEST_F(VariantFaults, SixArgumentsAreNeeded) {
  Checks().Run([&] {
    for (UINT count = 0; count <= CNavigationEvent::kArgumentCount; ++count) {
      SCOPED_TRACE(count);
      CNavigationEvent event(m_lesson);
      event.Params()->cArgs = count;
      if (count < 6) {
        ExpectUntaken(event);
      } else {
        ExpectTaken(event);
      }
    }
    CNavigationEvent event(m_lesson);
    event.Params()->rgvarg = nullptr;
    ExpectUntaken(event);
  });
}

}  // namespace
