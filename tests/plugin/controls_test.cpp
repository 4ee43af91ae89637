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
#include "tests/browser/fake_browser.h"
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

class Controls : public testing::TestWithParam<CControlClass> {
 protected:
  Controls() { CoInitialize(nullptr); }
  ~Controls() override {
    EXPECT_EQ(m_library.CanUnloadNow(), S_OK) << "something is left";
    CoUninitialize();
  }

  CComPtr<IUnknown> Create(IUnknown* outer = nullptr) const {
    return m_library.Create<IUnknown>(GetParam().clsid, outer);
  }

  const CPluginLibrary m_library;
  const std::vector<IID> m_interfaces = {GetParam().interfaceId,
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
                                         IID_ISpecifyPropertyPages};
};

TEST_P(Controls, HaveAllTheirInterfacesAloneAndAggregated) {
  CFakeSite outer(nullptr);
  for (IUnknown* const controlling :
       {static_cast<IUnknown*>(nullptr), static_cast<IUnknown*>(&outer)}) {
    const CComPtr<IUnknown> object = Create(controlling);
    const CComPtr<IUnknown> identity(controlling != nullptr ? controlling : object.p);
    for (const IID& iid : m_interfaces) {
      CComPtr<IUnknown> found;
      ASSERT_EQ(object->QueryInterface(iid, reinterpret_cast<void**>(&found)), S_OK) << iid.Data1;
      EXPECT_TRUE(found.IsEqualObject(identity));
    }
    CComPtr<IUnknown> none;
    EXPECT_EQ(object->QueryInterface(IID_IObjectWithSite, reinterpret_cast<void**>(&none)),
              E_NOINTERFACE);
  }
}

TEST_P(Controls, AreSafeForScriptsAndPages) {
  const CComQIPtr<IObjectSafety> safety(Create());
  ASSERT_NE(safety.p, nullptr);
  DWORD supported = 0;
  DWORD enabled = 0;
  for (const IID& iid : m_interfaces) {
    EXPECT_EQ(safety->SetInterfaceSafetyOptions(iid, kSafe, kSafe), S_OK);
    EXPECT_EQ(safety->GetInterfaceSafetyOptions(iid, &supported, &enabled), S_OK);
    EXPECT_EQ(supported, kSafe);
    EXPECT_EQ(enabled, kSafe);
  }
  EXPECT_TRUE(FAILED(safety->SetInterfaceSafetyOptions(IID_IDispatch, 7, 7)));
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
