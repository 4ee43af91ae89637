// Reference counts, QueryInterface and the life of an object, alone or aggregated.

#include <atomic>
#include <new>
#include <utility>

#include "test_objects.h"
#include "tests/support/parallel.h"

namespace {

using ObjectRoot = ComTest;

TEST_F(ObjectRoot, LastReleaseDestroysAndUnlocksTheModule) {
  CComObject<CTestObject>* object = nullptr;
  ASSERT_EQ(S_OK, CComObject<CTestObject>::CreateInstance(&object));
  EXPECT_EQ(1, LocksGained());
  const LONG locks = g_module.GetLockCount();
  EXPECT_EQ(1, g_log.finalConstructed);
  EXPECT_EQ(1U, object->AddRef());
  EXPECT_EQ(2U, object->AddRef());
  EXPECT_EQ(1U, object->Release());
  EXPECT_EQ(0, g_log.finalReleased);
  EXPECT_EQ(0U, object->Release());
  EXPECT_EQ(1, g_log.finalReleased);
  EXPECT_EQ(locks, g_log.locksInDestructor) << "until the members are gone";
}

TEST_F(ObjectRoot, QueryInterfaceKeepsOneIdentity) {
  CComPtr<INumber> number;
  ASSERT_EQ(S_OK, CreateObject<CTestObject>(number));
  CComPtr<IColour> colour;
  EXPECT_EQ(S_OK, number.QueryInterface(&colour));
  EXPECT_EQ(7, colour->Colour());
  EXPECT_EQ(2U, References(number));
  EXPECT_EQ(Peek<IUnknown>(number), Peek<IUnknown>(colour));
  void* p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, number->QueryInterface(IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(E_POINTER, number->QueryInterface(IID_IUnknown, nullptr));
  EXPECT_EQ(2U, References(number));
}

constexpr IID kIidOther = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x31}};

struct IFirst : INumber {};
struct ISecond : INumber {};

/// Its base class has a map of its own.
class CMapped : public IFirst, public ISecond, public CTestObject {
 public:
  BEGIN_COM_MAP(CMapped)
  COM_INTERFACE_ENTRY_IID(kIidOther, IFirst)
  COM_INTERFACE_ENTRY2(INumber, ISecond)
  COM_INTERFACE_ENTRY_CHAIN(CTestObject)
  END_COM_MAP()

  STDMETHOD_(int, Number)() override { return 1; }
};

TEST_F(ObjectRoot, EntriesOfTheComMapLeadToTheirBaseClasses) {
  CComObject<CMapped>* object = nullptr;
  ASSERT_EQ(S_OK, CComObject<CMapped>::CreateInstance(&object));
  const CComPtr<IUnknown> holder(object->GetUnknown());
  const auto query = [&](REFIID iid) {
    CComPtr<IUnknown> found;
    const HRESULT hr = holder->QueryInterface(iid, reinterpret_cast<void**>(&found));
    EXPECT_EQ(found != nullptr ? S_OK : E_NOINTERFACE, hr);
    return found.p;
  };
  EXPECT_EQ(static_cast<IFirst*>(object), query(kIidOther));
  EXPECT_EQ(static_cast<IFirst*>(object), query(IID_IUnknown));
  EXPECT_EQ(static_cast<ISecond*>(object), query(__uuidof(INumber)));
  EXPECT_EQ(static_cast<IColour*>(object), query(__uuidof(IColour)));
  EXPECT_EQ(nullptr, query(IID_IDispatch));
  EXPECT_EQ(1U, References(holder));
}

/// Has every interface of the inner object, but its own identity.
class COuter final : public CStackObject<IUnknown> {
 public:
  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    return iid == IID_IUnknown ? CStackObject::QueryInterface(iid, ppv)
                               : m_inner->QueryInterface(iid, ppv);
  }

  CComPtr<IUnknown> m_inner;
};

TEST_F(ObjectRoot, AggregatedObjectHasIdentityOfOuterObject) {
  COuter outer;
  ASSERT_EQ(S_OK, CreateObject<CTestObject>(outer.m_inner, &outer));
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

  void* p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, outer.m_inner->QueryInterface(IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(E_POINTER, outer.m_inner->QueryInterface(IID_IUnknown, nullptr));

  outer.m_inner.Release();
  EXPECT_EQ(1, g_log.finalConstructed);
  EXPECT_EQ(1, g_log.finalReleased);
  EXPECT_EQ(1, g_log.destroyed);
}

TEST_F(ObjectRoot, FailedCreationLeavesNothing) {
  void* p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, CTestObject::_CreatorClass::CreateInstance(nullptr, IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(1, g_log.destroyed);
  EXPECT_EQ(E_POINTER, CTestObject::_CreatorClass::CreateInstance(nullptr, IID_IUnknown, nullptr));
  EXPECT_EQ(E_POINTER, CComObject<CTestObject>::CreateInstance(nullptr));
  g_log.finalConstructResult = S_FALSE;
  CComPtr<INumber> object;
  EXPECT_EQ(S_OK, CreateObject<CTestObject>(object)) << "any success of FinalConstruct";
  object.Release();
  g_log.finalConstructResult = E_ACCESSDENIED;
  CComObject<CTestObject>* raw = reinterpret_cast<CComObject<CTestObject>*>(&raw);
  EXPECT_EQ(E_ACCESSDENIED, CComObject<CTestObject>::CreateInstance(&raw));
  EXPECT_EQ(nullptr, raw);
  EXPECT_EQ(3, g_log.destroyed);
}

/// Throws in the constructor or later.
class CThrower : public CTestObject {
 public:
  static inline bool s_inConstructor;
  static inline void (*s_throw)();

  CThrower() {
    if (s_inConstructor) {
      s_throw();
    }
  }
  HRESULT FinalConstruct() {
    s_throw();
    return S_OK;
  }
};

TEST_F(ObjectRoot, ExceptionAtCreationIsReturned) {
  const std::pair<void (*)(), HRESULT> cases[] = {
      {[] { AtlThrow(E_ACCESSDENIED); }, E_ACCESSDENIED},
      {[] { AtlThrow(S_OK); }, E_FAIL},
      {[] { throw std::bad_alloc(); }, E_OUTOFMEMORY},
      {[] { throw 1; }, E_FAIL}};
  for (const bool inConstructor : {true, false}) {
    for (const auto& [throws, result] : cases) {
      CThrower::s_inConstructor = inConstructor;
      CThrower::s_throw = throws;
      void* p = Garbage();
      EXPECT_EQ(result,
                CComCreator<CComObject<CThrower>>::CreateInstance(nullptr, __uuidof(INumber), &p));
      EXPECT_EQ(nullptr, p);
      EXPECT_EQ(result, CComCreator<CComAggObject<CThrower>>::CreateInstance(
                            nullptr, __uuidof(INumber), &p));
      CComObject<CThrower>* object = nullptr;
      EXPECT_EQ(result, CComObject<CThrower>::CreateInstance(&object));
      EXPECT_TRUE(g_log.AllGone());
    }
  }
}

/// Hands itself out while it is still being constructed, and once more when it is going.
class CSelfUser : public CTestObject {
 public:
  DECLARE_PROTECT_FINAL_CONSTRUCT()

  HRESULT FinalConstruct() {
    UseSelf();
    return CTestObject::FinalConstruct();
  }
  void FinalRelease() {
    UseSelf();
    CTestObject::FinalRelease();
  }

 private:
  void UseSelf() {
    CComPtr<IUnknown> self(GetUnknown());
    self.Release();
    EXPECT_EQ(g_log.destroyed, 0);
  }
};

TEST_F(ObjectRoot, ProtectedFinalConstructSurvivesItsOwnReferences) {
  CComObject<CSelfUser>* object = nullptr;
  ASSERT_EQ(S_OK, CComObject<CSelfUser>::CreateInstance(&object));
  EXPECT_EQ(0, g_log.finalReleased);
  object->AddRef();
  object->Release();
  EXPECT_EQ(1, g_log.finalReleased);
  EXPECT_EQ(1, g_log.destroyed);
}

TEST_F(ObjectRoot, ThreadsShareTheCount) {
  CComObjectRootEx<CComMultiThreadModel> object;
  std::atomic<int> started = 0;
  const auto work = [&] {
    ++started;
    while (started < 2) {
      SwitchToThread();  // one alone would be done before the other one begins
    }
    for (int i = 0; i < 4000000; ++i) {
      object.InternalAddRef();
      object.InternalRelease();
    }
  };
  object.m_dwRef = 1 << 30;  // far from zero, where the debug checks are
  {
    const CParallel one(work);
    const CParallel two(work);
  }
  EXPECT_EQ(1 << 30, object.m_dwRef);
}

}  // namespace
