#include "ui/dynamic_dll.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/support/import_spy.h"
#include "ui/advapi32_dll.h"

namespace {

using Calls = std::vector<std::string>;

/// Keeps a record of what the base class asks of it.
class CRecordingDll : public CDynamicDll {
 public:
  ~CRecordingDll() override { Unload(); }
  Calls m_calls;
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

TEST(DynamicDll, LoadsBindsAndUnloads) {
  CRecordingDll dll;
  EXPECT_EQ(dll.GetModule(), nullptr);
  EXPECT_EQ(dll.Load(L"version.dll"), 0u);
  EXPECT_EQ(dll.GetModule(), GetModuleHandleW(L"version.dll"));
  EXPECT_EQ(dll.m_bound, dll.GetModule());
  dll.Unload();
  dll.Unload();
  EXPECT_EQ(dll.m_calls, (Calls{"release", "bind", "release", "release"}));
}

TEST(DynamicDll, FailedLoadKeepsWhatIsHeld) {
  CRecordingDll dll;
  for (const bool holds : {false, true}) {
    EXPECT_TRUE(!holds || dll.Load(L"version.dll") == 0);
    const HMODULE held = dll.GetModule();
    dll.m_calls.clear();
    EXPECT_EQ(dll.Load(L"no such library.dll"), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(dll.GetError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(dll.GetModule(), held);
    EXPECT_TRUE(dll.m_calls.empty());
  }
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

TEST(DynamicDll, EveryLoadIsFreedOnce) {
  std::vector<std::tuple<HMODULE>> loaded;
  const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW", [&](LPCWSTR name) {
    loaded.emplace_back(load.CallOriginal(name));
    return std::get<0>(loaded.back());
  });
  const CImportSpy<&FreeLibrary> free("kernel32.dll", "FreeLibrary");
  {
    CRecordingDll dll;
    dll.Load(L"version.dll");
    dll.Load(L"winmm.dll");
    EXPECT_EQ(free.Calls().size(), 1u);
    dll.Unload();
    dll.Unload();
    const CAdvapi32Dll advapi;
    CDynamicDll plain;
    plain.Load(L"version.dll");
    EXPECT_EQ(free.Calls().size(), 2u);
  }
  EXPECT_EQ(loaded.size(), 4u);
  EXPECT_THAT(free.Calls(), testing::UnorderedElementsAreArray(loaded));
}

/// The ten functions, by their addresses.
std::vector<size_t> PlacesOf(const CAdvapi32Dll& dll) {
  const auto place = [](auto... functions) {
    return std::vector{reinterpret_cast<size_t>(functions)...};
  };
  return place(dll.m_ChangeServiceConfig2A, dll.m_ChangeServiceConfig2W,
               dll.m_RegisterServiceCtrlHandlerExA, dll.m_RegisterServiceCtrlHandlerExW,
               dll.m_CreateProcessAsUserA, dll.m_CreateProcessAsUserW,
               dll.m_ImpersonateLoggedOnUser, dll.m_OpenProcessToken, dll.m_RevertToSelf,
               dll.m_CheckTokenMembership);
}

const std::vector<size_t> kNothing(10, 0);

TEST(Advapi32Dll, FindsAllFunctionsOfTheSystem) {
  const CAdvapi32Dll dll;
  EXPECT_EQ(dll.GetError(), 0u);
  EXPECT_EQ(dll.GetModule(), GetModuleHandleW(L"advapi32.dll"));
  EXPECT_THAT(PlacesOf(dll), testing::Each(testing::Ne(0u)));
}

TEST(Advapi32Dll, BindsInOrderAndGoesOnWhereOneIsMissing) {
  Calls names;
  const CImportSpy<&GetProcAddress> find(
      "kernel32.dll", "GetProcAddress", [&](HMODULE module, LPCSTR name) {
        EXPECT_EQ(module, GetModuleHandleW(L"advapi32.dll"));
        names.emplace_back(name);
        // An old system without one of them.
        return names.back() == "CreateProcessAsUserA" ? nullptr
                                                      : reinterpret_cast<FARPROC>(names.size());
      });
  CAdvapi32Dll dll;
  EXPECT_EQ(names, (Calls{"ChangeServiceConfig2A", "ChangeServiceConfig2W",
                          "RegisterServiceCtrlHandlerExA", "RegisterServiceCtrlHandlerExW",
                          "CreateProcessAsUserA", "CreateProcessAsUserW", "ImpersonateLoggedOnUser",
                          "OpenProcessToken", "RevertToSelf", "CheckTokenMembership"}));
  EXPECT_EQ(PlacesOf(dll), (std::vector<size_t>{1, 2, 3, 4, 0, 6, 7, 8, 9, 10}));
  dll.Unload();
  EXPECT_EQ(PlacesOf(dll), kNothing);
}

TEST(Advapi32Dll, MissingLibraryIsNoError) {
  const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW", [](LPCWSTR name) {
    EXPECT_STREQ(name, L"Advapi32.dll");
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  });
  const CAdvapi32Dll dll;
  EXPECT_EQ(dll.GetModule(), nullptr);
  EXPECT_EQ(dll.GetError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(PlacesOf(dll), kNothing);
}

}  // namespace
