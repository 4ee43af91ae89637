#include <gtest/gtest.h>

#include "atl_test_module.h"
#include "greeter.h"
#include "tests/support/import_patch.h"
#include "tests/support/lock_contest.h"

namespace {

LONG g_libraryLoads = 0;

/// Counts the loads of a registered type library, and fails all but those of the tests' own.
HRESULT WINAPI CountingLoadRegTypeLib(REFGUID guid, WORD major, WORD minor, LCID,
                                      ITypeLib** library) {
  InterlockedIncrement(&g_libraryLoads);
  CLockContest::BeInside();
  EXPECT_EQ(1, major);
  EXPECT_EQ(0, minor);
  if (guid != LIBID_AtlComTestTypes) {
    return TYPE_E_LIBNOTREGISTERED;
  }
  CComBSTR path;
  return AtlLoadTypeLib(_AtlBaseModule.GetModuleInstance(), nullptr, &path, library);
}

class TypeInfoHolder : public testing::Test {
 protected:
  void SetUp() override { g_libraryLoads = 0; }
  /// What the module does at its end, so that each test's holder starts anew.
  void Forget(CComTypeInfoHolder& holder) {
    CComTypeInfoHolder::Cleanup(reinterpret_cast<DWORD_PTR>(&holder));
  }
};

TEST_F(TypeInfoHolder, TypeInfoIsLoadedOnce) {
  static CComTypeInfoHolder holder(&IID_IGreeter, &LIBID_AtlComTestTypes, 1, 0);
  const CImportPatch patch("oleaut32.dll", "LoadRegTypeLib", &CountingLoadRegTypeLib);
  EXPECT_EQ(0, g_libraryLoads);
  CComPtr<ITypeInfo> first;
  CComPtr<ITypeInfo> second;
  EXPECT_EQ(S_OK, holder.GetTypeInfo(0, LOCALE_USER_DEFAULT, &first));
  EXPECT_EQ(S_OK, holder.GetTypeInfo(0, LOCALE_USER_DEFAULT, &second));
  EXPECT_NE(nullptr, first.p);
  EXPECT_EQ(first.p, second.p);
  EXPECT_EQ(1, g_libraryLoads);
  Forget(holder);
  EXPECT_EQ(S_OK, holder.EnsureTI(LOCALE_USER_DEFAULT)) << "and loads again";
  EXPECT_EQ(2, g_libraryLoads);
  EXPECT_EQ(E_POINTER, holder.GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr));
}

TEST_F(TypeInfoHolder, FailureIsNotCached) {
  static const GUID kUnknown = {1, 2, 3, {}};
  static CComTypeInfoHolder noLibrary(&IID_IGreeter, &kUnknown, 1, 0);
  static CComTypeInfoHolder noType(&kUnknown, &LIBID_AtlComTestTypes, 1, 0);
  const CImportPatch patch("oleaut32.dll", "LoadRegTypeLib", &CountingLoadRegTypeLib);
  CComPtr<ITypeInfo> info;
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, noLibrary.GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
  EXPECT_EQ(nullptr, info.p);
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, noLibrary.EnsureTI(LOCALE_USER_DEFAULT));
  EXPECT_EQ(2, g_libraryLoads);
  EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, noType.EnsureTI(LOCALE_USER_DEFAULT));

  LPOLESTR names[] = {nullptr};
  DISPID id = 0;
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED,
            noLibrary.GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id));
  DISPPARAMS none = {};
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED,
            noLibrary.Invoke(nullptr, 1, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none,
                             nullptr, nullptr, nullptr));
}

TEST_F(TypeInfoHolder, TwoThreadsLoadOnce) {
  static CComTypeInfoHolder holder(&IID_IGreeter, &LIBID_AtlComTestTypes, 1, 0);
  const CImportPatch patch("oleaut32.dll", "LoadRegTypeLib", &CountingLoadRegTypeLib);
  CLockContest(&_pAtlModule->m_csStaticDataInitAndTypeInfo.m_sec).Run([] {
    CComPtr<ITypeInfo> info;
    EXPECT_EQ(S_OK, holder.GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
  });
  EXPECT_EQ(1, g_libraryLoads);
  Forget(holder);
}

}  // namespace
