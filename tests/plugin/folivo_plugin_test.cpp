// The DLL's exports and class objects, asked as the system asks them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "folivo_plugin_h.h"
#include "resources/resource.h"
#include "tests/plugin/outer_object.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/import_patch.h"
#include "tests/support/lock_contest.h"

namespace {

/// A loaded module's headers and tables. They are copied, as linkers align them as they like.
class CImage {
 public:
  explicit CImage(HMODULE module) : m_base(reinterpret_cast<const char*>(module)) {}

  template <typename T>
  T Read(ULONGLONG offset) const {
    T value = {};
    std::memcpy(&value, m_base + offset, sizeof(value));
    return value;
  }
  std::string Text(ULONGLONG offset) const { return m_base + offset; }
  IMAGE_NT_HEADERS Headers() const {
    return Read<IMAGE_NT_HEADERS>(static_cast<ULONGLONG>(Read<IMAGE_DOS_HEADER>(0).e_lfanew));
  }
  /// The eight-byte values in the module's variables.
  std::set<ULONGLONG> Variables() const {
    const IMAGE_NT_HEADERS headers = Headers();
    const ULONGLONG sections = static_cast<ULONGLONG>(Read<IMAGE_DOS_HEADER>(0).e_lfanew) +
                               offsetof(IMAGE_NT_HEADERS, OptionalHeader) +
                               headers.FileHeader.SizeOfOptionalHeader;
    std::set<ULONGLONG> values;
    for (ULONGLONG i = 0; i < headers.FileHeader.NumberOfSections; ++i) {
      const auto section = Read<IMAGE_SECTION_HEADER>(sections + i * sizeof(IMAGE_SECTION_HEADER));
      if ((section.Characteristics & IMAGE_SCN_MEM_WRITE) == 0) {
        continue;
      }
      for (DWORD at = 0; at + sizeof(ULONGLONG) <= section.Misc.VirtualSize;
           at += sizeof(ULONGLONG)) {
        values.insert(Read<ULONGLONG>(ULONGLONG{section.VirtualAddress} + at));
      }
    }
    return values;
  }
  ULONGLONG Directory(int index) const {
    return Headers().OptionalHeader.DataDirectory[index].VirtualAddress;
  }

 private:
  const char* m_base;
};

TEST(Library, IsA64BitDll) {
  const CPluginLibrary library;
  const IMAGE_NT_HEADERS headers = CImage(library.Module()).Headers();
  EXPECT_EQ(headers.FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
  EXPECT_NE(headers.FileHeader.Characteristics & IMAGE_FILE_DLL, 0);
  const std::wstring path = library.Path();
  EXPECT_EQ(path.substr(path.rfind(L'\\') + 1), L"FolivoPlugin.dll");
}

TEST(Library, ExportsExactlyItsFourFunctions) {
  const CPluginLibrary library;
  const CImage image(library.Module());
  const auto exports =
      image.Read<IMAGE_EXPORT_DIRECTORY>(image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
  EXPECT_EQ(exports.NumberOfFunctions, 4u);
  std::vector<std::string> names;
  for (DWORD i = 0; i < exports.NumberOfNames; ++i) {
    const ULONGLONG entry = exports.AddressOfNames + ULONGLONG{i} * sizeof(DWORD);
    names.push_back(image.Text(image.Read<DWORD>(entry)));
  }
  EXPECT_EQ(names, (std::vector<std::string>{"DllCanUnloadNow", "DllGetClassObject",
                                             "DllRegisterServer", "DllUnregisterServer"}));
  EXPECT_EQ(image.Text(exports.Name), "FolivoPlugin.dll");
}

TEST(Library, ImportsFromTheSystemAndNothingThatItBindsAtRunTime) {
  const CPluginLibrary library;
  const CImage image(library.Module());
  wchar_t system[MAX_PATH] = {};
  GetSystemDirectoryW(system, MAX_PATH);
  ULONGLONG at = image.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT);
  int imports = 0;
  for (auto entry = image.Read<IMAGE_IMPORT_DESCRIPTOR>(at); entry.Name != 0;
       at += sizeof(entry), entry = image.Read<IMAGE_IMPORT_DESCRIPTOR>(at)) {
    const std::string dll = image.Text(entry.Name);
    const std::wstring path = std::wstring(system) + L"\\" + std::wstring(dll.begin(), dll.end());
    EXPECT_NE(GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES) << dll;
    for (ULONGLONG names = entry.OriginalFirstThunk;; names += sizeof(ULONGLONG)) {
      const auto name = image.Read<ULONGLONG>(names);
      if (name == 0) {
        break;
      }
      if (IMAGE_SNAP_BY_ORDINAL(name)) {
        continue;
      }
      ++imports;
      const std::string text = image.Text(name + offsetof(IMAGE_IMPORT_BY_NAME, Name));
      for (const char* bound :
           {"CheckTokenMembership", "RevertToSelf", "OpenProcessToken", "ImpersonateLoggedOnUser",
            "CreateProcessAsUser", "RegisterServiceCtrlHandlerEx", "ChangeServiceConfig2",
            "IEShowSaveFileDialog", "IEIsProtectedModeProcess", "IECancelSaveFile", "IESaveFile",
            "Wiz_", "UzpFreeMemBuffer"}) {
        EXPECT_FALSE(text.starts_with(bound)) << text;
      }
    }
  }
  EXPECT_GT(imports, 50);
}

// Nothing calls them, so that only the module's own memory tells.
TEST(Library, HoldsTheFunctionsThatItBindsWhenItIsLoaded) {
  const CPluginLibrary library;
  const std::set<ULONGLONG> variables = CImage(library.Module()).Variables();
  const HMODULE system = GetModuleHandleW(L"advapi32.dll");
  EXPECT_TRUE(variables.contains(reinterpret_cast<ULONGLONG>(system)));
  for (const char* name :
       {"ChangeServiceConfig2A", "ChangeServiceConfig2W", "RegisterServiceCtrlHandlerExA",
        "RegisterServiceCtrlHandlerExW", "CreateProcessAsUserA", "CreateProcessAsUserW",
        "ImpersonateLoggedOnUser", "OpenProcessToken", "RevertToSelf", "CheckTokenMembership"}) {
    const FARPROC function = GetProcAddress(system, name);
    ASSERT_NE(function, nullptr) << name;
    EXPECT_TRUE(variables.contains(std::bit_cast<ULONGLONG>(function))) << name;
  }
}

std::vector<HMODULE> g_freed;

TEST(Library, FreesTheSystemsLibraryWhenItIsUnloaded) {
  CPluginLibrary library;
  // Not restored: what is patched goes with the DLL.
  static_cast<void>(std::make_unique<CImportPatch>(
                        "kernel32.dll", "FreeLibrary",
                        +[](HMODULE module) -> BOOL {
                          g_freed.push_back(module);
                          return FreeLibrary(module);
                        },
                        library.Module())
                        .release());
  library.Free();
  EXPECT_THAT(g_freed, testing::Contains(GetModuleHandleW(L"advapi32.dll")));
}

TEST(Library, AcceptsEveryNotificationOfThreads) {
  const CPluginLibrary library;
  const DWORD entry = CImage(library.Module()).Headers().OptionalHeader.AddressOfEntryPoint;
  auto* const notify = reinterpret_cast<BOOL(WINAPI*)(HINSTANCE, DWORD, LPVOID)>(
      reinterpret_cast<ULONGLONG>(library.Module()) + entry);
  EXPECT_TRUE(notify(library.Module(), DLL_THREAD_ATTACH, nullptr));
  EXPECT_TRUE(notify(library.Module(), DLL_THREAD_DETACH, nullptr));
}

TEST(Library, HelperObjectsScriptHasNoTokens) {
  // It runs twice, the second time without the replacements of the first.
  const CPluginLibrary library;
  const HRSRC resource =
      FindResourceW(library.Module(), MAKEINTRESOURCEW(IDR_FOLIVOPLUGIN), L"REGISTRY");
  ASSERT_NE(resource, nullptr);
  const std::string script(
      static_cast<const char*>(LockResource(LoadResource(library.Module(), resource))),
      SizeofResource(library.Module(), resource));
  EXPECT_NE(script.find("Browser Helper Objects"), std::string::npos);
  EXPECT_EQ(script.find('%'), std::string::npos);
}

TEST(ClassObject, UnknownClassOrInterfaceIsAFailure) {
  const CPluginLibrary library;
  EXPECT_EQ(library.GetClassObject(CLSID_CIEDownload, IID_IClassFactory, nullptr), E_POINTER);
  for (const auto& [clsid, iid, result] :
       {std::tuple(GUID_NULL, IID_IClassFactory, CLASS_E_CLASSNOTAVAILABLE),
        {IID_IIEDownload, IID_IClassFactory, CLASS_E_CLASSNOTAVAILABLE},
        {CLSID_CIEDownload, IID_IDispatch, E_NOINTERFACE}}) {
    void* out = &out;
    EXPECT_EQ(library.GetClassObject(clsid, iid, &out), result);
    EXPECT_EQ(out, nullptr);
  }
}

std::atomic<int> g_allocations = 0;
void* CountAllocation(size_t bytes) {
  ++g_allocations;
  CLockContest::BeInside();
  return std::malloc(bytes);  // NOLINT(cppcoreguidelines-no-malloc): stands in for it
}

TEST(ClassObject, IsMadeOnceByManyThreads) {
  const CPluginLibrary library;
  const CImportPatch making("msvcrt.dll", "malloc", &CountAllocation, library.Module());
  g_allocations = 0;
  CLockContest(nullptr, library.Module()).Run([&library] {
    EXPECT_NE(library.HelperFactory().p, nullptr);
  });
  EXPECT_EQ(g_allocations, 1) << "the factory is all that is made";
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(ModuleLock, ObjectsFactoriesAndServerLocksHoldIt) {
  const CPluginLibrary library;
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
  CComPtr<IClassFactory> factory = library.HelperFactory();
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  CComPtr<IUnknown> object;
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object)),
            S_OK);
  factory.Release();
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  object.Release();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
  EXPECT_EQ(library.HelperFactory()->LockServer(TRUE), S_OK);
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  EXPECT_EQ(library.HelperFactory()->LockServer(FALSE), S_OK);
  void* out = &out;
  EXPECT_EQ(library.HelperFactory()->CreateInstance(nullptr, IID_IOleObject, &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(library.CanUnloadNow(), S_OK) << "a failed creation leaves none";
}

TEST(ModuleLock, FreedModuleIsUnloadedAndLoadsAgain) {
  for (int i = 0; i < 3; ++i) {
    CPluginLibrary library;
    EXPECT_NE(library.HelperFactory().p, nullptr);
    library.Free();
    EXPECT_EQ(GetModuleHandleW(L"FolivoPlugin.dll"), nullptr);
  }
}

TEST(HelperObject, CanBeAggregated) {
  const CPluginLibrary library;
  COuterObject outer;
  CComPtr<IUnknown> inner;
  ASSERT_EQ(library.HelperFactory()->CreateInstance(&outer, IID_IUnknown,
                                                    reinterpret_cast<void**>(&inner)),
            S_OK);
  EXPECT_EQ(outer.references, 1);
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  for (const IID& iid :
       {IID_IDispatch, IID_IIEDownload, IID_IObjectWithSite, IID_IProvideClassInfo}) {
    CComPtr<IUnknown> found;
    ASSERT_EQ(inner->QueryInterface(iid, reinterpret_cast<void**>(&found)), S_OK) << iid.Data1;
    EXPECT_EQ(outer.references, 2);
    CComPtr<IUnknown> identity;
    EXPECT_EQ(found->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)), S_OK);
    EXPECT_EQ(identity.p, &outer);
  }
  EXPECT_EQ(CComQIPtr<IObjectWithSite>(inner)->SetSite(nullptr), E_INVALIDARG);
  EXPECT_EQ(outer.references, 1);
  inner.Release();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
  void* out = &out;
  EXPECT_EQ(library.HelperFactory()->CreateInstance(&outer, IID_IObjectWithSite, &out),
            CLASS_E_NOAGGREGATION);
  EXPECT_EQ(out, nullptr);
}

}  // namespace
