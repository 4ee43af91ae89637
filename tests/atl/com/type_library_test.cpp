// Loading and registering the type library of a module.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "atl_test_module.h"
#include "registry_sandbox.h"
#include "tests/support/import_spy.h"

namespace {

class TypeLibrary : public testing::Test {
 protected:
  const HINSTANCE m_module = _AtlBaseModule.GetModuleInstance();
  const std::wstring m_path = ATL::detail::ModulePath(nullptr);
  CComBSTR m_loadedFrom;
  CComPtr<ITypeLib> m_library;
};

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

TEST_F(TypeLibrary, ModulePathHasAnyLength) {
  std::wstring claimed;
  const CImportSpy<&GetModuleFileNameW> spy(
      "kernel32.dll", "GetModuleFileNameW", [&](HMODULE, LPWSTR buffer, DWORD size) {
        lstrcpynW(buffer, claimed.c_str(), static_cast<int>(size));
        return static_cast<DWORD>(std::min<size_t>(claimed.size(), size));
      });
  for (const size_t length : {size_t{MAX_PATH - 1}, size_t{MAX_PATH}, size_t{3000}}) {
    claimed = L"C:\\" + std::wstring(length - 3, L'x');
    EXPECT_EQ(claimed, ATL::detail::ModulePath(nullptr));
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
HRESULT WINAPI FakeRegisterForUser(ITypeLib*, OLECHAR* path, OLECHAR* helpDir) {
  g_calls += L"+ " + std::wstring(path) + L" " + helpDir;
  return S_OK;
}
HRESULT WINAPI FakeUnRegisterForUser(REFGUID guid, WORD major, WORD minor, LCID, SYSKIND kind) {
  EXPECT_TRUE(guid == LIBID_AtlComTestTypes);
  g_calls +=
      L"- " + std::to_wstring(major) + L"." + std::to_wstring(minor) + L" " + std::to_wstring(kind);
  return S_OK;
}

TEST_F(TypeLibrary, RegistersForTheUserWhereTheSystemCan) {
  const CRegistrySandbox sandbox;
  bool hasFunctions = true;
  const CImportSpy<&GetProcAddress> spy(
      "kernel32.dll", "GetProcAddress", [&](HMODULE module, LPCSTR name) -> FARPROC {
        EXPECT_EQ(GetModuleHandleW(L"OLEAUT32.DLL"), module);
        void (*function)() = nullptr;
        if (hasFunctions && std::string(name) == "RegisterTypeLibForUser") {
          function = reinterpret_cast<void (*)()>(&FakeRegisterForUser);
        } else if (hasFunctions && std::string(name) == "UnRegisterTypeLibForUser") {
          function = reinterpret_cast<void (*)()>(&FakeUnRegisterForUser);
        }
        return reinterpret_cast<FARPROC>(function);
      });
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(true));
  EXPECT_EQ(S_OK, AtlRegisterTypeLib(m_module, nullptr));
  EXPECT_EQ(L"+ " + m_path + L" " + m_path.substr(0, m_path.rfind(L'\\')), g_calls);
  g_calls.clear();
  EXPECT_EQ(S_OK, AtlUnRegisterTypeLib(m_module, nullptr));
  EXPECT_EQ(L"- 1.0 3", g_calls);
  EXPECT_EQ(L"", CRegistrySandbox::Dump(HKEY_CLASSES_ROOT));

  hasFunctions = false;
  EXPECT_EQ(S_OK, AtlRegisterTypeLib(m_module, nullptr));
  EXPECT_NE(L"", CRegistrySandbox::Dump(HKEY_CLASSES_ROOT));
  EXPECT_EQ(S_OK, AtlUnRegisterTypeLib(m_module, nullptr));
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(false));
}

}  // namespace
