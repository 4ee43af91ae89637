#include <atlbase.h>
#include <exdisp.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_dll.h"

namespace {

/// COM for the calling thread.
class CComApartment {
 public:
  CComApartment() { CoInitialize(nullptr); }
  ~CComApartment() { CoUninitialize(); }
  CComApartment(const CComApartment&) = delete;
  CComApartment& operator=(const CComApartment&) = delete;
};

class ClassObject : public ::testing::Test {
 protected:
  CComPtr<IClassFactory> Factory() const {
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(m_dll.GetClassObject(CLSID_CIEDownload, IID_PPV_ARGS(&factory)), S_OK);
    return factory;
  }

  const CComApartment m_apartment;
  const CPluginDll m_dll;
};

TEST_F(ClassObject, NullOutParameterIsAPointerError) {
  EXPECT_EQ(m_dll.GetClassObject(CLSID_CIEDownload, IID_IClassFactory, nullptr), E_POINTER);
}

TEST_F(ClassObject, UnknownClassIsNotAvailableAndClearsTheResult) {
  void* out = this;
  EXPECT_EQ(m_dll.GetClassObject(IID_IUnknown, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(out, nullptr);
}

TEST_F(ClassObject, UnsupportedInterfaceIsTheFactorysOwnFailure) {
  void* out = this;
  EXPECT_EQ(m_dll.GetClassObject(CLSID_CIEDownload, IID_IDispatch, &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
}

TEST_F(ClassObject, FactoryIsMadeOnce) {
  const CComPtr<IClassFactory> first = Factory();
  const CComPtr<IClassFactory> second = Factory();
  EXPECT_EQ(first.p, second.p);
}

TEST_F(ClassObject, EveryObjectAndLockHoldsTheModule) {
  EXPECT_EQ(m_dll.CanUnloadNow(), S_OK);
  CComPtr<IClassFactory> factory = Factory();
  CComPtr<IObjectWithSite> object;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
  EXPECT_EQ(m_dll.CanUnloadNow(), S_FALSE);
  object.Release();
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(m_dll.CanUnloadNow(), S_FALSE);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  factory.Release();
  EXPECT_EQ(m_dll.CanUnloadNow(), S_OK);
}

TEST_F(ClassObject, HelperObjectHasItsInterfacesUnderOneIdentity) {
  CComPtr<IUnknown> object;
  ASSERT_EQ(Factory()->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
  for (const IID* iid :
       {&IID_IObjectWithSite, &IID_IIEDownload, &IID_IDispatch, &IID_IProvideClassInfo}) {
    CComPtr<IUnknown> part;
    ASSERT_EQ(object->QueryInterface(*iid, reinterpret_cast<void**>(&part)), S_OK);
    CComPtr<IUnknown> identity;
    ASSERT_EQ(part->QueryInterface(IID_PPV_ARGS(&identity)), S_OK);
    EXPECT_EQ(identity.p, object.p);
  }
  CComPtr<IUnknown> other;
  EXPECT_EQ(object->QueryInterface(IID_IPersist, reinterpret_cast<void**>(&other)), E_NOINTERFACE);
}

/// An outer object that aggregates, as containers do.
class COuter : public IUnknown {
 public:
  STDMETHOD(QueryInterface)(REFIID iid, void** out) override {
    *out = nullptr;
    if (iid == IID_IUnknown) {
      *out = static_cast<IUnknown*>(this);
      AddRef();
      return S_OK;
    }
    return m_inner ? m_inner->QueryInterface(iid, out) : E_NOINTERFACE;
  }
  STDMETHOD_(ULONG, AddRef)() override { return ++m_references; }
  STDMETHOD_(ULONG, Release)() override { return --m_references; }

  ULONG m_references = 1;
  CComPtr<IUnknown> m_inner;
};

TEST_F(ClassObject, CanBeAggregated) {
  COuter outer;
  ASSERT_EQ(
      Factory()->CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(&outer.m_inner)),
      S_OK);
  {
    CComPtr<IObjectWithSite> part;
    ASSERT_EQ(outer.QueryInterface(IID_PPV_ARGS(&part)), S_OK);
    EXPECT_EQ(outer.m_references, 2u);
    CComPtr<IUnknown> identity;
    ASSERT_EQ(part->QueryInterface(IID_PPV_ARGS(&identity)), S_OK);
    EXPECT_EQ(identity.p, &outer);
  }
  EXPECT_EQ(outer.m_references, 1u);
  outer.m_inner.Release();
  EXPECT_EQ(m_dll.CanUnloadNow(), S_OK);
}

TEST_F(ClassObject, AggregationAsksForIUnknown) {
  COuter outer;
  void* out = this;
  EXPECT_EQ(Factory()->CreateInstance(&outer, IID_IObjectWithSite, &out), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(out, nullptr);
}

}  // namespace
