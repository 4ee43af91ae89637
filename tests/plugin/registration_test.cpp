// Registration, judged by the whole of what it leaves in an empty registry.

#include <atlbase.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/scratch_registry.h"
#include "tests/support/temp_sandbox.h"

namespace {

using Lines = CScratchRegistry::Lines;

constexpr wchar_t kApplicationId[] = L"{D1728953-607F-4348-A009-03FDA01E39C2}";
constexpr wchar_t kHelperObjects[] =
    L"HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects";

std::wstring TextOf(const GUID& guid) {
  wchar_t text[39] = {};
  StringFromGUID2(guid, text, ARRAYSIZE(text));
  return text;
}
std::wstring ClassKey(const GUID& clsid) { return L"HKCR\\CLSID\\" + TextOf(clsid); }
std::wstring HelperObjectKey(const GUID& clsid) {
  return std::wstring(kHelperObjects) + L"\\" + TextOf(clsid);
}

const struct {
  GUID clsid;
  LPCWSTR progId;
  LPCWSTR currentProgId;
  LPCWSTR friendlyName;
} kClasses[] = {
    {CLSID_CIEDownload, L"FolivoDownloadPlugin.IEDownload", L"FolivoDownloadPlugin.IEDownload.1",
     L"MERLO Folivo Download Utility"},
    {CLSID_CFolivoPluginVersion, L"FolivoDownloadPlugin.VersionHelper",
     L"FolivoDownloadPlugin.VersionHelper.1", L"CFolivoPluginVersion Object"},
    // Both names are cut short, and pages create the control by them.
    {CLSID_CQDCDownload, L"FolivoDownloadPlugin.ZipDownloadHelpe",
     L"FolivoDownloadPlugin.ZipDownloadHel.1", L"CQDCDownload Object"},
};

/// Adds the lines of a key and its values, the key's own with the name "".
void AddKey(Lines& lines, const std::wstring& key,
            const std::vector<std::pair<std::wstring, std::wstring>>& values = {}) {
  lines.push_back(key);
  for (const auto& [name, text] : values) {
    lines.push_back(key + L"|" + name + L"=" + text);
  }
}

/// The lines that registration of this library adds for the classes and the browser.
Lines ClassLines(const std::wstring& library) {
  Lines lines;
  for (const auto& c : kClasses) {
    const std::wstring clsid = TextOf(c.clsid);
    const std::wstring current = std::wstring(L"HKCR\\") + c.currentProgId;
    AddKey(lines, current, {{L"", c.friendlyName}});
    AddKey(lines, current + L"\\CLSID", {{L"", clsid}});
    const std::wstring progId = std::wstring(L"HKCR\\") + c.progId;
    AddKey(lines, progId, {{L"", c.friendlyName}});
    AddKey(lines, progId + L"\\CLSID", {{L"", clsid}});
    AddKey(lines, progId + L"\\CurVer", {{L"", c.currentProgId}});
    const std::wstring key = ClassKey(c.clsid);
    AddKey(lines, key, {{L"", c.friendlyName}, {L"AppID", kApplicationId}});
    AddKey(lines, key + L"\\ProgID", {{L"", c.currentProgId}});
    AddKey(lines, key + L"\\VersionIndependentProgID", {{L"", c.progId}});
    AddKey(lines, key + L"\\Programmable");
    AddKey(lines, key + L"\\InprocServer32", {{L"", library}, {L"ThreadingModel", L"apartment"}});
    AddKey(lines, key + L"\\TypeLib", {{L"", TextOf(LIBID_MERLOFolivoIEPlugin)}});
  }
  AddKey(lines, HelperObjectKey(CLSID_CIEDownload), {{L"", L"MERLO Folivo Download Utility"}});
  return lines;
}

/// These lines and the keys that no script ever removes, as a dump has them.
Lines WithKept(Lines lines) {
  lines.insert(lines.end(), {L"HKCR", L"HKCR\\CLSID", L"HKCU"});
  std::wstring path = kHelperObjects;
  for (size_t end = path.size(); end != std::wstring::npos; end = path.rfind(L'\\')) {
    path.resize(end);
    lines.push_back(path);
  }
  std::sort(lines.begin(), lines.end());
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

class Registration : public testing::Test {
 protected:
  /// Expects exactly what registration of this library writes; leaves an empty registry.
  void ExpectRegistered(const CPluginLibrary& library) const {
    const Lines now = m_registry.Dump();
    Lines expected = ClassLines(library.Path());
    // What the system itself writes for the type library, in ways of its own.
    m_registry.Clear();
    CComPtr<ITypeLib> typeLibrary;
    EXPECT_EQ(LoadTypeLibEx(library.Path().c_str(), REGKIND_NONE, &typeLibrary), S_OK);
    std::wstring path = library.Path();
    std::wstring folder = path.substr(0, path.rfind(L'\\'));
    EXPECT_EQ(RegisterTypeLib(typeLibrary, path.data(), folder.data()), S_OK);
    const Lines typeLibraryLines = m_registry.Dump();
    m_registry.Clear();
    expected.insert(expected.end(), typeLibraryLines.begin(), typeLibraryLines.end());
    EXPECT_EQ(now, WithKept(expected));
  }

  /// Puts a key of somebody else's into each key that the scripts claim as a whole.
  void AddStrays() const {
    for (const auto& c : kClasses) {
      m_registry.Add(ClassKey(c.clsid) + L"\\Stray");
      m_registry.Add(ClassKey(c.clsid) + L"\\Programmable\\Stray");
    }
    m_registry.Add(HelperObjectKey(CLSID_CIEDownload) + L"\\Stray");
  }

  /// A copy of the DLL in this folder of the sandbox.
  std::wstring CopyTo(const std::wstring& folder) const {
    const std::wstring path = m_sandbox / folder + L"\\FolivoPlugin.dll";
    std::filesystem::create_directory(m_sandbox / folder);
    std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
    return path;
  }

  const CTempSandbox m_sandbox;
  const CPluginLibrary m_library;
  const CScratchRegistry m_registry;
};

TEST_F(Registration, AddsExactlyItsKeysAndValues) {
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  ExpectRegistered(m_library);
}

TEST_F(Registration, UnregistrationRemovesItsKeysWholeAndNoOthers) {
  const Lines others = {HelperObjectKey(GUID_NULL), L"HKCR\\Interface", L"HKCR\\TypeLib"};
  for (const std::wstring& other : others) {
    m_registry.Add(other);
  }
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  AddStrays();
  EXPECT_EQ(m_library.UnregisterServer(), S_OK);
  EXPECT_EQ(m_registry.Dump(), WithKept(others));
  m_library.UnregisterServer();  // of nothing
  EXPECT_EQ(m_registry.Dump(), WithKept(others));
}

TEST_F(Registration, UnregistrationKeepsTheKeyOfAllClassesEvenIfEmpty) {
  for (const auto& last : kClasses) {
    EXPECT_EQ(m_library.RegisterServer(), S_OK);
    for (const auto& other : kClasses) {
      if (other.clsid != last.clsid) {
        m_registry.Remove(ClassKey(other.clsid));
      }
    }
    EXPECT_EQ(m_library.UnregisterServer(), S_OK);
    EXPECT_THAT(m_registry.Dump(), testing::Contains(L"HKCR\\CLSID")) << last.friendlyName;
  }
}

TEST_F(Registration, UnregistrationKeepsTheKeysAboveTheHelperObjectEvenIfEmpty) {
  std::wstring key = HelperObjectKey(CLSID_CIEDownload);
  for (size_t end = key.rfind(L'\\'); end != std::wstring::npos; end = key.rfind(L'\\')) {
    EXPECT_EQ(m_library.RegisterServer(), S_OK);
    m_registry.Remove(key);
    EXPECT_EQ(m_library.UnregisterServer(), S_OK);
    key.resize(end);
    EXPECT_THAT(m_registry.Dump(), testing::Contains(key));
  }
}

TEST_F(Registration, PathOfTheDllMayHoldQuotesPercentSignsAndAnyLetters) {
  const CPluginLibrary copy(CopyTo(L"o'brien's 100% %MODULE% \u00dcbung"));
  EXPECT_EQ(copy.RegisterServer(), S_OK);
  ExpectRegistered(copy);
}

TEST_F(Registration, AgainReplacesWhatOthersPutIntoItsKeys) {
  const CPluginLibrary installedElsewhere(CopyTo(L"elsewhere"));
  EXPECT_EQ(installedElsewhere.RegisterServer(), S_OK);
  AddStrays();
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  ExpectRegistered(m_library);
}

}  // namespace
