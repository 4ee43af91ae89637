// Registration, judged by the whole of what software has in the registry, before and after.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"
#include "tests/plugin/registry_dump.h"
#include "tests/support/temp_sandbox.h"

namespace {

using Lines = std::vector<std::wstring>;

constexpr wchar_t kHelperObjects[] =
    L"HKLM\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects";
constexpr wchar_t kApplicationId[] = L"{D1728953-607F-4348-A009-03FDA01E39C2}";

struct CRegisteredClass {
  GUID clsid;
  LPCWSTR progId;
  LPCWSTR currentProgId;
  LPCWSTR friendlyName;
  GUID interfaceId;
};

const CRegisteredClass kRegisteredClasses[] = {
    {CLSID_CIEDownload, L"FolivoDownloadPlugin.IEDownload", L"FolivoDownloadPlugin.IEDownload.1",
     L"MERLO Folivo Download Utility", IID_IIEDownload},
    {CLSID_CFolivoPluginVersion, L"FolivoDownloadPlugin.VersionHelper",
     L"FolivoDownloadPlugin.VersionHelper.1", L"CFolivoPluginVersion Object",
     IID_IFolivoPluginVersion},
    // Both names are cut short, and pages create the control by them.
    {CLSID_CQDCDownload, L"FolivoDownloadPlugin.ZipDownloadHelpe",
     L"FolivoDownloadPlugin.ZipDownloadHel.1", L"CQDCDownload Object", IID_IQDCDownload},
};

std::wstring TextOf(const GUID& guid) {
  wchar_t text[39] = {};
  StringFromGUID2(guid, text, ARRAYSIZE(text));
  return text;
}

/// Adds the lines of a key and its values, the key's own with the name "".
void AddKey(Lines& lines, const std::wstring& key,
            const std::vector<std::pair<std::wstring, std::wstring>>& values = {}) {
  lines.push_back(KeyLine(key));
  for (const auto& [name, text] : values) {
    lines.push_back(ValueLine(key, name, text));
  }
}

/// The lines that registration of this library adds for the classes and the browser.
Lines ExpectedLines(const std::wstring& library) {
  Lines lines;
  for (const CRegisteredClass& c : kRegisteredClasses) {
    const std::wstring clsid = TextOf(c.clsid);
    const std::wstring classes = L"HKLM\\Classes\\";
    AddKey(lines, classes + c.currentProgId, {{L"", c.friendlyName}});
    AddKey(lines, classes + c.currentProgId + L"\\CLSID", {{L"", clsid}});
    AddKey(lines, classes + c.progId, {{L"", c.friendlyName}});
    AddKey(lines, classes + c.progId + L"\\CLSID", {{L"", clsid}});
    AddKey(lines, classes + c.progId + L"\\CurVer", {{L"", c.currentProgId}});
    const std::wstring key = classes + L"CLSID\\" + clsid;
    AddKey(lines, key, {{L"", c.friendlyName}, {L"AppID", kApplicationId}});
    AddKey(lines, key + L"\\ProgID", {{L"", c.currentProgId}});
    AddKey(lines, key + L"\\VersionIndependentProgID", {{L"", c.progId}});
    AddKey(lines, key + L"\\Programmable");
    AddKey(lines, key + L"\\InprocServer32", {{L"", library}, {L"ThreadingModel", L"apartment"}});
    AddKey(lines, key + L"\\TypeLib", {{L"", TextOf(LIBID_MERLOFolivoIEPlugin)}});
  }
  AddKey(lines, std::wstring(kHelperObjects) + L"\\" + TextOf(CLSID_CIEDownload),
         {{L"", L"MERLO Folivo Download Utility"}});
  return lines;
}

/// The class that an object tells of itself.
GUID ClassOf(IUnknown* object) {
  const CComQIPtr<IProvideClassInfo> provider(object);
  CComPtr<ITypeInfo> info;
  TYPEATTR* attributes = nullptr;
  if (provider == nullptr || provider->GetClassInfo(&info) != S_OK ||
      info->GetTypeAttr(&attributes) != S_OK) {
    return GUID_NULL;
  }
  const GUID guid = attributes->guid;
  info->ReleaseTypeAttr(attributes);
  return guid;
}

constexpr wchar_t kHelperObjectsPath[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects";

/// Puts a key of somebody else's into each key that the scripts claim as a whole.
void AddStrays() {
  CRegKey stray;
  for (const CRegisteredClass& registered : kRegisteredClasses) {
    const std::wstring key = L"CLSID\\" + TextOf(registered.clsid);
    for (const LPCWSTR below : {L"\\Stray", L"\\Programmable\\Stray"}) {
      EXPECT_EQ(stray.Create(HKEY_CLASSES_ROOT, (key + below).c_str()), ERROR_SUCCESS);
    }
  }
  const std::wstring helperObject =
      std::wstring(kHelperObjectsPath) + L"\\" + TextOf(CLSID_CIEDownload);
  EXPECT_EQ(stray.Create(HKEY_LOCAL_MACHINE, (helperObject + L"\\Stray").c_str()), ERROR_SUCCESS);
}

/// A scratch key takes the place of a root: one that is empty, or one that has been deleted, below
/// which nothing can be written.
class CReplacedRoot {
 public:
  enum class State { kEmpty, kDeleted };

  CReplacedRoot(HKEY replaced, State state) : m_replaced(replaced) {
    CRegKey user(HKEY_CURRENT_USER);
    EXPECT_EQ(m_key.Create(user, kPath), ERROR_SUCCESS);
    if (state == State::kDeleted) {
      EXPECT_EQ(user.DeleteSubKey(kPath), ERROR_SUCCESS);
    }
    user.Detach();
    EXPECT_EQ(RegOverridePredefKey(m_replaced, m_key), ERROR_SUCCESS);
  }
  ~CReplacedRoot() {
    EXPECT_EQ(RegOverridePredefKey(m_replaced, nullptr), ERROR_SUCCESS);
    RegDeleteTreeW(HKEY_CURRENT_USER, kPath);
  }
  CReplacedRoot(const CReplacedRoot&) = delete;
  CReplacedRoot& operator=(const CReplacedRoot&) = delete;

  bool Has(const std::wstring& path) const {
    CRegKey key;
    return key.Open(m_key, path.c_str(), KEY_READ) == ERROR_SUCCESS;
  }
  void Remove(const std::wstring& path) const {
    EXPECT_EQ(RegDeleteTreeW(m_key, path.c_str()), ERROR_SUCCESS);
  }

 private:
  static constexpr wchar_t kPath[] = L"Software\\FolivoTestRoot";

  const HKEY m_replaced;
  CRegKey m_key;
};

class Registration : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    // What registration never removes has to be there before, to be compared.
    CRegKey helperObjects;
    EXPECT_EQ(helperObjects.Create(HKEY_LOCAL_MACHINE, kHelperObjectsPath), ERROR_SUCCESS);
    helperObjects.Close();
    s_before = DumpRegistry();
  }
  static void TearDownTestSuite() { EXPECT_EQ(LinesMissingIn(s_before, DumpRegistry()), Lines()); }

  ~Registration() override { m_library.UnregisterServer(); }

  /// Nothing is lost, and exactly what registration of this library writes has come. Takes the
  /// registration back.
  static void ExpectRegistered(const CPluginLibrary& library) {
    const Lines now = DumpRegistry();
    const Lines added = LinesMissingIn(s_before, now);
    EXPECT_EQ(LinesMissingIn(now, s_before), Lines()) << "lost";
    EXPECT_EQ(library.UnregisterServer(), S_OK);

    Lines expected = ExpectedLines(library.Path());
    const Lines typeLibrary = TypeLibraryLines(library.Path());
    expected.insert(expected.end(), typeLibrary.begin(), typeLibrary.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(LinesMissingIn(added, expected), Lines()) << "not written";
    EXPECT_EQ(LinesMissingIn(expected, added), Lines()) << "not asked for";
  }

  /// What the system itself writes for the type library, in ways and places of its own.
  static Lines TypeLibraryLines(const std::wstring& library) {
    CComPtr<ITypeLib> typeLibrary;
    EXPECT_EQ(LoadTypeLibEx(library.c_str(), REGKIND_NONE, &typeLibrary), S_OK);
    std::wstring path = library;
    std::wstring folder = library.substr(0, library.rfind(L'\\'));
    EXPECT_EQ(RegisterTypeLib(typeLibrary, path.data(), folder.data()), S_OK);
    const Lines lines = LinesMissingIn(s_before, DumpRegistry());
    EXPECT_EQ(UnRegisterTypeLib(LIBID_MERLOFolivoIEPlugin, 1, 0, LOCALE_NEUTRAL, SYS_WIN64), S_OK);
    EXPECT_FALSE(lines.empty());
    return lines;
  }

  static void ExpectAs(const Lines& before) {
    const Lines now = DumpRegistry();
    EXPECT_EQ(LinesMissingIn(before, now), Lines());
    EXPECT_EQ(LinesMissingIn(now, before), Lines());
  }

  const CPluginLibrary m_library;
  static inline Lines s_before;
};

TEST_F(Registration, AddsExactlyItsKeysAndValues) {
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  ExpectRegistered(m_library);
}

TEST_F(Registration, AgainRemovesWhatOthersPutIntoItsKeys) {
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  const Lines once = DumpRegistry();
  AddStrays();
  EXPECT_NE(DumpRegistry(), once);
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  ExpectAs(once);
}

TEST_F(Registration, UnregistrationRemovesItsKeysWholeAndNoOthers) {
  const std::wstring other = std::wstring(kHelperObjectsPath) + L"\\" + TextOf(GUID_NULL);
  CRegKey key;
  EXPECT_EQ(key.Create(HKEY_LOCAL_MACHINE, other.c_str()), ERROR_SUCCESS);
  const Lines before = DumpRegistry();
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  AddStrays();
  EXPECT_EQ(m_library.UnregisterServer(), S_OK);
  ExpectAs(before);
  m_library.UnregisterServer();  // of nothing
  ExpectAs(before);
  EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, other.c_str()), ERROR_SUCCESS);
}

TEST_F(Registration, UnregistrationKeepsTheKeyOfAllClassesEvenIfEmpty) {
  for (const CRegisteredClass& last : kRegisteredClasses) {
    const CReplacedRoot root(HKEY_CLASSES_ROOT, CReplacedRoot::State::kEmpty);
    EXPECT_EQ(m_library.RegisterServer(), S_OK);
    for (const CRegisteredClass& other : kRegisteredClasses) {
      if (other.clsid != last.clsid) {
        root.Remove(L"CLSID\\" + TextOf(other.clsid));
      }
    }
    EXPECT_EQ(m_library.UnregisterServer(), S_OK);
    EXPECT_TRUE(root.Has(L"CLSID")) << last.friendlyName;
    EXPECT_FALSE(root.Has(L"CLSID\\" + TextOf(last.clsid)));
  }
}

TEST_F(Registration, UnregistrationKeepsTheKeysAboveTheHelperObjectEvenIfEmpty) {
  std::wstring path = kHelperObjectsPath;
  std::wstring below = TextOf(CLSID_CIEDownload);
  while (!path.empty()) {
    const CReplacedRoot root(HKEY_LOCAL_MACHINE, CReplacedRoot::State::kEmpty);
    EXPECT_EQ(m_library.RegisterServer(), S_OK);
    root.Remove(path + L"\\" + below);
    EXPECT_EQ(m_library.UnregisterServer(), S_OK);
    EXPECT_TRUE(root.Has(path)) << path;
    const size_t end = path.rfind(L'\\');
    below = path.substr(end + 1);
    path.resize(end == std::wstring::npos ? 0 : end);
  }
}

TEST_F(Registration, ObjectsAreFoundByTheirNames) {
  ASSERT_EQ(m_library.RegisterServer(), S_OK);
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  for (const CRegisteredClass& registered : kRegisteredClasses) {
    for (const LPCWSTR progId : {registered.progId, registered.currentProgId}) {
      CLSID clsid = GUID_NULL;
      EXPECT_EQ(CLSIDFromProgID(progId, &clsid), S_OK);
      EXPECT_EQ(clsid, registered.clsid);
    }
    CComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(registered.clsid, nullptr, CLSCTX_INPROC_SERVER,
                               registered.interfaceId, reinterpret_cast<void**>(&object)),
              S_OK);
    EXPECT_EQ(ClassOf(object), registered.clsid);
  }
  CoUninitialize();
}

TEST_F(Registration, PathOfTheDllMayHoldQuotesPercentSignsAndAnyLetters) {
  const CTempSandbox sandbox;
  const std::wstring folder = sandbox / L"o'brien's 100% %MODULE% \u00dcbung";
  std::filesystem::create_directory(folder);
  const std::wstring path = folder + L"\\FolivoPlugin.dll";
  std::filesystem::copy_file(CPluginLibrary::BuiltPath(), path);
  const CPluginLibrary copy(path);
  EXPECT_EQ(copy.RegisterServer(), S_OK);
  ExpectRegistered(copy);
  ExpectAs(s_before);
  // One that was installed elsewhere before.
  EXPECT_EQ(copy.RegisterServer(), S_OK);
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  ExpectRegistered(m_library);
  ExpectAs(s_before);
}

TEST_F(Registration, BrowsersEntryComesBeforeTheClasses) {
  {
    const CReplacedRoot root(HKEY_LOCAL_MACHINE, CReplacedRoot::State::kDeleted);
    EXPECT_EQ(m_library.RegisterServer(), HRESULT_FROM_WIN32(ERROR_KEY_DELETED));
  }
  ExpectAs(s_before);
  {
    const CReplacedRoot root(HKEY_CLASSES_ROOT, CReplacedRoot::State::kDeleted);
    EXPECT_EQ(m_library.RegisterServer(), HRESULT_FROM_WIN32(ERROR_KEY_DELETED));
  }
  const std::wstring key = std::wstring(kHelperObjects) + L"\\" + TextOf(CLSID_CIEDownload);
  EXPECT_EQ(LinesMissingIn(s_before, DumpRegistry()),
            (Lines{KeyLine(key), ValueLine(key, L"", L"MERLO Folivo Download Utility")}));
}

}  // namespace
