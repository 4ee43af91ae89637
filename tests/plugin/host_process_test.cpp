#include "plugin/host_process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/plugin/plugin_library.h"
#include "tests/support/temp_sandbox.h"

namespace {

constexpr DWORD kHostLimitMs = 30000;

/// Runs the host program under another name and gives the error with which the DLL loads there.
DWORD LoadErrorIn(const std::wstring& hostName) {
  const CTempSandbox sandbox;
  const std::filesystem::path host = sandbox / hostName;
  std::filesystem::create_directories(host.parent_path());
  wchar_t built[1024] = {};
  GetEnvironmentVariableW(L"FOLIVO_PLUGIN_HOST", built, ARRAYSIZE(built));
  std::filesystem::copy_file(built, host);
  std::wstring commandLine =
      L"\"" + host.wstring() + L"\" \"" + CPluginLibrary::BuiltPath() + L"\"";
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  EXPECT_TRUE(CreateProcessW(host.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             nullptr, &startup, &process));
  CHandle handle(process.hProcess);
  CHandle thread(process.hThread);
  if (WaitForSingleObject(handle, kHostLimitMs) != WAIT_OBJECT_0) {
    TerminateProcess(handle, STILL_ACTIVE);
  }
  DWORD error = STILL_ACTIVE;
  GetExitCodeProcess(handle, &error);
  return error;
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
