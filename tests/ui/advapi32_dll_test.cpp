#include "ui/advapi32_dll.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/import_spy.h"

namespace {

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

TEST(Advapi32Dll, FindsAllFunctionsOfTheSystem) {
  CAdvapi32Dll dll;
  EXPECT_EQ(dll.GetModule(), GetModuleHandleW(L"advapi32.dll"));
  EXPECT_THAT(PlacesOf(dll), testing::Each(testing::Ne(0u)));
  dll.Unload();
  EXPECT_THAT(PlacesOf(dll), testing::Each(0u));
}

TEST(Advapi32Dll, BindsInOrderAndGoesOnWhereOneIsMissing) {
  std::vector<std::string> names;
  const CImportSpy<&GetProcAddress> find(
      "kernel32.dll", "GetProcAddress", [&](HMODULE module, LPCSTR name) {
        EXPECT_EQ(module, GetModuleHandleW(L"advapi32.dll"));
        names.emplace_back(name);
        // An old system without one of them.
        return names.back() == "CreateProcessAsUserA" ? nullptr
                                                      : reinterpret_cast<FARPROC>(names.size());
      });
  const CAdvapi32Dll dll;
  EXPECT_EQ(names, (std::vector<std::string>{
                       "ChangeServiceConfig2A", "ChangeServiceConfig2W",
                       "RegisterServiceCtrlHandlerExA", "RegisterServiceCtrlHandlerExW",
                       "CreateProcessAsUserA", "CreateProcessAsUserW", "ImpersonateLoggedOnUser",
                       "OpenProcessToken", "RevertToSelf", "CheckTokenMembership"}));
  EXPECT_EQ(PlacesOf(dll), (std::vector<size_t>{1, 2, 3, 4, 0, 6, 7, 8, 9, 10}));
}

}  // namespace
