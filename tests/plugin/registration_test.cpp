#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "tests/plugin/plugin_dll.h"
#include "tests/plugin/registry_dump.h"

namespace {

using Dump = std::map<std::wstring, std::wstring>;

constexpr wchar_t kFriendlyName[] = L"1:MERLO Folivo Download Utility";
constexpr wchar_t kClass[] = L"{69402495-68F6-4342-B726-0659FADD1883}";
constexpr wchar_t kLibrary[] = L"{5B5EE03E-59D9-43C6-A9A7-65303B48614A}";
constexpr wchar_t kInterface[] = L"{5645A8E4-4B79-452B-8EC7-6545B7323B0A}";
constexpr wchar_t kApplication[] = L"{D1728953-607F-4348-A009-03FDA01E39C2}";
constexpr wchar_t kHelperObjects[] =
    L"HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects";

std::wstring Text(const std::wstring& text) { return L"1:" + text; }

/// Unregisters whatever a test leaves.
class Registration : public ::testing::Test {
 protected:
  ~Registration() override { m_dll.UnregisterServer(); }
  const CPluginDll m_dll;
};

/// What registering writes for the class and the helper object, values only.
Dump ClassAndHelperValues() {
  const std::wstring classes = L"HKLM\\Software\\Classes\\";
  const std::wstring key = classes + L"CLSID\\" + kClass;
  return {
      {classes + L"FolivoDownloadPlugin.IEDownload.1|", kFriendlyName},
      {classes + L"FolivoDownloadPlugin.IEDownload.1\\CLSID|", Text(kClass)},
      {classes + L"FolivoDownloadPlugin.IEDownload|", kFriendlyName},
      {classes + L"FolivoDownloadPlugin.IEDownload\\CLSID|", Text(kClass)},
      {classes + L"FolivoDownloadPlugin.IEDownload\\CurVer|",
       Text(L"FolivoDownloadPlugin.IEDownload.1")},
      {key + L"|", kFriendlyName},
      {key + L"|AppID", Text(kApplication)},
      {key + L"\\ProgID|", Text(L"FolivoDownloadPlugin.IEDownload.1")},
      {key + L"\\VersionIndependentProgID|", Text(L"FolivoDownloadPlugin.IEDownload")},
      {key + L"\\InprocServer32|", Text(PluginDllPath())},
      {key + L"\\InprocServer32|ThreadingModel", Text(L"apartment")},
      {key + L"\\TypeLib|", Text(kLibrary)},
      {std::wstring(kHelperObjects) + L"\\" + kClass + L"|", kFriendlyName},
  };
}

/// Whether the system writes this entry for a registered type library, below a key of its own.
bool IsOfTypeLibrary(const std::wstring& path) {
  return path.find(std::wstring(L"\\") + kLibrary) != std::wstring::npos;
}
bool IsOfInterface(const std::wstring& path) { return path.find(kInterface) != std::wstring::npos; }

TEST_F(Registration, WritesExactlyTheStatedKeys) {
  const Dump before = DumpRegistry();
  ASSERT_EQ(m_dll.RegisterServer(), S_OK);
  const Dump added = Added(before, DumpRegistry());

  Dump values;
  bool hasLibrary = false;
  for (const auto& [path, text] : added) {
    EXPECT_EQ(text.find(L'%'), std::wstring::npos) << std::string(path.begin(), path.end());
    if (IsOfTypeLibrary(path)) {
      hasLibrary = true;
    } else if (!IsOfInterface(path) && path.find(L'|') != std::wstring::npos) {
      values[path] = text;
    }
  }
  EXPECT_EQ(values, ClassAndHelperValues());
  EXPECT_TRUE(hasLibrary);
  EXPECT_TRUE(added.contains(std::wstring(L"HKLM\\Software\\Classes\\CLSID\\") + kClass +
                             L"\\Programmable"));
}

TEST_F(Registration, TwiceIsAsOnce) {
  ASSERT_EQ(m_dll.RegisterServer(), S_OK);
  const Dump once = DumpRegistry();
  ASSERT_EQ(m_dll.RegisterServer(), S_OK);
  EXPECT_EQ(DumpRegistry(), once);
}

TEST_F(Registration, RemovalLeavesOnlyTheHelperObjectsKey) {
  const Dump before = DumpRegistry();
  ASSERT_EQ(m_dll.RegisterServer(), S_OK);
  ASSERT_EQ(m_dll.UnregisterServer(), S_OK);
  const Dump after = DumpRegistry();
  Dump left = Added(before, after);
  left.erase(kHelperObjects);
  EXPECT_EQ(left, Dump());
  EXPECT_EQ(Added(after, before), Dump());
  EXPECT_TRUE(after.contains(kHelperObjects));
}

TEST_F(Registration, RestoresTheThreadsLocale) {
  const LCID previous = GetThreadLocale();
  const LCID french = MAKELCID(MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH), SORT_DEFAULT);
  ASSERT_TRUE(SetThreadLocale(french));
  EXPECT_EQ(m_dll.RegisterServer(), S_OK);
  EXPECT_EQ(GetThreadLocale(), french);
  EXPECT_EQ(m_dll.UnregisterServer(), S_OK);
  EXPECT_EQ(GetThreadLocale(), french);
  SetThreadLocale(previous);
}

}  // namespace
