#include "ui/dynamic_dll.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/import_patch.h"
#include "ui/advapi32_dll.h"

namespace {

/// Keeps a record of what the base class asks of it.
class CRecordingDll : public CDynamicDll {
 public:
  ~CRecordingDll() override { Unload(); }
  std::vector<std::string> m_calls;
  HMODULE m_bound = nullptr;

 protected:
  void Bind(HMODULE module) override {
    m_calls.push_back(GetModule() == module && GetError() == 0 ? "bind" : "bind too early");
    m_bound = module;
  }
  void Release() override {
    m_calls.push_back(GetModule() == nullptr ? "release" : "release too early");
  }
};

using Calls = std::vector<std::string>;

TEST(DynamicDll, LoadsAndBinds) {
  CRecordingDll dll;
  EXPECT_EQ(dll.GetModule(), nullptr);
  EXPECT_EQ(dll.Load(L"version.dll"), 0u);
  EXPECT_EQ(dll.GetModule(), GetModuleHandleW(L"version.dll"));
  EXPECT_EQ(dll.m_bound, dll.GetModule());
  EXPECT_EQ(dll.m_calls, (Calls{"release", "bind"}));
}

TEST(DynamicDll, MissingLibraryIsKeptAsAnError) {
  CRecordingDll dll;
  EXPECT_EQ(dll.Load(L"no such library.dll"), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(dll.GetError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(dll.GetModule(), nullptr);
  EXPECT_TRUE(dll.m_calls.empty());
}

TEST(DynamicDll, FailedLoadKeepsWhatIsHeld) {
  CRecordingDll dll;
  ASSERT_EQ(dll.Load(L"version.dll"), 0u);
  const HMODULE held = dll.GetModule();
  dll.m_calls.clear();
  EXPECT_NE(dll.Load(L"no such library.dll"), 0u);
  EXPECT_EQ(dll.GetModule(), held);
  EXPECT_TRUE(dll.m_calls.empty());
  EXPECT_EQ(dll.Load(L"version.dll"), 0u);
  EXPECT_EQ(dll.GetError(), 0u);
}

std::vector<HMODULE> g_loaded;
std::vector<HMODULE> g_freed;
HMODULE WINAPI RecordLoad(LPCWSTR name) {
  // Not through the import that is replaced.
  g_loaded.push_back(LoadLibraryExW(name, nullptr, 0));
  return g_loaded.back();
}
BOOL WINAPI RecordFree(HMODULE module) {
  g_freed.push_back(module);
  return TRUE;
}

TEST(DynamicDll, EveryLoadIsFreedOnce) {
  g_loaded.clear();
  g_freed.clear();
  {
    const CImportPatch load("kernel32.dll", "LoadLibraryW", &RecordLoad);
    const CImportPatch free("kernel32.dll", "FreeLibrary", &RecordFree);
    CRecordingDll dll;
    dll.Load(L"version.dll");
    dll.Load(L"winmm.dll");
    EXPECT_EQ(g_freed.size(), 1u);
    dll.Unload();
    dll.Unload();
  }
  EXPECT_EQ(g_loaded.size(), 2u);
  EXPECT_EQ(g_freed, g_loaded);
  for (const HMODULE module : g_loaded) {
    FreeLibrary(module);
  }
}

TEST(DynamicDll, LibraryThatIsHeldGoesWithTheObject) {
  g_loaded.clear();
  g_freed.clear();
  {
    const CImportPatch load("kernel32.dll", "LoadLibraryW", &RecordLoad);
    const CImportPatch free("kernel32.dll", "FreeLibrary", &RecordFree);
    const CAdvapi32Dll dll;
    EXPECT_TRUE(g_freed.empty());
  }
  EXPECT_EQ(g_loaded.size(), 1u);
  EXPECT_EQ(g_freed, g_loaded);
  for (const HMODULE module : g_loaded) {
    FreeLibrary(module);
  }
}

TEST(DynamicDll, UnloadClearsTheFunctionsEvenWithoutALibrary) {
  CRecordingDll dll;
  dll.Unload();
  EXPECT_EQ(dll.m_calls, (Calls{"release"}));
}

std::vector<std::string> g_names;
FARPROC WINAPI RecordName(HMODULE module, LPCSTR name) {
  EXPECT_EQ(module, GetModuleHandleW(L"advapi32.dll"));
  g_names.emplace_back(name);
  // An old system without one of them.
  return g_names.back() == "CreateProcessAsUserA" ? nullptr
                                                  : reinterpret_cast<FARPROC>(g_names.size());
}

TEST(Advapi32Dll, FindsAllFunctionsOfTheSystem) {
  const CAdvapi32Dll dll;
  EXPECT_EQ(dll.GetError(), 0u);
  EXPECT_EQ(dll.GetModule(), GetModuleHandleW(L"advapi32.dll"));
  EXPECT_NE(dll.m_CheckTokenMembership, nullptr);
  EXPECT_NE(dll.m_RevertToSelf, nullptr);
  EXPECT_NE(dll.m_OpenProcessToken, nullptr);
  EXPECT_NE(dll.m_ImpersonateLoggedOnUser, nullptr);
  EXPECT_NE(dll.m_CreateProcessAsUserW, nullptr);
  EXPECT_NE(dll.m_CreateProcessAsUserA, nullptr);
  EXPECT_NE(dll.m_RegisterServiceCtrlHandlerExW, nullptr);
  EXPECT_NE(dll.m_RegisterServiceCtrlHandlerExA, nullptr);
  EXPECT_NE(dll.m_ChangeServiceConfig2W, nullptr);
  EXPECT_NE(dll.m_ChangeServiceConfig2A, nullptr);
}

TEST(Advapi32Dll, BindsInOrderAndGoesOnWhereOneIsMissing) {
  g_names.clear();
  const CImportPatch patch("kernel32.dll", "GetProcAddress", &RecordName);
  CAdvapi32Dll dll;
  EXPECT_EQ(g_names, (std::vector<std::string>{
                         "ChangeServiceConfig2A", "ChangeServiceConfig2W",
                         "RegisterServiceCtrlHandlerExA", "RegisterServiceCtrlHandlerExW",
                         "CreateProcessAsUserA", "CreateProcessAsUserW", "ImpersonateLoggedOnUser",
                         "OpenProcessToken", "RevertToSelf", "CheckTokenMembership"}));
  const auto place = [](auto function) { return reinterpret_cast<size_t>(function); };
  EXPECT_EQ(place(dll.m_ChangeServiceConfig2A), 1u);
  EXPECT_EQ(place(dll.m_ChangeServiceConfig2W), 2u);
  EXPECT_EQ(place(dll.m_RegisterServiceCtrlHandlerExA), 3u);
  EXPECT_EQ(place(dll.m_RegisterServiceCtrlHandlerExW), 4u);
  EXPECT_EQ(place(dll.m_CreateProcessAsUserA), 0u);
  EXPECT_EQ(place(dll.m_CreateProcessAsUserW), 6u);
  EXPECT_EQ(place(dll.m_ImpersonateLoggedOnUser), 7u);
  EXPECT_EQ(place(dll.m_OpenProcessToken), 8u);
  EXPECT_EQ(place(dll.m_RevertToSelf), 9u);
  EXPECT_EQ(place(dll.m_CheckTokenMembership), 10u);

  dll.Unload();
  EXPECT_EQ(place(dll.m_ChangeServiceConfig2A), 0u);
  EXPECT_EQ(place(dll.m_ChangeServiceConfig2W), 0u);
  EXPECT_EQ(place(dll.m_RegisterServiceCtrlHandlerExA), 0u);
  EXPECT_EQ(place(dll.m_RegisterServiceCtrlHandlerExW), 0u);
  EXPECT_EQ(place(dll.m_CreateProcessAsUserW), 0u);
  EXPECT_EQ(place(dll.m_ImpersonateLoggedOnUser), 0u);
  EXPECT_EQ(place(dll.m_OpenProcessToken), 0u);
  EXPECT_EQ(place(dll.m_RevertToSelf), 0u);
  EXPECT_EQ(place(dll.m_CheckTokenMembership), 0u);
}

HMODULE WINAPI LoadNothing(LPCWSTR name) {
  EXPECT_STREQ(name, L"Advapi32.dll");
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

TEST(Advapi32Dll, MissingLibraryIsNoError) {
  const CImportPatch patch("kernel32.dll", "LoadLibraryW", &LoadNothing);
  const CAdvapi32Dll dll;
  EXPECT_EQ(dll.GetModule(), nullptr);
  EXPECT_EQ(dll.GetError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(dll.m_RevertToSelf, nullptr);
}

}  // namespace
