#pragma once

#include <atlcom.h>
#include <cguid.h>
#include <gtest/gtest.h>

#include "tests/atl/stack_object.h"
#include "tests/support/test_module.h"

inline CTestModule g_module;

/// Two interfaces of the tests' own.
MIDL_INTERFACE("7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E21")
INumber : public IUnknown { virtual int STDMETHODCALLTYPE Number() = 0; };
__CRT_UUID_DECL(INumber, 0x7C2C1C53, 0x2B3E, 0x4B7B, 0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x21)

MIDL_INTERFACE("7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E22")
IColour : public IUnknown { virtual int STDMETHODCALLTYPE Colour() = 0; };
__CRT_UUID_DECL(IColour, 0x7C2C1C53, 0x2B3E, 0x4B7B, 0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x22)

/// What happened to the objects of a test.
struct ObjectLog {
  int constructed = 0;
  int finalConstructed = 0;
  int finalReleased = 0;
  int destroyed = 0;
  LONG locksInDestructor = -1;  // module locks while members were destroyed
  HRESULT finalConstructResult = S_OK;

  bool AllGone() const { return constructed == destroyed; }
};
inline ObjectLog g_log;

/// The usual class: two interfaces, and a log of its life.
class CTestObject : public ATL::CComObjectRootEx<ATL::CComSingleThreadModel>,
                    public ATL::CComCoClass<CTestObject, &CLSID_NULL>,
                    public INumber,
                    public IColour {
 public:
  CTestObject() { ++g_log.constructed; }
  CTestObject(const CTestObject&) = delete;
  CTestObject& operator=(const CTestObject&) = delete;
  virtual ~CTestObject() {
    g_log.locksInDestructor = ATL::_pAtlModule != nullptr ? ATL::_pAtlModule->GetLockCount() : 0;
    ++g_log.destroyed;
  }

  BEGIN_COM_MAP(CTestObject)
  COM_INTERFACE_ENTRY(INumber)
  COM_INTERFACE_ENTRY(IColour)
  END_COM_MAP()

  HRESULT FinalConstruct() {
    ++g_log.finalConstructed;
    return g_log.finalConstructResult;
  }
  void FinalRelease() { ++g_log.finalReleased; }

  STDMETHOD_(int, Number)() override { return 42; }
  STDMETHOD_(int, Colour)() override { return 7; }
};

/// Resets the log, and checks that each test leaves as many objects and module locks as it found.
class ComTest : public testing::Test {
 protected:
  void SetUp() override { g_log = {}; }
  void TearDown() override {
    EXPECT_TRUE(g_log.AllGone());
    EXPECT_EQ(0, LocksGained()) << "module locks left behind";
  }
  LONG LocksGained() const { return g_module.GetLockCount() - m_locksBefore; }

  const LONG m_locksBefore = g_module.GetLockCount();
};

/// Makes a T as the class factory does; `outer` is to aggregate it.
template <class T, class Q>
HRESULT CreateObject(ATL::CComPtr<Q>& object, IUnknown* outer = nullptr) {
  return T::_CreatorClass::CreateInstance(outer, __uuidof(Q), reinterpret_cast<void**>(&object));
}

/// The interface of an object, without keeping a reference: for comparisons.
template <class T>
T* Peek(IUnknown* object) {
  return ATL::CComQIPtr<T>(object).p;
}

/// How many references an object has.
inline ULONG References(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

/// What an out-parameter holds before the call, to see it cleared: no object, not null.
inline void* Garbage() { return &g_log; }
