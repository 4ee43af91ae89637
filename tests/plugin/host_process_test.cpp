#include "plugin/host_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/plugin/host_program.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/import_patch.h"

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

std::wstring g_hostPath;
DWORD WINAPI AnswerHostPath(HMODULE module, LPWSTR path, DWORD size) {
  EXPECT_EQ(module, nullptr) << "the host program's";
  EXPECT_EQ(size, 260u);
  // A path that does not fit is cut, without a terminator.
  const size_t length = std::min<size_t>(g_hostPath.size(), size);
  std::copy_n(g_hostPath.c_str(), length, path);
  return static_cast<DWORD>(length);
}

TEST(HostProcess, PathOfTheHostIsLookedAt) {
  const CImportPatch patch("kernel32.dll", "GetModuleFileNameW", &AnswerHostPath);
  g_hostPath = L"C:\\Windows\\Explorer.EXE";
  EXPECT_TRUE(IsRefusedHostProcess());
  g_hostPath = L"C:\\" + std::wstring(245, L'd') + L"\\explorer.exe";
  ASSERT_EQ(g_hostPath.size(), 261u);
  EXPECT_FALSE(IsRefusedHostProcess());
  g_hostPath.erase(3, 1);
  EXPECT_TRUE(IsRefusedHostProcess());
  g_hostPath.clear();
  EXPECT_FALSE(IsRefusedHostProcess()) << "a path that cannot be had is no shell's";
}

TEST(HostProcess, ThisOneIsNot) { EXPECT_FALSE(IsRefusedHostProcess()); }

TEST(HostProcess, DllDoesNotLoadIntoTheShell) {
  EXPECT_EQ(LoadErrorIn(L"explorer.exe"), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
  EXPECT_EQ(LoadErrorIn(L"MyExplorer.EXE"), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
  EXPECT_EQ(LoadErrorIn(L"explorer.exe.d\\host.exe"), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
}

TEST(HostProcess, DllLoadsIntoTheBrowser) {
  EXPECT_EQ(LoadErrorIn(L"Internet Explorer\\iexplore.exe"), static_cast<DWORD>(ERROR_SUCCESS));
  EXPECT_EQ(LoadErrorIn(L"explorer2.exe"), static_cast<DWORD>(ERROR_SUCCESS));
}

}  // namespace
