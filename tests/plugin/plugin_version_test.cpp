// The version that the built DLL tells, and the one that it tells under another name.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"
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

TEST(PluginVersion, NeedsAPlaceForTheText) {
  const CPluginLibrary library;
  EXPECT_EQ(Control(library)->get_Version(nullptr), E_POINTER);
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

}  // namespace
