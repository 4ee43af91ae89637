// The two controls that pages script, made by the built DLL.

#include <atlbase.h>
#include <atlcom.h>
#include <atlctl.h>
#include <gtest/gtest.h>
#include <objsafe.h>
#include <ocidl.h>

#include <string>
#include <vector>

#include "folivo_plugin_h.h"
#include "tests/plugin/outer_object.h"
#include "tests/plugin/plugin_library.h"

namespace {

constexpr DWORD kSafe = INTERFACESAFE_FOR_UNTRUSTED_CALLER | INTERFACESAFE_FOR_UNTRUSTED_DATA;

struct CControlClass {
  const char* name;
  GUID clsid;
  GUID interfaceId;
};

const CControlClass kControls[] = {
    {"Version", CLSID_CFolivoPluginVersion, IID_IFolivoPluginVersion},
    {"Collections", CLSID_CQDCDownload, IID_IQDCDownload},
};

const std::vector<IID> kSharedInterfaces = {
    IID_IUnknown,
    IID_IDispatch,
    IID_IProvideClassInfo,
    IID_IProvideClassInfo2,
    IID_IObjectSafety,
    IID_IPersist,
    IID_IPersistStreamInit,
    IID_IPersistStorage,
    IID_IOleControl,
    IID_IOleObject,
    IID_IOleInPlaceActiveObject,
    IID_IViewObject,
    IID_IViewObject2,
    IID_IViewObjectEx,
    IID_IOleWindow,
    IID_IOleInPlaceObject,
    IID_IOleInPlaceObjectWindowless,
    IID_IQuickActivate,
    IID_IDataObject,
    IID_ISpecifyPropertyPages,
};

class Controls : public testing::TestWithParam<CControlClass> {
 protected:
  Controls() { CoInitialize(nullptr); }
  ~Controls() override {
    EXPECT_EQ(m_library.CanUnloadNow(), S_OK) << "something is left";
    CoUninitialize();
  }

  CComPtr<IUnknown> Create(IUnknown* outer = nullptr) const {
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(m_library.GetClassObject(GetParam().clsid, IID_IClassFactory,
                                       reinterpret_cast<void**>(&factory)),
              S_OK);
    CComPtr<IUnknown> object;
    EXPECT_EQ(factory->CreateInstance(outer, IID_IUnknown, reinterpret_cast<void**>(&object)),
              S_OK);
    return object;
  }

  static std::vector<IID> Interfaces() {
    std::vector<IID> interfaces = kSharedInterfaces;
    interfaces.push_back(GetParam().interfaceId);
    return interfaces;
  }

  const CPluginLibrary m_library;
};

TEST_P(Controls, HaveAllTheirInterfaces) {
  const CComPtr<IUnknown> object = Create();
  for (const IID& iid : Interfaces()) {
    CComPtr<IUnknown> found;
    EXPECT_EQ(object->QueryInterface(iid, reinterpret_cast<void**>(&found)), S_OK) << iid.Data1;
    EXPECT_TRUE(found.IsEqualObject(object));
  }
  CComPtr<IUnknown> none;
  EXPECT_EQ(object->QueryInterface(IID_IObjectWithSite, reinterpret_cast<void**>(&none)),
            E_NOINTERFACE);
}

TEST_P(Controls, CanBeAggregated) {
  COuterObject outer;
  CComPtr<IUnknown> inner = Create(&outer);
  for (const IID& iid : Interfaces()) {
    if (iid == IID_IUnknown) {
      continue;
    }
    CComPtr<IUnknown> found;
    ASSERT_EQ(inner->QueryInterface(iid, reinterpret_cast<void**>(&found)), S_OK) << iid.Data1;
    EXPECT_EQ(outer.references, 2);
    CComPtr<IUnknown> identity;
    EXPECT_EQ(found->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)), S_OK);
    EXPECT_EQ(identity.p, &outer);
  }
  EXPECT_EQ(outer.references, 1);
  inner.Release();
}

TEST_P(Controls, AreSafeForScriptsAndPages) {
  const CComQIPtr<IObjectSafety> safety(Create());
  ASSERT_NE(safety.p, nullptr);
  DWORD supported = 0;
  DWORD enabled = 0;
  for (const IID& iid : Interfaces()) {
    EXPECT_EQ(safety->SetInterfaceSafetyOptions(iid, kSafe, kSafe), S_OK);
    EXPECT_EQ(safety->GetInterfaceSafetyOptions(iid, &supported, &enabled), S_OK);
    EXPECT_EQ(supported, kSafe);
    EXPECT_EQ(enabled, kSafe);
    for (const DWORD beyond : {4, 7, 8, 0x10}) {
      EXPECT_TRUE(FAILED(safety->SetInterfaceSafetyOptions(iid, beyond, beyond))) << beyond;
    }
  }
  EXPECT_TRUE(FAILED(safety->GetInterfaceSafetyOptions(IID_IObjectWithSite, &supported, &enabled)));
}

TEST_P(Controls, HaveTheirStatusAndClass) {
  const CComPtr<IUnknown> control = Create();
  DWORD status = 0;
  EXPECT_EQ(CComQIPtr<IViewObjectEx>(control)->GetViewStatus(&status), S_OK);
  EXPECT_EQ(status, static_cast<DWORD>(VIEWSTATUS_OPAQUE | VIEWSTATUS_SOLIDBKGND));
  EXPECT_EQ(CComQIPtr<IOleObject>(control)->GetMiscStatus(DVASPECT_CONTENT, &status), S_OK);
  EXPECT_EQ(status, static_cast<DWORD>(OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE |
                                       OLEMISC_INSIDEOUT | OLEMISC_ACTIVATEWHENVISIBLE |
                                       OLEMISC_SETCLIENTSITEFIRST));
  CLSID clsid = GUID_NULL;
  EXPECT_EQ(CComQIPtr<IPersist>(control)->GetClassID(&clsid), S_OK);
  EXPECT_EQ(clsid, GetParam().clsid);
}

INSTANTIATE_TEST_SUITE_P(Plugin, Controls, testing::ValuesIn(kControls),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
