// For which uses by untrusted pages the control says to be safe.

#include <initializer_list>

#include "control_fixture.h"

namespace {

constexpr DWORD kCaller = INTERFACESAFE_FOR_UNTRUSTED_CALLER;
constexpr DWORD kData = INTERFACESAFE_FOR_UNTRUSTED_DATA;

class ObjectSafety : public EveryControlTest {
 protected:
  CComPtr<IObjectSafety> Safety() {
    CComPtr<IObjectSafety> safety;
    EXPECT_EQ(S_OK, m_object->QueryInterface(IID_IObjectSafety, reinterpret_cast<void**>(&safety)));
    return safety;
  }
  /// The enabled bits.
  DWORD Enabled(REFIID iid = IID_IDispatch) {
    DWORD supported = 99;
    DWORD enabled = 99;
    EXPECT_EQ(S_OK, Safety()->GetInterfaceSafetyOptions(iid, &supported, &enabled));
    EXPECT_EQ(kCaller | kData, supported);
    return enabled;
  }
  HRESULT Set(DWORD mask, DWORD enabled, REFIID iid = IID_IDispatch) {
    return Safety()->SetInterfaceSafetyOptions(iid, mask, enabled);
  }
};
INSTANTIATE_FOR_EVERY_BIRTH(ObjectSafety);

TEST_P(ObjectSafety, NothingIsEnabledAtFirst) { EXPECT_EQ(0U, Enabled()); }

TEST_P(ObjectSafety, OnlyMaskedBitsChange) {
  EXPECT_EQ(S_OK, Set(kCaller, kCaller));
  EXPECT_EQ(kCaller, Enabled());
  EXPECT_EQ(S_OK, Set(kData, kData));
  EXPECT_EQ(kCaller | kData, Enabled()) << "the other bit stays";
  EXPECT_EQ(S_OK, Set(kCaller, 0));
  EXPECT_EQ(kData, Enabled());
  EXPECT_EQ(S_OK, Set(0, kCaller | kData));
  EXPECT_EQ(kData, Enabled()) << "bits outside of the mask do not count";
  EXPECT_EQ(S_OK, Set(kCaller | kData, kCaller));
  EXPECT_EQ(kCaller, Enabled());
}

TEST_P(ObjectSafety, UnsupportedBitsAreRefused) {
  EXPECT_EQ(S_OK, Set(kData, kData));
  for (const DWORD mask : {DWORD{INTERFACE_USES_DISPEX}, kCaller | INTERFACE_USES_SECURITY_MANAGER,
                           0x80000000UL, 0xFFFFFFFFUL}) {
    EXPECT_EQ(E_FAIL, Set(mask, mask)) << mask;
    EXPECT_EQ(E_FAIL, Set(mask, 0)) << mask;
  }
  EXPECT_EQ(kData, Enabled()) << "as before";
}

TEST_P(ObjectSafety, AllInterfacesShareTheOptions) {
  EXPECT_EQ(S_OK, Set(kCaller, kCaller, IID_IPlate));
  for (const IID& iid : {IID_IUnknown, IID_IDispatch, IID_IPlate, IID_IPersistStreamInit,
                         IID_IObjectSafety, IID_IOleObject}) {
    EXPECT_EQ(kCaller, Enabled(iid));
  }
}

TEST_P(ObjectSafety, UnsupportedInterfaceReturnsENoInterface) {
  DWORD supported = 99;
  DWORD enabled = 99;
  EXPECT_EQ(E_NOINTERFACE,
            Safety()->GetInterfaceSafetyOptions(IID_IPersistPropertyBag, &supported, &enabled));
  EXPECT_EQ(0U, supported);
  EXPECT_EQ(0U, enabled);
  EXPECT_EQ(E_NOINTERFACE, Set(kCaller, kCaller, IID_IPersistPropertyBag));
  EXPECT_EQ(E_NOINTERFACE, Set(0, 0, IID_IPersistPropertyBag));
  EXPECT_EQ(0U, Enabled());
}

TEST_P(ObjectSafety, NullResultReturnsEPointer) {
  const auto safety = Safety();
  DWORD options = 99;
  EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IDispatch, nullptr, &options));
  EXPECT_EQ(0U, options);
  options = 99;
  EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IDispatch, &options, nullptr));
  EXPECT_EQ(0U, options);
  EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IDispatch, nullptr, nullptr));
}

}  // namespace
