// Class factories, and objects inside other objects.

#include <gtest/gtest.h>

#include "atl_test_module.h"
#include "test_objects.h"

namespace {

class ClassFactory : public testing::Test {
 protected:
  void SetUp() override { g_log = {}; }
  void TearDown() override { EXPECT_TRUE(g_log.AllGone()); }

  /// A factory that makes T, as the object map does it.
  template <class T>
  static CComPtr<IClassFactory> FactoryOf() {
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(S_OK, T::_ClassFactoryCreatorClass::CreateInstance(
                        reinterpret_cast<void*>(&T::_CreatorClass::CreateInstance),
                        __uuidof(IClassFactory), reinterpret_cast<void**>(&factory)));
    return factory;
  }

  CLockBalance m_locks;
};

/// The object that takes another one in: everything but IUnknown is the inner object's.
class COuter : public IUnknown {
 public:
  COuter() = default;
  COuter(const COuter&) = delete;
  COuter& operator=(const COuter&) = delete;
  virtual ~COuter() { EXPECT_EQ(1, m_references); }

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    if (iid == IID_IUnknown) {
      *ppv = static_cast<IUnknown*>(this);
      AddRef();
      return S_OK;
    }
    return m_inner->QueryInterface(iid, ppv);
  }
  STDMETHOD_(ULONG, AddRef)() override { return static_cast<ULONG>(++m_references); }
  STDMETHOD_(ULONG, Release)() override { return static_cast<ULONG>(--m_references); }

  CComPtr<IUnknown> m_inner;
  LONG m_references = 1;
};

TEST_F(ClassFactory, CreateInstanceReturnsTheInterface) {
  const CComPtr<IClassFactory> factory = FactoryOf<CTestObject>();
  CComPtr<IColour> object;
  EXPECT_EQ(S_OK,
            factory->CreateInstance(nullptr, __uuidof(IColour), reinterpret_cast<void**>(&object)));
  EXPECT_EQ(7, object->Colour());
  EXPECT_EQ(1, m_locks.Gained()) << "the object's; the factory's first reference is the cache's";

  EXPECT_EQ(E_POINTER, factory->CreateInstance(nullptr, __uuidof(IColour), nullptr));
  void* p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, factory->CreateInstance(nullptr, IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
}

TEST_F(ClassFactory, AggregationWithoutIUnknownReturnsNoAggregation) {
  const CComPtr<IClassFactory> factory = FactoryOf<CTestObject>();
  COuter outer;
  void* p = Garbage();
  EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(&outer, __uuidof(INumber), &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(0, g_log.constructed);
}

TEST_F(ClassFactory, AggregatedObjectHasIdentityOfOuterObject) {
  const CComPtr<IClassFactory> factory = FactoryOf<CTestObject>();
  COuter outer;
  ASSERT_EQ(S_OK, factory->CreateInstance(&outer, IID_IUnknown,
                                          reinterpret_cast<void**>(&outer.m_inner)));
  EXPECT_EQ(1, m_locks.Gained());
  EXPECT_EQ(1, outer.m_references) << "the inner object must not own the outer one";
  EXPECT_NE(static_cast<IUnknown*>(&outer), outer.m_inner.p);
  EXPECT_EQ(outer.m_inner.p, Peek<IUnknown>(outer.m_inner)) << "its own, for the owner only";

  CComPtr<INumber> number;
  ASSERT_EQ(S_OK, outer.QueryInterface(__uuidof(INumber), reinterpret_cast<void**>(&number)));
  EXPECT_EQ(42, number->Number());
  EXPECT_EQ(2, outer.m_references) << "its interfaces count on the outer object";
  EXPECT_EQ(1U, References(outer.m_inner));
  EXPECT_EQ(static_cast<IUnknown*>(&outer), Peek<IUnknown>(number));
  EXPECT_EQ(7, Peek<IColour>(number)->Colour());
  number.Release();
  EXPECT_EQ(1, outer.m_references);

  void* p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, outer.m_inner->QueryInterface(IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(E_POINTER, outer.m_inner->QueryInterface(IID_IUnknown, nullptr));

  EXPECT_EQ(0, g_log.finalReleased);
  outer.m_inner.Release();
  EXPECT_EQ(1, g_log.finalConstructed);
  EXPECT_EQ(1, g_log.finalReleased);
  EXPECT_EQ(1, g_log.destroyed);
}

TEST_F(ClassFactory, FailedFinalConstructDeletesTheObject) {
  const CComPtr<IClassFactory> factory = FactoryOf<CTestObject>();
  g_log.finalConstructResult = E_ACCESSDENIED;
  COuter outer;
  for (IUnknown* const owner : {static_cast<IUnknown*>(nullptr), static_cast<IUnknown*>(&outer)}) {
    void* p = Garbage();
    EXPECT_EQ(E_ACCESSDENIED, factory->CreateInstance(owner, IID_IUnknown, &p));
    EXPECT_EQ(nullptr, p);
    EXPECT_TRUE(g_log.AllGone());
  }
}

}  // namespace
