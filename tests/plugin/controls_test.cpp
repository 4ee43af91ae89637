// The two controls that pages script, and the helper object, made by the built DLL.

#include <atlbase.h>
#include <atlcom.h>
#include <atlctl.h>
#include <gtest/gtest.h>
#include <objsafe.h>
#include <ocidl.h>

#include <vector>

#include "folivo_plugin_h.h"
#include "tests/browser/fake_browser.h"
#include "tests/plugin/plugin_library.h"

namespace {

constexpr DWORD kSafe = INTERFACESAFE_FOR_UNTRUSTED_CALLER | INTERFACESAFE_FOR_UNTRUSTED_DATA;

const std::vector<IID> kControlInterfaces = {IID_IDispatch,
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

const struct {
  GUID clsid;
  GUID own;  // the interface of its own
  std::vector<IID> others;
  GUID missing;
} kClasses[] = {
    {CLSID_CIEDownload,
     IID_IIEDownload,
     {IID_IDispatch, IID_IObjectWithSite, IID_IProvideClassInfo},
     IID_IOleObject},
    {CLSID_CFolivoPluginVersion, IID_IFolivoPluginVersion, kControlInterfaces, IID_IObjectWithSite},
    {CLSID_CQDCDownload, IID_IQDCDownload, kControlInterfaces, IID_IObjectWithSite},
};

class Controls : public testing::Test {
 protected:
  Controls() { CoInitialize(nullptr); }
  ~Controls() override {
    EXPECT_EQ(m_library.CanUnloadNow(), S_OK) << "something is left";
    CoUninitialize();
  }

  const CPluginLibrary m_library;
};

TEST_F(Controls, AndHelperObjectHaveAllTheirInterfacesAloneAndAggregated) {
  CFakeSite outer(nullptr);
  for (const auto& row : kClasses) {
    for (IUnknown* const controlling :
         {static_cast<IUnknown*>(nullptr), static_cast<IUnknown*>(&outer)}) {
      const auto object = m_library.Create<IUnknown>(row.clsid, controlling);
      IUnknown* const identity = controlling != nullptr ? controlling : object.p;
      const auto query = [&](REFIID iid) {
        CComPtr<IUnknown> found;
        const HRESULT result = object->QueryInterface(iid, reinterpret_cast<void**>(&found));
        EXPECT_TRUE(FAILED(result) || found.IsEqualObject(identity)) << iid.Data1;
        return result;
      };
      EXPECT_EQ(query(row.own), S_OK);
      for (const IID& iid : row.others) {
        EXPECT_EQ(query(iid), S_OK) << iid.Data1;
      }
      EXPECT_EQ(query(row.missing), E_NOINTERFACE);
    }
  }
}

TEST_F(Controls, AreSafeForScriptsAndPagesAndHaveTheirStatusAndClass) {
  for (const auto& row : kClasses) {
    if (row.clsid == CLSID_CIEDownload) {
      continue;
    }
    const auto control = m_library.Create<IUnknown>(row.clsid);
    const CComQIPtr<IObjectSafety> safety(control);
    ASSERT_NE(safety.p, nullptr);
    DWORD supported = 0;
    DWORD enabled = 0;
    for (const IID& iid : {row.own, IID_IDispatch, IID_IPersistStreamInit}) {
      EXPECT_EQ(safety->SetInterfaceSafetyOptions(iid, kSafe, kSafe), S_OK);
      EXPECT_EQ(safety->GetInterfaceSafetyOptions(iid, &supported, &enabled), S_OK);
      EXPECT_EQ(supported, kSafe);
      EXPECT_EQ(enabled, kSafe);
    }
    DWORD status = 0;
    EXPECT_EQ(CComQIPtr<IViewObjectEx>(control)->GetViewStatus(&status), S_OK);
    EXPECT_EQ(status, static_cast<DWORD>(VIEWSTATUS_OPAQUE | VIEWSTATUS_SOLIDBKGND));
    EXPECT_EQ(CComQIPtr<IOleObject>(control)->GetMiscStatus(DVASPECT_CONTENT, &status), S_OK);
    EXPECT_EQ(status, static_cast<DWORD>(OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE |
                                         OLEMISC_INSIDEOUT | OLEMISC_ACTIVATEWHENVISIBLE |
                                         OLEMISC_SETCLIENTSITEFIRST));
    CLSID clsid = GUID_NULL;
    EXPECT_EQ(CComQIPtr<IPersist>(control)->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, row.clsid);
  }
}

}  // namespace
