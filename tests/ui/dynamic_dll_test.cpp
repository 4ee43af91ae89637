#include "ui/dynamic_dll.h"

#include <gmock/gmock.h>
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

/// Calls an operation by its place in the table of functions.
template <typename... Arguments>
void CallSlot(CDynamicDll& dll, int slot, Arguments... arguments) {
  using Operation = void (*)(void*, Arguments...);
  const void* const* const table = *reinterpret_cast<const void* const* const*>(&dll);
  reinterpret_cast<Operation>(const_cast<void*>(table[slot]))(&dll, arguments...);
}

TEST(DynamicDll, OperationsHaveTheirPlacesBehindTheDestructor) {
  constexpr int kFirst = 2;  // the destructor takes two places with this compiler
  CRecordingDll dll;
  const auto module = reinterpret_cast<HMODULE>(&dll);
  CallSlot(dll, kFirst, module);
  EXPECT_EQ(dll.m_bound, module);
  CallSlot(dll, kFirst + 1);
  EXPECT_EQ(dll.m_calls, (Calls{"bind too early", "release"}));
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

/// The ten functions, by where they are.
std::vector<size_t> PlacesOf(const CAdvapi32Dll& dll) {
  const auto place = [](auto function) { return reinterpret_cast<size_t>(function); };
  return {place(dll.m_ChangeServiceConfig2A),
          place(dll.m_ChangeServiceConfig2W),
          place(dll.m_RegisterServiceCtrlHandlerExA),
          place(dll.m_RegisterServiceCtrlHandlerExW),
          place(dll.m_CreateProcessAsUserA),
          place(dll.m_CreateProcessAsUserW),
          place(dll.m_ImpersonateLoggedOnUser),
          place(dll.m_OpenProcessToken),
          place(dll.m_RevertToSelf),
          place(dll.m_CheckTokenMembership)};
}

const std::vector<size_t> kNothing(10, 0);

TEST(Advapi32Dll, FindsAllFunctionsOfTheSystem) {
  const CAdvapi32Dll dll;
  EXPECT_EQ(dll.GetError(), 0u);
  EXPECT_EQ(dll.GetModule(), GetModuleHandleW(L"advapi32.dll"));
  EXPECT_THAT(PlacesOf(dll), testing::Each(testing::Ne(0u)));
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
  EXPECT_EQ(PlacesOf(dll), (std::vector<size_t>{1, 2, 3, 4, 0, 6, 7, 8, 9, 10}));

  dll.Unload();
  EXPECT_EQ(PlacesOf(dll), kNothing);
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
  EXPECT_EQ(PlacesOf(dll), kNothing);
}

}  // namespace
