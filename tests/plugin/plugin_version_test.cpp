// The version that the built DLL tells, and the one that it tells under another name.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "folivo_plugin_h.h"
#include "tests/plugin/host_program.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/import_patch.h"
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

TEST(PluginVersion, IsThatOfTheDll) {
  const CPluginLibrary library;
  const auto control = Control(library);
  CComBSTR first;
  CComBSTR second;
  EXPECT_EQ(control->get_Version(&first), S_OK);
  EXPECT_EQ(control->get_Version(&second), S_OK);
  EXPECT_STREQ(first, FOLIVO_VERSION_WIDE);
  EXPECT_STREQ(second, FOLIVO_VERSION_WIDE);
  EXPECT_NE(first.m_str, second.m_str) << "each call gives a text of the caller's own";
}

int g_reads = 0;
DWORD WINAPI RecordModulePath(HMODULE module, LPWSTR path, DWORD size) {
  EXPECT_EQ(module, GetModuleHandleW(L"FolivoPlugin.dll"));
  EXPECT_EQ(size, 259u);
  ++g_reads;
  return GetModuleFileNameW(module, path, size);
}
DWORD WINAPI RecordInfoSize(LPCWSTR path, LPDWORD handle) {
  ++g_reads;
  return GetFileVersionInfoSizeW(path, handle);
}

TEST(PluginVersion, IsReadAnewByEachCall) {
  const CPluginLibrary library;
  const auto control = Control(library);
  const CImportPatch path("kernel32.dll", "GetModuleFileNameW", &RecordModulePath,
                          library.Module());
  const CImportPatch size("version.dll", "GetFileVersionInfoSizeW", &RecordInfoSize,
                          library.Module());
  for (const int reads : {2, 4}) {
    CComBSTR version;
    EXPECT_EQ(control->get_Version(&version), S_OK);
    EXPECT_EQ(g_reads, reads);
  }
}

TEST(PluginVersion, NeedsAPlaceForTheText) {
  const CPluginLibrary library;
  EXPECT_EQ(Control(library)->get_Version(nullptr), E_POINTER);
}

TEST(PluginVersion, NoMemoryForTheTextIsTheOneFailureThatPagesKnow) {
  const CPluginLibrary library;
  const CComPtr<IFolivoPluginVersion> control = Control(library);
  const CImportPatch patch(
      "oleaut32.dll", "SysAllocString", +[](const OLECHAR*) -> BSTR { return nullptr; },
      library.Module());
  BSTR version = nullptr;
  EXPECT_EQ(control->get_Version(&version), E_FAIL);
  EXPECT_EQ(version, nullptr);
}

// Deliberate: the file is looked for by its fixed name.
TEST(PluginVersion, RenamedDllTellsTheHostsVersionWhichThisProgramHasNone) {
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"Renamed.dll";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  const CPluginLibrary library(path);
  ASSERT_EQ(GetModuleHandleW(L"FolivoPlugin.dll"), nullptr);
  BSTR version = SysAllocString(L"something");
  const BSTR before = version;
  EXPECT_EQ(Control(library)->get_Version(&version), E_FAIL);
  EXPECT_EQ(version, nullptr);
  SysFreeString(before);
}

TEST(PluginVersion, IsFoundInAnyCase) {
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"FOLIVOPLUGIN.DLL";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  const CPluginLibrary library(path);
  CComBSTR version;
  EXPECT_EQ(Control(library)->get_Version(&version), S_OK);
  EXPECT_STREQ(version, FOLIVO_VERSION_WIDE);
}

TEST(PluginVersion, IsThatOfWhateverModuleHasTheFixedName) {
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"Renamed.dll";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  const CPluginLibrary library(path);
  // Mapped, not run: another file with a version of its own.
  const std::wstring other = sandbox / L"FolivoPlugin.dll";
  std::filesystem::copy_file(BuiltHostPath(), other);
  const HMODULE module = LoadLibraryExW(other.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
  ASSERT_NE(module, nullptr);
  CComBSTR version;
  EXPECT_EQ(Control(library)->get_Version(&version), S_OK);
  EXPECT_STREQ(version, kHostVersion);
  FreeLibrary(module);
}

TEST(PluginVersion, IsTheDllsAndNotTheHosts) {
  EXPECT_EQ(RunHost(L"host.exe", CPluginLibrary::BuiltPath(), FOLIVO_VERSION_WIDE), 0u);
  EXPECT_EQ(RunHost(L"host.exe", CPluginLibrary::BuiltPath(), L"1.1.1.1"),
            static_cast<DWORD>(ERROR_INVALID_DATA));
}

TEST(PluginVersion, IsTheHostsForARenamedDll) {
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"Renamed.dll";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  EXPECT_EQ(RunHost(L"host.exe", path, kHostVersion), 0u);
}

}  // namespace
