// For which uses by untrusted pages the control says to be safe.

#include "control_fixture.h"

namespace {

constexpr DWORD kCaller = INTERFACESAFE_FOR_UNTRUSTED_CALLER;
constexpr DWORD kData = INTERFACESAFE_FOR_UNTRUSTED_DATA;

class ObjectSafety : public EveryControlTest {
 protected:
  /// The enabled bits.
  DWORD Enabled(REFIID iid = IID_IOleObject) {
    DWORD supported = 99;
    DWORD enabled = 99;
    EXPECT_EQ(S_OK, As<IObjectSafety>()->GetInterfaceSafetyOptions(iid, &supported, &enabled));
    EXPECT_EQ(kCaller | kData, supported);
    return enabled;
  }
  HRESULT Set(DWORD mask, DWORD enabled, REFIID iid = IID_IOleObject) {
    return As<IObjectSafety>()->SetInterfaceSafetyOptions(iid, mask, enabled);
  }
};
INSTANTIATE_FOR_EVERY_BIRTH(ObjectSafety);

TEST_P(ObjectSafety, OnlySupportedBitsOfTheMaskChange) {
  constexpr DWORD kOther = INTERFACE_USES_DISPEX;
  const struct {
    DWORD mask;
    DWORD bits;
    HRESULT result;
    DWORD enabled;
  } steps[] = {
      {kCaller, kCaller, S_OK, kCaller},
      {kData, kData, S_OK, kCaller | kData},
      {kCaller, 0, S_OK, kData},
      {0, kCaller | kData, S_OK, kData},
      {kCaller | kData, kCaller, S_OK, kCaller},
      {kOther, kOther, E_FAIL, kCaller},
      {kCaller | kOther, 0, E_FAIL, kCaller},
      {0xFFFFFFFF, 0, E_FAIL, kCaller},
  };
  EXPECT_EQ(0U, Enabled());
  for (const auto& step : steps) {
    EXPECT_EQ(step.result, Set(step.mask, step.bits)) << &step - steps;
    EXPECT_EQ(step.enabled, Enabled()) << &step - steps;
  }
}

TEST_P(ObjectSafety, SupportedInterfacesShareTheOptions) {
  EXPECT_EQ(S_OK, Set(kCaller, kCaller, IID_IUnknown));
  EXPECT_EQ(kCaller, Enabled(IID_IPersistStreamInit));
  DWORD supported = 99;
  DWORD enabled = 99;
  const auto safety = As<IObjectSafety>();
  EXPECT_EQ(E_NOINTERFACE,
            safety->GetInterfaceSafetyOptions(IID_IPersistPropertyBag, &supported, &enabled));
  EXPECT_EQ(0U, supported);
  EXPECT_EQ(0U, enabled);
  EXPECT_EQ(E_NOINTERFACE, Set(0, 0, IID_IPersistPropertyBag));
}

TEST_P(ObjectSafety, NullResultReturnsEPointer) {
  const auto safety = As<IObjectSafety>();
  DWORD options = 99;
  EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IUnknown, nullptr, &options));
  EXPECT_EQ(0U, options);
  options = 99;
  EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IUnknown, &options, nullptr));
  EXPECT_EQ(0U, options);
}

}  // namespace
