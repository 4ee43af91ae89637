// The version that the built DLL tells, and the one that it tells under another name.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>

#include "folivo_plugin_h.h"
#include "tests/plugin/host_program.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/temp_sandbox.h"

namespace {

CComPtr<IFolivoPluginVersion> Control(const CPluginLibrary& library) {
  CComPtr<IClassFactory> factory;
  EXPECT_EQ(library.GetClassObject(CLSID_CFolivoPluginVersion, IID_IClassFactory,
                                   reinterpret_cast<void**>(&factory)),
            S_OK);
  CComPtr<IFolivoPluginVersion> control;
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IFolivoPluginVersion,
                                    reinterpret_cast<void**>(&control)),
            S_OK);
  return control;
}

TEST(PluginVersion, IsReadAnewByEachCall) {
  const CPluginLibrary library;
  const auto control = Control(library);
  const CImportSpy<&GetModuleFileNameW> path("kernel32.dll", "GetModuleFileNameW", nullptr,
                                             library.Module());
  const CImportSpy<&GetFileVersionInfoSizeW> size("version.dll", "GetFileVersionInfoSizeW", nullptr,
                                                  library.Module());
  CComBSTR versions[2];
  for (CComBSTR& version : versions) {
    EXPECT_EQ(control->get_Version(&version), S_OK);
    EXPECT_STREQ(version, FOLIVO_VERSION_WIDE);
  }
  EXPECT_NE(versions[0].m_str, versions[1].m_str) << "each call gives a text of the caller's own";
  ASSERT_EQ(path.Calls().size(), 2u);
  EXPECT_EQ(std::get<0>(path.Calls()[0]), GetModuleHandleW(L"FolivoPlugin.dll"));
  EXPECT_EQ(std::get<2>(path.Calls()[0]), 259u);
  EXPECT_EQ(size.Calls().size(), 2u);
}

TEST(GetVersion, FailingCallReturnsEFail) {
  const CPluginLibrary library;
  const CComPtr<IFolivoPluginVersion> control = Control(library);
  const auto expectFailure = [&](const char* name) {
    const CComBSTR before(L"something");
    BSTR version = before;
    EXPECT_EQ(control->get_Version(&version), E_FAIL) << name;
    EXPECT_EQ(version, nullptr) << name;
  };
  const auto fail = +[]() -> ULONG_PTR { return 0; };
  for (const auto& [dll, name] : {std::pair("kernel32.dll", "GetModuleFileNameW"),
                                  {"version.dll", "GetFileVersionInfoSizeW"},
                                  {"version.dll", "GetFileVersionInfoW"},
                                  {"version.dll", "VerQueryValueW"},
                                  {"oleaut32.dll", "SysAllocString"}}) {
    const CImportPatch patch(dll, name, fail, library.Module());
    expectFailure(name);
  }
  const CImportSpy<&GetModuleFileNameW> cut(
      "kernel32.dll", "GetModuleFileNameW",
      [](HMODULE, LPWSTR path, DWORD size) {
        std::fill_n(path, size, L'x');
        return size;
      },
      library.Module());
  expectFailure("a path that does not fit");
  EXPECT_EQ(control->get_Version(nullptr), E_POINTER);
}

int g_allocationsLeft = 0;
void* AllocateSome(size_t size) { return --g_allocationsLeft == 0 ? nullptr : std::malloc(size); }

TEST(GetVersion, OutOfMemoryReturnsEFail) {
  const CPluginLibrary library;
  const CComPtr<IFolivoPluginVersion> control = Control(library);
  const CImportPatch patch("msvcrt.dll", "malloc", &AllocateSome, library.Module());
  HRESULT result = E_FAIL;
  int failing = 0;
  while (result != S_OK) {
    g_allocationsLeft = ++failing;
    BSTR version = nullptr;
    result = control->get_Version(&version);
    ASSERT_EQ(result, g_allocationsLeft > 0 ? S_OK : E_FAIL) << failing;
    EXPECT_EQ(version != nullptr, result == S_OK);
    SysFreeString(version);
  }
  EXPECT_GT(failing, 2) << "it needs at least a path and a block of information";
}

TEST(PluginVersion, IsThatOfWhateverModuleHasTheFixedName) {
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"Renamed.dll";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  const CPluginLibrary library(path);
  CComBSTR version;
  EXPECT_EQ(Control(library)->get_Version(&version), E_FAIL) << "this program has none";
  // Mapped, not run: another file with a version of its own.
  const std::wstring other = sandbox / L"FOLIVOPLUGIN.DLL";
  std::filesystem::copy_file(BuiltHostPath(), other);
  const HMODULE module = LoadLibraryExW(other.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(Control(library)->get_Version(&version), S_OK);
  EXPECT_STREQ(version, kHostVersion);
  FreeLibrary(module);
}

TEST(PluginVersion, IsTheHostsForARenamedDll) {
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"Renamed.dll";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  EXPECT_EQ(RunHost(L"host.exe", path, kHostVersion), 0u);
  EXPECT_EQ(RunHost(L"host.exe", CPluginLibrary::BuiltPath(), FOLIVO_VERSION_WIDE), 0u);
  EXPECT_EQ(RunHost(L"host.exe", CPluginLibrary::BuiltPath(), L"1.1.1.1"),
            static_cast<DWORD>(ERROR_INVALID_DATA));
}

}  // namespace
