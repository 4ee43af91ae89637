// Class factories and aggregated objects.

#include "test_objects.h"

namespace {

class ClassFactory : public ComTest {
 protected:
  void SetUp() override {
    ComTest::SetUp();
    EXPECT_EQ(S_OK, CTestObject::_ClassFactoryCreatorClass::CreateInstance(
                        reinterpret_cast<void*>(&CTestObject::_CreatorClass::CreateInstance),
                        IID_IClassFactory, reinterpret_cast<void**>(&m_factory)));
  }
  void TearDown() override {
    m_factory.Release();
    ComTest::TearDown();
  }

  CComPtr<IClassFactory> m_factory;
};

/// Has every interface of the inner object, but its own identity.
class COuter final : public CStackObject<IUnknown> {
 public:
  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    return iid == IID_IUnknown ? CStackObject::QueryInterface(iid, ppv)
                               : m_inner->QueryInterface(iid, ppv);
  }

  CComPtr<IUnknown> m_inner;
};

TEST_F(ClassFactory, CreateInstanceReturnsTheInterface) {
  CComPtr<IColour> object;
  EXPECT_EQ(S_OK, m_factory->CreateInstance(nullptr, __uuidof(IColour),
                                            reinterpret_cast<void**>(&object)));
  EXPECT_EQ(7, object->Colour());
  EXPECT_EQ(1, LocksGained()) << "the object's; the factory's first reference is the cache's";

  EXPECT_EQ(E_POINTER, m_factory->CreateInstance(nullptr, __uuidof(IColour), nullptr));
  void* p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, m_factory->CreateInstance(nullptr, IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
}

TEST_F(ClassFactory, AggregatedObjectHasIdentityOfOuterObject) {
  COuter outer;
  void* p = Garbage();
  EXPECT_EQ(CLASS_E_NOAGGREGATION, m_factory->CreateInstance(&outer, __uuidof(INumber), &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(0, g_log.constructed);
  ASSERT_EQ(S_OK, m_factory->CreateInstance(&outer, IID_IUnknown,
                                            reinterpret_cast<void**>(&outer.m_inner)));
  EXPECT_EQ(1, LocksGained());
  EXPECT_EQ(0U, outer.References()) << "the inner object must not own the outer one";
  EXPECT_EQ(outer.m_inner.p, Peek<IUnknown>(outer.m_inner)) << "its own, for the owner only";

  CComPtr<INumber> number;
  ASSERT_EQ(S_OK, outer.QueryInterface(__uuidof(INumber), reinterpret_cast<void**>(&number)));
  EXPECT_EQ(42, number->Number());
  EXPECT_EQ(1U, outer.References());
  EXPECT_EQ(1U, References(outer.m_inner));
  EXPECT_EQ(static_cast<IUnknown*>(&outer), Peek<IUnknown>(number));
  EXPECT_EQ(7, Peek<IColour>(number)->Colour());
  number.Release();
  EXPECT_EQ(0U, outer.References());

  p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, outer.m_inner->QueryInterface(IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(E_POINTER, outer.m_inner->QueryInterface(IID_IUnknown, nullptr));

  outer.m_inner.Release();
  EXPECT_EQ(1, g_log.finalConstructed);
  EXPECT_EQ(1, g_log.finalReleased);
  EXPECT_EQ(1, g_log.destroyed);
}

}  // namespace
