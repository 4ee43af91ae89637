// The object map and what the module does with it.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "atl_test_module.h"
#include "registry_sandbox.h"
#include "test_objects.h"
#include "tests/support/lock_contest.h"

namespace {

constexpr CLSID kFirstClass = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x51}};
constexpr CLSID kSecondClass = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x52}};
constexpr CLSID kUnknownClass = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x53}};
constexpr CATID kCategory = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x54}};

/// What the module asked of the classes, in this order.
std::vector<std::wstring> g_calls;
HRESULT g_constructFactory = S_OK;
HRESULT g_queryFactory = S_OK;
LONG g_factoriesMade = 0;
LONG g_factoriesAlive = 0;

class CCountedFactory : public CComClassFactory {
 public:
  HRESULT FinalConstruct() {
    InterlockedIncrement(&g_factoriesMade);
    InterlockedIncrement(&g_factoriesAlive);
    CLockContest::BeInside();
    return g_constructFactory;
  }
  void FinalRelease() { InterlockedDecrement(&g_factoriesAlive); }

  /// Replaces the function of the COM map: may succeed without an object.
  HRESULT _InternalQueryInterface(REFIID iid, void** ppv) {
    return g_queryFactory != S_OK ? g_queryFactory
                                  : CComClassFactory::_InternalQueryInterface(iid, ppv);
  }
};

class CFirst : public CTestObject {
 public:
  using _ClassFactoryCreatorClass = CComCreator<CComObjectCached<CCountedFactory>>;
  BEGIN_CATEGORY_MAP(CFirst)
  IMPLEMENTED_CATEGORY(kCategory)
  IMPLEMENTED_CATEGORY(kUnknownClass)
  REQUIRED_CATEGORY(kCategory)
  END_CATEGORY_MAP()

  static HRESULT WINAPI UpdateRegistry(BOOL bRegister) {
    g_calls.push_back(bRegister ? L"first +" : L"first -");
    return S_OK;
  }
};

class CSecond : public CTestObject {
 public:
  static HRESULT WINAPI UpdateRegistry(BOOL bRegister) {
    g_calls.push_back(bRegister ? L"second +" : L"second -");
    return S_OK;
  }
};

OBJECT_ENTRY_AUTO(kFirstClass, CFirst)
OBJECT_ENTRY_AUTO(kSecondClass, CSecond)

using Calls = std::vector<std::wstring>;

class Module : public testing::Test {
 protected:
  void SetUp() override {
    g_calls.clear();
    g_constructFactory = S_OK;
    g_queryFactory = S_OK;
    g_factoriesMade = 0;
    g_log = {};
  }

  /// Asks a COM module of the test's own, so that its factories are gone at the end of the test.
  HRESULT Get(REFCLSID clsid, REFIID iid, void** out) {
    return m_com.GetClassObject(clsid, iid, out);
  }
  template <class T>
  HRESULT Get(REFCLSID clsid, CComPtr<T>& out) {
    return Get(clsid, __uuidof(T), reinterpret_cast<void**>(&out));
  }

  CLockBalance m_locks;
  CAtlComModule m_com;
};

TEST_F(Module, MissingPointerOrClassFails) {
  EXPECT_EQ(E_POINTER, TestModule().DllGetClassObject(kFirstClass, IID_IUnknown, nullptr));
  void* p = Garbage();
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE,
            TestModule().DllGetClassObject(kUnknownClass, IID_IUnknown, &p));
  EXPECT_EQ(nullptr, p);
  p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, Get(kFirstClass, IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
}

TEST_F(Module, EachClassObjectIsCreatedOnceAndCached) {
  EXPECT_EQ(0, g_factoriesMade);
  CComPtr<IClassFactory> first;
  ASSERT_EQ(S_OK, Get(kFirstClass, first));
  CComPtr<IUnknown> again;
  EXPECT_EQ(S_OK, Get(kFirstClass, again));
  EXPECT_EQ(again.p, Peek<IUnknown>(first));
  EXPECT_EQ(1, g_factoriesMade);

  CComPtr<IUnknown> second;
  ASSERT_EQ(S_OK, Get(kSecondClass, second));
  EXPECT_NE(again.p, second.p);
  second.Release();

  first.Release();
  again.Release();
  EXPECT_EQ(1, g_factoriesAlive) << "the module keeps it";
  m_com.Term();
  EXPECT_EQ(0, g_factoriesAlive);
}

TEST_F(Module, FactoryFailureIsNotCached) {
  g_constructFactory = E_ACCESSDENIED;
  void* p = Garbage();
  EXPECT_EQ(E_ACCESSDENIED, Get(kFirstClass, IID_IClassFactory, &p));
  EXPECT_EQ(nullptr, p);
  g_constructFactory = S_OK;
  CComPtr<IClassFactory> factory;
  EXPECT_EQ(S_OK, Get(kFirstClass, factory));
}

TEST_F(Module, SuccessWithoutObjectReturnsClassNotAvailable) {
  g_queryFactory = S_FALSE;
  void* p = Garbage();
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, Get(kFirstClass, IID_IClassFactory, &p)) << "none is made";
  EXPECT_EQ(nullptr, p);
  g_queryFactory = S_OK;
  CComPtr<IUnknown> factory;
  ASSERT_EQ(S_OK, Get(kFirstClass, factory));
  g_queryFactory = S_FALSE;
  p = Garbage();
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, Get(kFirstClass, IID_IClassFactory, &p)) << "none is given";
  EXPECT_EQ(nullptr, p);
}

TEST_F(Module, GetClassObjectAfterTermReturnsEUnexpected) {
  m_com.Term();
  void* p = Garbage();
  EXPECT_EQ(E_UNEXPECTED, Get(kFirstClass, IID_IUnknown, &p));
  EXPECT_EQ(nullptr, p);
}

TEST_F(Module, TwoThreadsCreateOneFactory) {
  CLockContest(&m_com.m_csObjMap.m_sec).Run([this] {
    CComPtr<IClassFactory> factory;
    EXPECT_EQ(S_OK, Get(kFirstClass, factory));
  });
  EXPECT_EQ(1, g_factoriesMade);
}

TEST_F(Module, DllMainReturnsFalseWhenInitialisationFailed) {
  for (const DWORD reason :
       {DLL_PROCESS_ATTACH, DLL_THREAD_ATTACH, DLL_THREAD_DETACH, DLL_PROCESS_DETACH}) {
    EXPECT_TRUE(TestModule().DllMain(reason, nullptr));
  }
  CAtlBaseModule::m_bInitFailed = true;
  EXPECT_FALSE(TestModule().DllMain(DLL_PROCESS_ATTACH, nullptr));
  CAtlBaseModule::m_bInitFailed = false;
}

TEST_F(Module, RegistersTheClassesInOrderWithTheirCategories) {
  const CRegistrySandbox sandbox;
  const std::wstring key = L"CLSID\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E51}";
  CRegistrySandbox::Put(HKEY_CLASSES_ROOT, (key + L"\\Required Categories\\{other}").c_str());
  EXPECT_EQ(S_OK, TestModule().RegisterServer(FALSE));
  EXPECT_EQ((Calls{L"first +", L"second +"}), g_calls);
  const std::wstring others =
      Lines({key + L"\\Required Categories", key + L"\\Required Categories\\{other}",
             key + L"\\Required Categories\\{other} = s:"});
  EXPECT_EQ(Lines({L"CLSID", key, key + L"\\Implemented Categories",
                   key + L"\\Implemented Categories\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E53}",
                   key + L"\\Implemented Categories\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E54}",
                   key + L"\\Required Categories",
                   key + L"\\Required Categories\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E54}",
                   key + L"\\Required Categories\\{other}",
                   key + L"\\Required Categories\\{other} = s:"}),
            CRegistrySandbox::Dump(HKEY_CLASSES_ROOT));
  g_calls.clear();
  EXPECT_EQ(S_OK, TestModule().UnregisterServer(FALSE));
  EXPECT_EQ((Calls{L"first -", L"second -"}), g_calls);
  EXPECT_EQ(Lines({L"CLSID", key}) + others, CRegistrySandbox::Dump(HKEY_CLASSES_ROOT));
}

TEST_F(Module, ScriptsGetModulePathAndReplacements) {
  const CRegistrySandbox sandbox;
  _ATL_REGMAP_ENTRY more[] = {{L"More", L"more"}, {nullptr, nullptr}};
  EXPECT_EQ(S_OK, TestModule().UpdateRegistryFromResource(201, TRUE, more));
  wchar_t path[MAX_PATH];
  ASSERT_NE(0U, GetModuleFileNameW(nullptr, path, MAX_PATH));
  // This module is the program, so its path is a command line.
  EXPECT_EQ(Lines({L"TestModule", L"TestModule [appid] = s:",
                   L"TestModule [module] = s:\"" + std::wstring(path) + L"\"",
                   L"TestModule [more] = s:more", L"TestModule [raw] = s:" + std::wstring(path)}),
            CRegistrySandbox::Dump(HKEY_LOCAL_MACHINE));
  EXPECT_EQ(S_OK, TestModule().UpdateRegistryFromResource(201, FALSE, more));
  EXPECT_EQ(L"", CRegistrySandbox::Dump(HKEY_LOCAL_MACHINE));

  EXPECT_EQ(DISP_E_EXCEPTION, TestModule().UpdateRegistryFromResource(201, TRUE))
      << "one replacement is missing";
  _ATL_REGMAP_ENTRY broken[] = {{L"More", nullptr}, {nullptr, nullptr}};
  EXPECT_EQ(E_INVALIDARG, TestModule().UpdateRegistryFromResource(201, TRUE, broken));
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND),
            TestModule().UpdateRegistryFromResource(9999, TRUE));
}

/// A module besides the program's own one.
class COtherModule : public CAtlModuleT<COtherModule> {};

/// An outer object that is not deleted.
class COuter : public IUnknown {
 public:
  STDMETHOD(QueryInterface)(REFIID, void** ppv) override {
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHOD_(ULONG, AddRef)() override { return 2; }
  STDMETHOD_(ULONG, Release)() override { return 1; }
};

TEST_F(Module, ReleaseAfterModuleDestructionSucceeds) {
  CAtlModule* const own = _pAtlModule;
  COuter outer;
  CComPtr<INumber> object;
  CComPtr<IUnknown> inner;
  CComPtr<IClassFactory> factory;
  {
    COtherModule module;
    ASSERT_EQ(S_OK, CreateObject<CTestObject>(object));
    ASSERT_EQ(S_OK, CreateObject<CTestObject>(inner, &outer));
    ASSERT_EQ(S_OK, Get(kFirstClass, factory));
    EXPECT_EQ(3, module.GetLockCount());
  }
  ASSERT_EQ(nullptr, _pAtlModule);
  m_com.Term();
  CComPtr<IClassFactory> again = factory;
  EXPECT_EQ(S_OK, factory->LockServer(TRUE));
  EXPECT_EQ(S_OK, factory->LockServer(FALSE));
  again.Release();
  EXPECT_EQ(1, g_factoriesAlive);
  factory.Release();
  EXPECT_EQ(0, g_factoriesAlive);
  object.Release();
  inner.Release();
  EXPECT_EQ(2, g_log.destroyed);
  _pAtlModule = own;
}

}  // namespace
