// For which uses by untrusted pages the control says to be safe.

#include "control_fixture.h"

namespace {

using ObjectSafety = ControlTest;

constexpr DWORD kCaller = INTERFACESAFE_FOR_UNTRUSTED_CALLER;
constexpr DWORD kData = INTERFACESAFE_FOR_UNTRUSTED_DATA;
constexpr DWORD kOther = INTERFACE_USES_DISPEX;

TEST_F(ObjectSafety, OnlySupportedBitsOfTheMaskChange) {
  const struct {
    DWORD mask;
    DWORD bits;
    HRESULT result;
    DWORD enabled;
  } steps[] = {
      {0, kCaller | kData, S_OK, 0},
      {kCaller, kCaller, S_OK, kCaller},
      {kData, kData, S_OK, kCaller | kData},
      {kCaller, 0, S_OK, kData},
      {kCaller | kData, kCaller, S_OK, kCaller},
      {kOther, kOther, E_FAIL, kCaller},
      {kCaller | kOther, 0, E_FAIL, kCaller},
  };
  CComQIPtr<IObjectSafety> safety(m_object);
  for (const auto& step : steps) {
    DWORD supported = 99;
    DWORD enabled = 99;
    EXPECT_EQ(step.result, safety->SetInterfaceSafetyOptions(IID_IUnknown, step.mask, step.bits));
    EXPECT_EQ(S_OK, safety->GetInterfaceSafetyOptions(IID_IOleObject, &supported, &enabled));
    EXPECT_EQ(kCaller | kData, supported);
    EXPECT_EQ(step.enabled, enabled) << &step - steps;
  }
}

TEST_F(ObjectSafety, UnsupportedInterfaceOrNullResultFails) {
  CComQIPtr<IObjectSafety> safety(m_object);
  DWORD options[2] = {99, 99};
  const auto get = [&](REFIID iid, DWORD* supported, DWORD* enabled) {
    return safety->GetInterfaceSafetyOptions(iid, supported, enabled);
  };
  EXPECT_EQ(E_POINTER, get(IID_IUnknown, nullptr, &options[1]));
  EXPECT_EQ(0U, options[1]);
  EXPECT_EQ(E_POINTER, get(IID_IUnknown, &options[0], nullptr));
  EXPECT_EQ(0U, options[0]);
  EXPECT_EQ(E_NOINTERFACE, get(IID_IPersistPropertyBag, &options[0], &options[1]));
  EXPECT_EQ(E_NOINTERFACE, safety->SetInterfaceSafetyOptions(IID_IPersistPropertyBag, 0, 0));
}

}  // namespace
