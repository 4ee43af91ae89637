#include "plugin/host_process.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/plugin/host_program.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/import_spy.h"

namespace {

/// Gives the error with which the DLL loads into a host program of this name.
DWORD LoadErrorIn(const std::wstring& hostName) {
  return RunHost(hostName, CPluginLibrary::BuiltPath());
}

TEST(HostProcess, ShellIsRefusedAnywhereInThePathInAnyCase) {
  for (const LPCWSTR path :
       {L"C:\\windows\\explorer.exe", L"C:\\WINDOWS\\EXPLORER.EXE", L"C:\\myExplorer.exe",
        L"C:\\explorer.exe.d\\host.exe", L"explorer.exe", L"C:\\explorer.exe.bak"}) {
    EXPECT_TRUE(IsRefusedHost(path));
  }
}

TEST(HostProcess, OthersAreNot) {
  for (const LPCWSTR path :
       {L"", L"C:\\Program Files\\Internet Explorer\\iexplore.exe", L"C:\\windows\\explorer",
        L"C:\\explorer\\host.exe", L"C:\\explorer2.exe", L"C:\\explorer.com"}) {
    EXPECT_FALSE(IsRefusedHost(path));
  }
}

TEST(HostProcess, OnlyTheFirst260CharactersCount) {
  const std::wstring shell = L"explorer.exe";
  const std::wstring filling(260 - shell.size(), L'x');
  EXPECT_TRUE(IsRefusedHost((filling + shell).c_str()));
  EXPECT_TRUE(IsRefusedHost((filling + shell + L"yyy").c_str()));
  EXPECT_FALSE(IsRefusedHost((filling + L"x" + shell).c_str())) << "its last letter is cut off";
}

TEST(HostProcess, PathOfTheHostIsCompared) {
  const std::wstring longest = L"C:" + std::wstring(246, L'd') + L"explorer.exe";
  const std::pair<std::wstring, bool> cases[] = {
      {L"C:\\Windows\\Explorer.EXE", true}, {longest, true}, {L"d" + longest, false}, {L"", false}};
  for (const auto& [host, isRefused] : cases) {
    const CImportSpy<&GetModuleFileNameW> spy("kernel32.dll", "GetModuleFileNameW",
                                              [&](HMODULE module, LPWSTR path, DWORD size) {
                                                EXPECT_EQ(module, nullptr) << "the host program's";
                                                EXPECT_EQ(size, 260u);
                                                // A path that does not fit is cut, without a
                                                // terminator.
                                                return static_cast<DWORD>(host.copy(path, size));
                                              });
    EXPECT_EQ(IsRefusedHostProcess(), isRefused) << host;
  }
  EXPECT_FALSE(IsRefusedHostProcess()) << "this program";
}

TEST(HostProcess, DllDoesNotLoadIntoTheShell) {
  EXPECT_EQ(LoadErrorIn(L"MyExplorer.EXE"), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
  EXPECT_EQ(LoadErrorIn(L"Internet Explorer\\iexplore.exe"), static_cast<DWORD>(ERROR_SUCCESS));
}

}  // namespace
