// Registering the type library of a module.

#include <atlbase.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "folivo_plugin_h.h"
#include "tests/support/import_spy.h"
#include "tests/support/scratch_registry.h"

namespace {

class TypeLibraryRegistration : public testing::Test {
 protected:
  const HINSTANCE m_module = _AtlBaseModule.GetModuleInstance();
  const std::wstring m_path = ATL::detail::ModulePath(nullptr);
  const std::wstring m_folder = m_path.substr(0, m_path.rfind(L'\\'));
  const CScratchRegistry m_registry;
};

TEST_F(TypeLibraryRegistration, MissingResourceFails) {
  EXPECT_TRUE(FAILED(AtlRegisterTypeLib(m_module, L"\\2")));
  EXPECT_TRUE(FAILED(AtlUnRegisterTypeLib(m_module, L"\\2")));
}

TEST_F(TypeLibraryRegistration, ModulePathHasAnyLength) {
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

/// Stands in for the automation library's per-user functions.
std::wstring g_call;
HRESULT WINAPI FakeRegisterForUser(ITypeLib*, OLECHAR* path, OLECHAR* helpDir) {
  g_call = path + std::wstring(L"|") + helpDir;
  return S_OK;
}
HRESULT WINAPI FakeUnRegisterForUser(REFGUID guid, WORD major, WORD minor, LCID, SYSKIND kind) {
  EXPECT_TRUE(guid == LIBID_MERLOFolivoIEPlugin && major == 1 && minor == 0);
  EXPECT_EQ(SYS_WIN64, kind);
  g_call = L"removed";
  return S_OK;
}

TEST_F(TypeLibraryRegistration, RegistersForTheUserWhereTheSystemCan) {
  bool hasFunctions = true;
  const CImportSpy<&GetProcAddress> spy(
      "kernel32.dll", "GetProcAddress", [&](HMODULE module, LPCSTR szName) -> FARPROC {
        EXPECT_EQ(GetModuleHandleW(L"OLEAUT32.DLL"), module);
        const std::string name = szName;
        void (*function)() = nullptr;
        if (name == "RegisterTypeLibForUser") {
          function = reinterpret_cast<void (*)()>(&FakeRegisterForUser);
        } else if (name == "UnRegisterTypeLibForUser") {
          function = reinterpret_cast<void (*)()>(&FakeUnRegisterForUser);
        }
        return hasFunctions ? reinterpret_cast<FARPROC>(function) : nullptr;
      });
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(true));
  EXPECT_EQ(S_OK, AtlRegisterTypeLib(m_module, nullptr));
  EXPECT_EQ(m_path + L"|" + m_folder, g_call);
  EXPECT_EQ(S_OK, AtlUnRegisterTypeLib(m_module, nullptr));
  EXPECT_EQ(L"removed", g_call);
  EXPECT_THAT(m_registry.Dump(L"HKCR"), testing::IsEmpty());

  hasFunctions = false;
  EXPECT_EQ(S_OK, AtlRegisterTypeLib(m_module, nullptr));
  EXPECT_THAT(m_registry.Dump(L"HKCR"), testing::Contains(testing::EndsWith(L"|=" + m_path)));
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(false));
}

}  // namespace
