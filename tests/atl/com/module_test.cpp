// The object map and what the module does with it.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "test_objects.h"
#include "tests/support/import_spy.h"
#include "tests/support/scratch_registry.h"

namespace {

using Lines = CScratchRegistry::Lines;

constexpr CLSID kFirstClass = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x51}};
constexpr CLSID kSecondClass = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x52}};
constexpr GUID kOther = {
    0x7C2C1C53, 0x2B3E, 0x4B7B, {0x9E, 0x5C, 0x0D, 0x6F, 0x0B, 0x6B, 0x5E, 0x53}};

/// What the module called of the classes, in this order.
std::vector<std::string> g_calls;
HRESULT g_constructFactory = S_OK;
HRESULT g_queryFactory = S_OK;
int g_factoriesMade = 0;
int g_factoriesAlive = 0;

class CCountedFactory : public CComClassFactory {
 public:
  HRESULT FinalConstruct() {
    ++g_factoriesMade;
    ++g_factoriesAlive;
    return g_constructFactory;
  }
  void FinalRelease() { --g_factoriesAlive; }

  /// Replaces the function of the COM map: may succeed without an object.
  HRESULT _InternalQueryInterface(REFIID iid, void** ppv) {
    return g_queryFactory != S_OK ? g_queryFactory
                                  : CComClassFactory::_InternalQueryInterface(iid, ppv);
  }
};

class CFirst : public CTestObject {
 public:
  using _ClassFactoryCreatorClass = CComCreator<CComObjectCached<CCountedFactory>>;

  static const _ATL_CATMAP_ENTRY* GetCategoryMap() {
    static const _ATL_CATMAP_ENTRY map[] = {{_ATL_CATMAP_ENTRY_IMPLEMENTED, &kFirstClass},
                                            {_ATL_CATMAP_ENTRY_IMPLEMENTED, &kOther},
                                            {_ATL_CATMAP_ENTRY_REQUIRED, &kFirstClass},
                                            {_ATL_CATMAP_ENTRY_END, nullptr}};
    return map;
  }
  static HRESULT WINAPI UpdateRegistry(BOOL bRegister) {
    g_calls.push_back(bRegister ? "first +" : "first -");
    return S_OK;
  }
};

class CSecond : public CTestObject {
 public:
  static HRESULT WINAPI UpdateRegistry(BOOL bRegister) {
    g_calls.push_back(bRegister ? "second +" : "second -");
    return S_OK;
  }
};

OBJECT_ENTRY_AUTO(kFirstClass, CFirst)
OBJECT_ENTRY_AUTO(kSecondClass, CSecond)

class Module : public ComTest {
 protected:
  void SetUp() override {
    ComTest::SetUp();
    g_calls.clear();
    g_constructFactory = S_OK;
    g_queryFactory = S_OK;
    g_factoriesMade = 0;
  }

  /// Asks a COM module of the test's own, so that its factories are gone at the end of the test.
  HRESULT Get(REFCLSID clsid, CComPtr<IUnknown>& factory) {
    return m_com.GetClassObject(clsid, IID_IUnknown, reinterpret_cast<void**>(&factory));
  }
  HRESULT FailToGet(REFCLSID clsid, REFIID iid = IID_IUnknown) {
    void* p = Garbage();
    const HRESULT hr = m_com.GetClassObject(clsid, iid, &p);
    EXPECT_EQ(nullptr, p);
    return hr;
  }

  CAtlComModule m_com;
};

TEST_F(Module, GetClassObjectCachesTheFactoryUntilTerm) {
  CComPtr<IUnknown> first;
  CComPtr<IUnknown> again;
  CComPtr<IUnknown> second;
  ASSERT_EQ(S_OK, Get(kFirstClass, first));
  EXPECT_EQ(S_OK, Get(kFirstClass, again));
  EXPECT_EQ(S_OK, Get(kSecondClass, second));
  EXPECT_EQ(again.p, first.p);
  EXPECT_NE(again.p, second.p);
  EXPECT_EQ(1, g_factoriesMade);
  first.Release();
  again.Release();
  second.Release();
  EXPECT_EQ(1, g_factoriesAlive) << "the module keeps it";
  m_com.Term();
  EXPECT_EQ(0, g_factoriesAlive);
  EXPECT_EQ(E_UNEXPECTED, FailToGet(kFirstClass));
}

TEST_F(Module, GetClassObjectFailureClearsResult) {
  EXPECT_EQ(E_POINTER, m_com.GetClassObject(kFirstClass, IID_IUnknown, nullptr));
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, FailToGet(kOther));
  g_constructFactory = E_ACCESSDENIED;
  EXPECT_EQ(E_ACCESSDENIED, FailToGet(kFirstClass));
  g_constructFactory = S_OK;
  g_queryFactory = S_FALSE;
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, FailToGet(kFirstClass)) << "success without a factory";
  g_queryFactory = S_OK;
  EXPECT_EQ(E_NOINTERFACE, FailToGet(kFirstClass, IID_IDispatch));
  g_queryFactory = S_FALSE;
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, FailToGet(kFirstClass)) << "success without an interface";
}

TEST_F(Module, ClassFactoryCreatesObjects) {
  CComPtr<IClassFactory> factory;
  ASSERT_EQ(S_OK, m_com.GetClassObject(kSecondClass, IID_IClassFactory,
                                       reinterpret_cast<void**>(&factory)));
  CComPtr<IColour> object;
  EXPECT_EQ(S_OK,
            factory->CreateInstance(nullptr, __uuidof(IColour), reinterpret_cast<void**>(&object)));
  EXPECT_EQ(7, object->Colour());
  EXPECT_EQ(2, LocksGained()) << "of the factory and the object";
  EXPECT_EQ(E_POINTER, factory->CreateInstance(nullptr, __uuidof(IColour), nullptr));
  CStackObject<IUnknown> outer;
  void* p = Garbage();
  EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(&outer, __uuidof(INumber), &p));
  EXPECT_EQ(nullptr, p);
}

TEST_F(Module, FailedCriticalSectionFailsDllMain) {
  EXPECT_TRUE(g_module.DllMain(DLL_PROCESS_ATTACH, nullptr));
  {
    const CImportSpy<&InitializeCriticalSectionAndSpinCount> spy(
        "kernel32.dll", "InitializeCriticalSectionAndSpinCount", [](CRITICAL_SECTION*, DWORD) {
          SetLastError(ERROR_SUCCESS);
          return FALSE;
        });
    CAtlComModule failed;
    void* p = Garbage();
    EXPECT_EQ(E_UNEXPECTED, failed.GetClassObject(kFirstClass, IID_IUnknown, &p));
  }
  EXPECT_FALSE(g_module.DllMain(DLL_PROCESS_ATTACH, nullptr));
  EXPECT_TRUE(g_module.DllMain(DLL_PROCESS_DETACH, nullptr));
  CAtlBaseModule::m_bInitFailed = false;
}

TEST_F(Module, RegistersTheClassesInOrderWithTheirCategories) {
  const CScratchRegistry registry;
  const std::wstring first = L"{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E51}";
  const std::wstring key = L"CLSID\\" + first;
  const std::wstring implemented = key + L"\\Implemented Categories";
  const std::wstring required = key + L"\\Required Categories";
  registry.Add(L"HKCR\\" + required + L"\\{other}");
  EXPECT_EQ(S_OK, m_com.RegisterServer(FALSE));
  EXPECT_EQ((Lines{L"CLSID", key, implemented, implemented + L"\\" + first,
                   implemented + L"\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E53}", required,
                   required + L"\\" + first, required + L"\\{other}"}),
            registry.Dump(L"HKCR"));
  EXPECT_EQ(S_OK, m_com.UnregisterServer(FALSE));
  EXPECT_THAT(g_calls, testing::ElementsAre("first +", "second +", "first -", "second -"));
  EXPECT_EQ((Lines{L"CLSID", key, required, required + L"\\{other}"}), registry.Dump(L"HKCR"));
}

TEST_F(Module, ScriptsGetModulePathAndReplacements) {
  const CScratchRegistry registry;
  const std::wstring path = L"C:\\it's\\module.exe";
  const CImportSpy<&GetModuleFileNameW> name(
      "kernel32.dll", "GetModuleFileNameW", [&](HMODULE, LPWSTR buffer, DWORD size) {
        lstrcpynW(buffer, path.c_str(), static_cast<int>(size));
        return static_cast<DWORD>(path.size());
      });
  const CImportSpy<&LoadLibraryExW> load("kernel32.dll", "LoadLibraryExW",
                                         [&](LPCWSTR file, HANDLE, DWORD) {
                                           EXPECT_EQ(path, file);
                                           return GetModuleHandleW(nullptr);
                                         });
  const CImportSpy<&FreeLibrary> freed("kernel32.dll", "FreeLibrary", [](HMODULE) { return TRUE; });
  const auto update = [](BOOL registers, LPCWSTR value) {
    _ATL_REGMAP_ENTRY more[] = {{L"More", value}, {nullptr, nullptr}};
    return g_module.UpdateRegistryFromResource(200, registers, more);
  };
  EXPECT_EQ(S_OK, update(TRUE, L"more"));
  // This module is the program, so its path is a command line.
  EXPECT_EQ((Lines{L"TestModule", L"TestModule|appid=", L"TestModule|module=\"" + path + L"\"",
                   L"TestModule|more=more", L"TestModule|raw=" + path}),
            registry.Dump(L"HKLM"));
  EXPECT_EQ(S_OK, update(FALSE, L"more"));
  EXPECT_THAT(registry.Dump(L"HKLM"), testing::IsEmpty());
  EXPECT_EQ(E_INVALIDARG, update(TRUE, nullptr));
  EXPECT_EQ(DISP_E_EXCEPTION, g_module.UpdateRegistryFromResource(200, TRUE)) << "%MORE%";
}

TEST_F(Module, ReleaseAfterModuleDestructionSucceeds) {
  CStackObject<IUnknown> outer;
  CComPtr<INumber> object;
  CComPtr<IUnknown> inner;
  CComPtr<IClassFactory> factory;
  {
    CTestModule module;
    ASSERT_EQ(S_OK, CreateObject<CTestObject>(object));
    ASSERT_EQ(S_OK, CreateObject<CTestObject>(inner, &outer));
    ASSERT_EQ(S_OK, m_com.GetClassObject(kFirstClass, IID_IClassFactory,
                                         reinterpret_cast<void**>(&factory)));
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
  _pAtlModule = &g_module;
}

}  // namespace
