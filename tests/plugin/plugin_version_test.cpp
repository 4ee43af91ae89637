// The version that the built DLL tells, and the one that it tells under another name.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

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

HRESULT TakeVersion(IFolivoPluginVersion* control, BSTR* version) {
  CComBSTR before(L"something");
  *version = before;
  return control->get_Version(version);
}

/// Takes the place of any function that answers 0 or null when it fails.
ULONG_PTR WINAPI Fail() { return 0; }
DWORD WINAPI CutModulePath(HMODULE, LPWSTR path, DWORD size) {
  std::fill_n(path, size, L'x');
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return size;
}

TEST(GetVersion, FailingCallReturnsEFail) {
  const CPluginLibrary library;
  const CComPtr<IFolivoPluginVersion> control = Control(library);
  constexpr std::pair<const char*, const char*> kCalls[] = {
      {"kernel32.dll", "GetModuleFileNameW"}, {"version.dll", "GetFileVersionInfoSizeW"},
      {"version.dll", "GetFileVersionInfoW"}, {"version.dll", "VerQueryValueW"},
      {"oleaut32.dll", "SysAllocString"},
  };
  BSTR version = nullptr;
  for (const auto& [dll, name] : kCalls) {
    const CImportPatch patch(dll, name, &Fail, library.Module());
    EXPECT_EQ(TakeVersion(control, &version), E_FAIL) << name;
    EXPECT_EQ(version, nullptr) << name;
  }
  const CImportPatch patch("kernel32.dll", "GetModuleFileNameW", &CutModulePath, library.Module());
  EXPECT_EQ(TakeVersion(control, &version), E_FAIL);
  EXPECT_EQ(version, nullptr);
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
    result = TakeVersion(control, &version);
    ASSERT_EQ(result, g_allocationsLeft > 0 ? S_OK : E_FAIL) << failing;
    EXPECT_EQ(version != nullptr, result == S_OK);
    SysFreeString(version);
  }
  EXPECT_GT(failing, 2) << "it needs at least a path and a block of information";
}

// Deliberate: the file is looked for by its fixed name.
TEST(PluginVersion, RenamedDllTellsTheHostsVersionWhichThisProgramHasNone) {
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"Renamed.dll";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  const CPluginLibrary library(path);
  ASSERT_EQ(GetModuleHandleW(L"FolivoPlugin.dll"), nullptr);
  BSTR version = nullptr;
  EXPECT_EQ(Control(library)->get_Version(&version), E_FAIL);
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
