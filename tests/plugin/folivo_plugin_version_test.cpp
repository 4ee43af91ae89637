// The version that the built DLL returns, under its name and under another one.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <tuple>
#include <utility>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/temp_sandbox.h"

namespace {

// Of plugin_tests.rc: another one than the product ever has.
constexpr wchar_t kHostVersion[] = L"9.8.7.65535";

/// The control of the DLL under its own name.
class FolivoPluginVersion : public testing::Test {
 protected:
  void ExpectFailure(const char* failing) const {
    const CComBSTR before(L"something");
    BSTR version = before;
    EXPECT_EQ(m_control->get_Version(&version), E_FAIL) << failing;
    EXPECT_EQ(version, nullptr) << failing;
  }

  const CPluginLibrary m_library;
  const CComPtr<IFolivoPluginVersion> m_control =
      m_library.Create<IFolivoPluginVersion>(CLSID_CFolivoPluginVersion);
};

TEST_F(FolivoPluginVersion, IsReadAnewByEachCall) {
  const CImportSpy<&GetModuleFileNameW> path("kernel32.dll", "GetModuleFileNameW", nullptr,
                                             m_library.Module());
  const CImportSpy<&GetFileVersionInfoSizeW> size("version.dll", "GetFileVersionInfoSizeW", nullptr,
                                                  m_library.Module());
  CComBSTR versions[2];
  for (CComBSTR& version : versions) {
    EXPECT_EQ(m_control->get_Version(&version), S_OK);
    EXPECT_STREQ(version, FOLIVO_VERSION_WIDE);
  }
  EXPECT_NE(versions[0].m_str, versions[1].m_str) << "each call gives a text of the caller's own";
  ASSERT_EQ(path.Calls().size(), 2u);
  EXPECT_EQ(std::get<0>(path.Calls()[0]), m_library.Module());
  EXPECT_EQ(std::get<2>(path.Calls()[0]), 259u);
  EXPECT_EQ(size.Calls().size(), 2u);
}

TEST_F(FolivoPluginVersion, FailingCallReturnsEFail) {
  const auto fail = +[]() -> ULONG_PTR { return 0; };
  for (const auto& [dll, name] : {std::pair("kernel32.dll", "GetModuleFileNameW"),
                                  {"version.dll", "GetFileVersionInfoSizeW"},
                                  {"version.dll", "GetFileVersionInfoW"},
                                  {"version.dll", "VerQueryValueW"},
                                  {"oleaut32.dll", "SysAllocString"}}) {
    const CImportPatch patch(dll, name, fail, m_library.Module());
    ExpectFailure(name);
  }
  const CImportSpy<&GetModuleFileNameW> cut(
      "kernel32.dll", "GetModuleFileNameW",
      [](HMODULE, LPWSTR path, DWORD size) {
        std::fill_n(path, size, L'x');
        return size;
      },
      m_library.Module());
  ExpectFailure("a path that does not fit");
  EXPECT_EQ(m_control->get_Version(nullptr), E_POINTER);
}

int g_allocationsLeft = 0;
void* AllocateSome(size_t size) { return --g_allocationsLeft == 0 ? nullptr : std::malloc(size); }

TEST_F(FolivoPluginVersion, OutOfMemoryReturnsEFail) {
  const CImportPatch patch("msvcrt.dll", "malloc", &AllocateSome, m_library.Module());
  HRESULT result = E_FAIL;
  int failing = 0;
  while (result != S_OK) {
    g_allocationsLeft = ++failing;
    BSTR version = nullptr;
    result = m_control->get_Version(&version);
    ASSERT_EQ(result, g_allocationsLeft > 0 ? S_OK : E_FAIL) << failing;
    EXPECT_EQ(version != nullptr, result == S_OK);
    SysFreeString(version);
  }
  EXPECT_GT(failing, 2) << "it needs at least a path and a block of information";
}

TEST(FolivoPluginVersionOfARenamedDll, IsThatOfTheModuleOfTheFixedNameOrElseTheHosts) {
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"Renamed.dll";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  const CPluginLibrary library(path);
  const auto control = library.Create<IFolivoPluginVersion>(CLSID_CFolivoPluginVersion);
  CComBSTR version;
  EXPECT_EQ(control->get_Version(&version), S_OK);
  EXPECT_STREQ(version, kHostVersion);
  const CPluginLibrary other;
  CComBSTR otherVersion;
  EXPECT_EQ(control->get_Version(&otherVersion), S_OK);
  EXPECT_STREQ(otherVersion, FOLIVO_VERSION_WIDE);
}

}  // namespace
