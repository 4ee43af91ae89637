// The DLL's exports and class objects, asked as the system asks them.

#include <gtest/gtest.h>
#include <ocidl.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "folivo_plugin_h.h"
#include "resources/resource.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/parallel.h"

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
  ULONGLONG Directory(int index) const {
    return Headers().OptionalHeader.DataDirectory[index].VirtualAddress;
  }

 private:
  const char* m_base;
};

/// An outer object that aggregates: only counts its references.
class COuter final : public IUnknown {
 public:
  long references = 1;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    *object = iid == IID_IUnknown ? this : nullptr;
    references += iid == IID_IUnknown ? 1 : 0;
    return iid == IID_IUnknown ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
  ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
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

TEST(Library, NeedsNothingButTheSystem) {
  const CPluginLibrary library;
  const CImage image(library.Module());
  wchar_t system[MAX_PATH] = {};
  GetSystemDirectoryW(system, MAX_PATH);
  const auto read = [&](ULONGLONG index) {
    return image.Read<IMAGE_IMPORT_DESCRIPTOR>(image.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT) +
                                               index * sizeof(IMAGE_IMPORT_DESCRIPTOR));
  };
  EXPECT_NE(read(0).Name, 0u);
  for (ULONGLONG i = 0; read(i).Name != 0; ++i) {
    const std::string name = image.Text(read(i).Name);
    const std::wstring path = std::wstring(system) + L"\\" + std::wstring(name.begin(), name.end());
    EXPECT_NE(GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES) << name;
  }
}

TEST(Library, ImportsNoFunctionThatItBindsAtRunTime) {
  const CPluginLibrary library;
  const CImage image(library.Module());
  ULONGLONG at = image.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT);
  int imports = 0;
  for (auto entry = image.Read<IMAGE_IMPORT_DESCRIPTOR>(at); entry.Name != 0;
       at += sizeof(entry), entry = image.Read<IMAGE_IMPORT_DESCRIPTOR>(at)) {
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
        EXPECT_NE(text.rfind(bound, 0), 0u) << text;
      }
    }
  }
  EXPECT_GT(imports, 50);
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

TEST(ClassObject, NullOutIsAPointerError) {
  const CPluginLibrary library;
  EXPECT_EQ(library.GetClassObject(CLSID_CIEDownload, IID_IClassFactory, nullptr), E_POINTER);
  EXPECT_EQ(library.GetClassObject(GUID_NULL, IID_IClassFactory, nullptr), E_POINTER);
}

TEST(ClassObject, UnknownClassIsNotAvailable) {
  const CPluginLibrary library;
  for (const CLSID& clsid : {GUID_NULL, IID_IIEDownload, LIBID_MERLOFolivoIEPlugin}) {
    void* out = &out;
    EXPECT_EQ(library.GetClassObject(clsid, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(out, nullptr);
  }
}

TEST(ClassObject, UnknownInterfaceIsTheFactorysFailure) {
  const CPluginLibrary library;
  void* out = &out;
  EXPECT_EQ(library.GetClassObject(CLSID_CIEDownload, IID_IDispatch, &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
}

TEST(ClassObject, IsOneFactoryForEveryRequest) {
  const CPluginLibrary library;
  CComPtr<IUnknown> unknown;
  EXPECT_EQ(
      library.GetClassObject(CLSID_CIEDownload, IID_IUnknown, reinterpret_cast<void**>(&unknown)),
      S_OK);
  EXPECT_TRUE(unknown.IsEqualObject(library.HelperFactory()));
}

TEST(ClassObject, IsMadeOnceByManyThreads) {
  const CPluginLibrary library;
  constexpr int kThreads = 16;
  const HANDLE start = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  void* factories[kThreads] = {};
  {
    std::vector<std::unique_ptr<CParallel>> threads;
    for (void*& factory : factories) {
      threads.push_back(std::make_unique<CParallel>([&library, &factory, start] {
        WaitForSingleObject(start, INFINITE);
        library.GetClassObject(CLSID_CIEDownload, IID_IClassFactory, &factory);
      }));
    }
    SetEvent(start);
  }
  CloseHandle(start);
  for (void* const factory : factories) {
    EXPECT_NE(factory, nullptr);
    EXPECT_EQ(factory, factories[0]);
    static_cast<IClassFactory*>(factory)->Release();
  }
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(ModuleLock, FreeModuleMayBeUnloaded) {
  const CPluginLibrary library;
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(ModuleLock, ObjectHoldsIt) {
  const CPluginLibrary library;
  CComPtr<IUnknown> object;
  EXPECT_EQ(library.HelperFactory()->CreateInstance(nullptr, IID_IUnknown,
                                                    reinterpret_cast<void**>(&object)),
            S_OK);
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  object.Release();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(ModuleLock, HeldFactoryHoldsIt) {
  const CPluginLibrary library;
  CComPtr<IClassFactory> factory = library.HelperFactory();
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  factory.Release();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(ModuleLock, ServerLocksAreCounted) {
  const CPluginLibrary library;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(library.HelperFactory()->LockServer(TRUE), S_OK);
    EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  }
  EXPECT_EQ(library.HelperFactory()->LockServer(FALSE), S_OK);
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  EXPECT_EQ(library.HelperFactory()->LockServer(FALSE), S_OK);
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(ModuleLock, FailedCreationLeavesNone) {
  const CPluginLibrary library;
  void* out = &out;
  EXPECT_EQ(library.HelperFactory()->CreateInstance(nullptr, IID_IOleObject, &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(library.HelperFactory()->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(ModuleLock, ModuleGoesWhenFreedAndComesBackNew) {
  for (int i = 0; i < 3; ++i) {
    CPluginLibrary library;
    CComPtr<IUnknown> object;
    library.HelperFactory()->CreateInstance(nullptr, IID_IUnknown,
                                            reinterpret_cast<void**>(&object));
    EXPECT_NE(object.p, nullptr);
    object.Release();
    EXPECT_EQ(library.CanUnloadNow(), S_OK);
    library.Free();
    EXPECT_EQ(GetModuleHandleW(L"FolivoPlugin.dll"), nullptr);
  }
}

TEST(HelperObject, IsMadeForEachOfItsInterfaces) {
  const CPluginLibrary library;
  for (const IID& iid :
       {IID_IUnknown, IID_IDispatch, IID_IIEDownload, IID_IObjectWithSite, IID_IProvideClassInfo}) {
    CComPtr<IUnknown> object;
    EXPECT_EQ(
        library.HelperFactory()->CreateInstance(nullptr, iid, reinterpret_cast<void**>(&object)),
        S_OK);
  }
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(HelperObject, CanBeAggregated) {
  const CPluginLibrary library;
  COuter outer;
  CComPtr<IUnknown> inner;
  ASSERT_EQ(library.HelperFactory()->CreateInstance(&outer, IID_IUnknown,
                                                    reinterpret_cast<void**>(&inner)),
            S_OK);
  EXPECT_EQ(outer.references, 1);
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  {
    const CComQIPtr<IObjectWithSite> site(inner);
    ASSERT_NE(site.p, nullptr);
    EXPECT_EQ(outer.references, 2);
    CComPtr<IUnknown> identity;
    EXPECT_EQ(site->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity)), S_OK);
    EXPECT_EQ(identity.p, &outer);
    EXPECT_EQ(site->SetSite(nullptr), E_INVALIDARG);
  }
  EXPECT_EQ(outer.references, 1);
  inner.Release();
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

TEST(HelperObject, AggregationGivesTheInnerIdentityOnly) {
  const CPluginLibrary library;
  COuter outer;
  void* out = &out;
  EXPECT_EQ(library.HelperFactory()->CreateInstance(&outer, IID_IObjectWithSite, &out),
            CLASS_E_NOAGGREGATION);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(outer.references, 1);
  EXPECT_EQ(library.CanUnloadNow(), S_OK);
}

}  // namespace
