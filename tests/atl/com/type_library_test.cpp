// Loading and registering the type library of a module.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "atl_test_module.h"
#include "registry_sandbox.h"
#include "tests/support/import_patch.h"

namespace {

class TypeLibrary : public testing::Test {
 protected:
  static bool IsTestLibrary(ITypeLib* library) {
    TLIBATTR* attr = nullptr;
    if (library == nullptr || FAILED(library->GetLibAttr(&attr))) {
      return false;
    }
    const bool is = attr->guid == LIBID_AtlComTestTypes && attr->wMajorVerNum == 1;
    library->ReleaseTLibAttr(attr);
    return is;
  }

  const HINSTANCE m_module = _AtlBaseModule.GetModuleInstance();
  const std::wstring m_path = ATL::detail::ModulePath(nullptr);
  CComBSTR m_loadedFrom;
  CComPtr<ITypeLib> m_library;
};

TEST_F(TypeLibrary, LoadsFromTheModule) {
  EXPECT_EQ(S_OK, AtlLoadTypeLib(m_module, nullptr, &m_loadedFrom, &m_library));
  EXPECT_TRUE(IsTestLibrary(m_library));
  EXPECT_STREQ(m_path.c_str(), m_loadedFrom);
}

TEST_F(TypeLibrary, LoadsByIndex) {
  EXPECT_EQ(S_OK, AtlLoadTypeLib(m_module, L"\\1", &m_loadedFrom, &m_library));
  EXPECT_TRUE(IsTestLibrary(m_library));
  EXPECT_STREQ((m_path + L"\\1").c_str(), m_loadedFrom);
}

TEST_F(TypeLibrary, FailsWithoutOne) {
  const CComBSTR owner(L"untouched");
  BSTR path = owner;
  ITypeLib* library = reinterpret_cast<ITypeLib*>(&library);
  EXPECT_TRUE(FAILED(AtlLoadTypeLib(m_module, L"\\2", &path, &library)));
  EXPECT_EQ(nullptr, path);
  EXPECT_EQ(nullptr, library);
  EXPECT_TRUE(FAILED(AtlRegisterTypeLib(m_module, L"\\2")));
  EXPECT_TRUE(FAILED(AtlUnRegisterTypeLib(m_module, L"\\2")));
  EXPECT_EQ(E_POINTER, AtlLoadTypeLib(m_module, nullptr, nullptr, &m_library));
  EXPECT_EQ(E_POINTER, AtlLoadTypeLib(m_module, nullptr, &m_loadedFrom, nullptr));
}

/// Where the module is said to lie.
std::wstring g_claimedPath;
DWORD WINAPI ClaimedModuleFileName(HMODULE, LPWSTR buffer, DWORD size) {
  return lstrcpynW(buffer, g_claimedPath.c_str(), static_cast<int>(size)) != nullptr
             ? static_cast<DWORD>(std::min<size_t>(g_claimedPath.size(), size))
             : 0;
}

TEST_F(TypeLibrary, PathsOfAnyLength) {
  const CImportPatch patch("kernel32.dll", "GetModuleFileNameW", &ClaimedModuleFileName);
  for (const size_t length : {size_t{MAX_PATH - 1}, size_t{MAX_PATH}, size_t{3000}}) {
    g_claimedPath = L"C:\\" + std::wstring(length - 3, L'x');
    EXPECT_EQ(g_claimedPath, ATL::detail::ModulePath(nullptr));
  }
}

TEST_F(TypeLibrary, RegistersForTheMachine) {
  const CRegistrySandbox sandbox;
  CRegistrySandbox::Put(HKEY_CLASSES_ROOT, L"TypeLib");  // systems differ in how they spell it
  EXPECT_EQ(S_OK, AtlRegisterTypeLib(m_module, nullptr));
  const std::wstring key = L"TypeLib\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E10}\\1.0";
  const std::wstring classes = CRegistrySandbox::Dump(HKEY_CLASSES_ROOT);
  EXPECT_THAT(classes, testing::HasSubstr(key + L" = s:Test Types\n"));
  EXPECT_THAT(classes, testing::HasSubstr(key + L"\\0\\win64 = s:" + m_path + L"\n"));
  const std::wstring folder = m_path.substr(0, m_path.rfind(L'\\'));
  EXPECT_THAT(classes, testing::HasSubstr(key + L"\\HELPDIR = s:" + folder + L"\n"));
  EXPECT_EQ(S_OK, AtlUnRegisterTypeLib(m_module, nullptr));
  EXPECT_THAT(CRegistrySandbox::Dump(HKEY_CLASSES_ROOT), testing::Not(testing::HasSubstr(key)));
}

/// Stands in for the automation library's per-user functions.
std::wstring g_calls;
bool g_hasPerUserFunctions = true;
HRESULT WINAPI FakeRegisterForUser(ITypeLib* library, OLECHAR* path, OLECHAR* helpDir) {
  EXPECT_NE(nullptr, library);
  g_calls += L"+ " + std::wstring(path) + L" " + helpDir;
  return S_OK;
}
HRESULT WINAPI FakeUnRegisterForUser(REFGUID guid, WORD major, WORD minor, LCID, SYSKIND kind) {
  EXPECT_TRUE(guid == LIBID_AtlComTestTypes);
  g_calls +=
      L"- " + std::to_wstring(major) + L"." + std::to_wstring(minor) + L" " + std::to_wstring(kind);
  return S_OK;
}
FARPROC WINAPI PerUserGetProcAddress(HMODULE module, LPCSTR name) {
  EXPECT_EQ(GetModuleHandleW(L"OLEAUT32.DLL"), module);
  if (!g_hasPerUserFunctions) {
    return nullptr;
  }
  const bool registers = std::string(name) == "RegisterTypeLibForUser";
  EXPECT_TRUE(registers || std::string(name) == "UnRegisterTypeLibForUser") << name;
  return registers
             ? reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&FakeRegisterForUser))
             : reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(&FakeUnRegisterForUser));
}

TEST_F(TypeLibrary, RegistersForTheUserWhereTheSystemCan) {
  const CRegistrySandbox sandbox;
  const CImportPatch patch("kernel32.dll", "GetProcAddress", &PerUserGetProcAddress);
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(true));
  g_calls.clear();
  g_hasPerUserFunctions = true;
  EXPECT_EQ(S_OK, AtlRegisterTypeLib(m_module, nullptr));
  EXPECT_EQ(L"+ " + m_path + L" " + m_path.substr(0, m_path.rfind(L'\\')), g_calls);
  g_calls.clear();
  EXPECT_EQ(S_OK, AtlUnRegisterTypeLib(m_module, nullptr));
  EXPECT_EQ(L"- 1.0 3", g_calls);
  EXPECT_EQ(L"", CRegistrySandbox::Dump(HKEY_CLASSES_ROOT));

  g_hasPerUserFunctions = false;
  EXPECT_EQ(S_OK, AtlRegisterTypeLib(m_module, nullptr));
  EXPECT_NE(L"", CRegistrySandbox::Dump(HKEY_CLASSES_ROOT));
  EXPECT_EQ(S_OK, AtlUnRegisterTypeLib(m_module, nullptr));
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(false));
}

}  // namespace
