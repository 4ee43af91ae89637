// The DLL's exports and class objects, asked as the system asks them.

#include "plugin/folivo_plugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <atomic>
#include <bit>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "folivo_plugin_h.h"
#include "resources/resource.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/import_patch.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"

namespace {

/// A loaded module's headers and tables.
class CImage {
 public:
  explicit CImage(HMODULE module) : m_base(reinterpret_cast<const char*>(module)) {}

  template <typename T>
  const T* At(DWORD offset) const {
    return reinterpret_cast<const T*>(m_base + offset);
  }
  const IMAGE_NT_HEADERS& Headers() const {
    return *At<IMAGE_NT_HEADERS>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
  }
  /// The eight-byte values in the module's variables.
  std::set<ULONGLONG> Variables() const {
    std::set<ULONGLONG> values;
    const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(&Headers());
    for (int i = 0; i < Headers().FileHeader.NumberOfSections; ++i, ++section) {
      if ((section->Characteristics & IMAGE_SCN_MEM_WRITE) != 0) {
        const auto* const begin = At<ULONGLONG>(section->VirtualAddress);
        values.insert(begin, begin + section->Misc.VirtualSize / sizeof(*begin));
      }
    }
    return values;
  }

 private:
  const char* m_base;
};

class FolivoPlugin : public testing::Test {
 protected:
  CPluginLibrary m_library;
  const CImage m_image{m_library.Module()};
};

TEST_F(FolivoPlugin, IsA64BitDllWithExactlyFourExports) {
  EXPECT_EQ(m_image.Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
  EXPECT_NE(m_image.Headers().FileHeader.Characteristics & IMAGE_FILE_DLL, 0);
  EXPECT_TRUE(m_library.Path().ends_with(L"\\FolivoPlugin.dll"));
  const auto* const exports = m_image.At<IMAGE_EXPORT_DIRECTORY>(
      m_image.Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
  EXPECT_EQ(exports->NumberOfFunctions, 4u);
  std::vector<std::string> names;
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
    names.emplace_back(m_image.At<char>(m_image.At<DWORD>(exports->AddressOfNames)[i]));
  }
  EXPECT_EQ(names, (std::vector<std::string>{"DllCanUnloadNow", "DllGetClassObject",
                                             "DllRegisterServer", "DllUnregisterServer"}));
  EXPECT_STREQ(m_image.At<char>(exports->Name), "FolivoPlugin.dll");
}

constexpr const char* kBoundFunctions[] = {
    "ChangeServiceConfig2A",         "ChangeServiceConfig2W", "RegisterServiceCtrlHandlerExA",
    "RegisterServiceCtrlHandlerExW", "CreateProcessAsUserA",  "CreateProcessAsUserW",
    "ImpersonateLoggedOnUser",       "OpenProcessToken",      "RevertToSelf",
    "CheckTokenMembership"};

// Nothing calls them, so that only the module's own memory shows it.
TEST_F(FolivoPlugin, HoldsTheFunctionsThatItBindsWhenItIsLoaded) {
  const std::set<ULONGLONG> variables = m_image.Variables();
  const HMODULE system = GetModuleHandleW(L"advapi32.dll");
  EXPECT_TRUE(variables.contains(reinterpret_cast<ULONGLONG>(system)));
  for (const char* name : kBoundFunctions) {
    const FARPROC function = GetProcAddress(system, name);
    ASSERT_NE(function, nullptr) << name;
    EXPECT_TRUE(variables.contains(std::bit_cast<ULONGLONG>(function))) << name;
    EXPECT_NONFATAL_FAILURE(
        CImportPatch("advapi32.dll", name, +[] {}, m_library.Module()), "is not imported");
  }
}

std::vector<HMODULE> g_freed;

TEST_F(FolivoPlugin, FreesTheSystemsLibraryWhenItIsUnloaded) {
  EXPECT_NE(m_library.HelperFactory().p, nullptr);
  // Not restored: what is patched goes with the DLL.
  static_cast<void>(std::make_unique<CImportPatch>(
                        "kernel32.dll", "FreeLibrary",
                        +[](HMODULE module) -> BOOL {
                          g_freed.push_back(module);
                          return FreeLibrary(module);
                        },
                        m_library.Module())
                        .release());
  m_library.Free();
  EXPECT_EQ(GetModuleHandleW(L"FolivoPlugin.dll"), nullptr);
  EXPECT_THAT(g_freed, testing::Contains(GetModuleHandleW(L"advapi32.dll")));
}

int g_violations = 0;

/// The system ignores access violations while it unloads a library.
LONG CALLBACK CountAccessViolation(EXCEPTION_POINTERS* exception) {
  g_violations += exception->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION;
  return EXCEPTION_CONTINUE_SEARCH;
}

TEST_F(FolivoPlugin, UnloadsWhileAClassFactoryIsHeld) {
  void* factory = nullptr;  // not released: its code is gone
  ASSERT_EQ(m_library.GetClassObject(CLSID_CIEDownload, IID_IClassFactory, &factory), S_OK);
  void* const handler = AddVectoredExceptionHandler(TRUE, &CountAccessViolation);
  m_library.Free();
  RemoveVectoredExceptionHandler(handler);
  EXPECT_EQ(g_violations, 0);
  EXPECT_EQ(GetModuleHandleW(L"FolivoPlugin.dll"), nullptr);
}

TEST_F(FolivoPlugin, AcceptsEveryNotificationOfThreads) {
  const DWORD entry = m_image.Headers().OptionalHeader.AddressOfEntryPoint;
  auto* const notify = reinterpret_cast<BOOL(WINAPI*)(HINSTANCE, DWORD, LPVOID)>(
      reinterpret_cast<ULONGLONG>(m_library.Module()) + entry);
  EXPECT_TRUE(notify(m_library.Module(), DLL_THREAD_ATTACH, nullptr));
  EXPECT_TRUE(notify(m_library.Module(), DLL_THREAD_DETACH, nullptr));
}

/// Records the replacements that it is given.
class CRecordingRegistrar final : public IRegistrarBase {
 public:
  STDMETHODIMP AddReplacement(LPCOLESTR key, LPCOLESTR item) override {
    m_added.push_back(std::wstring(key) + L"=" + item);
    return S_OK;
  }

  std::vector<std::wstring> m_added;
};

TEST_F(FolivoPlugin, ItsScriptHasNoTokensAndNoReplacements) {
  // It runs twice, the second time without the replacements of the first.
  const HRSRC resource =
      FindResourceW(m_library.Module(), MAKEINTRESOURCEW(IDR_FOLIVOPLUGIN), L"REGISTRY");
  ASSERT_NE(resource, nullptr);
  const std::string script(
      static_cast<const char*>(LockResource(LoadResource(m_library.Module(), resource))),
      SizeofResource(m_library.Module(), resource));
  EXPECT_NE(script.find("Browser Helper Objects"), std::string::npos);
  EXPECT_EQ(script.find('%'), std::string::npos);
  CFolivoPluginClass module;
  CRecordingRegistrar registrar;
  EXPECT_EQ(module.AddCommonRGSReplacements(&registrar), S_OK);
  EXPECT_EQ(registrar.m_added, std::vector<std::wstring>());
}

using FolivoPluginClassObject = FolivoPlugin;

/// The thread that makes the factory waits until the other one is about to wait for the lock, or
/// makes one too.
TEST_F(FolivoPluginClassObject, IsMadeOnceByTwoThreads) {
  const CHandle bothAreHere(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::atomic<int> atTheLock = 0;
  std::atomic<int> inside = 0;
  const auto arrive = [&](std::atomic<int>& arrivals) {
    if (++arrivals == 2) {
      SetEvent(bothAreHere);
    }
  };
  const CImportSpy<&EnterCriticalSection> lock(
      "kernel32.dll", "EnterCriticalSection",
      [&](CRITICAL_SECTION* section) {
        arrive(atTheLock);
        lock.CallOriginal(section);
      },
      m_library.Module());
  const CImportSpy<&std::malloc> making(
      "msvcrt.dll", "malloc",
      [&](size_t bytes) {
        arrive(inside);
        EXPECT_EQ(WaitForSingleObject(bothAreHere, 30000), WAIT_OBJECT_0);
        return making.CallOriginal(bytes);
      },
      m_library.Module());
  {
    const auto work = [&] { EXPECT_NE(m_library.HelperFactory().p, nullptr); };
    const CParallel one(work);
    const CParallel two(work);
  }
  EXPECT_EQ(inside, 1) << "the factory is all that is made";
  EXPECT_EQ(m_library.CanUnloadNow(), S_OK);
}

TEST_F(FolivoPluginClassObject, ObjectsFactoriesAndServerLocksKeepTheModule) {
  EXPECT_EQ(m_library.CanUnloadNow(), S_OK);
  CComPtr<IClassFactory> factory = m_library.HelperFactory();
  EXPECT_EQ(m_library.CanUnloadNow(), S_FALSE);
  factory.Release();
  CComPtr<IUnknown> object = m_library.Create<IUnknown>(CLSID_CIEDownload);
  EXPECT_EQ(m_library.CanUnloadNow(), S_FALSE);
  object.Release();
  EXPECT_EQ(m_library.CanUnloadNow(), S_OK);
  EXPECT_EQ(m_library.HelperFactory()->LockServer(TRUE), S_OK);
  EXPECT_EQ(m_library.CanUnloadNow(), S_FALSE);
  EXPECT_EQ(m_library.HelperFactory()->LockServer(FALSE), S_OK);
  EXPECT_EQ(m_library.Create<IOleObject>(CLSID_CIEDownload).p, nullptr);
  EXPECT_EQ(m_library.CanUnloadNow(), S_OK) << "a failed creation leaves none";
}

}  // namespace
