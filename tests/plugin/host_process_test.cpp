#include "plugin/host_process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/plugin/plugin_dll.h"
#include "tests/support/temp_sandbox.h"

namespace fs = std::filesystem;

namespace {

/// Runs a copy of the loading host under another name and gives its exit code.
DWORD LoadInHostNamed(const std::wstring& name) {
  const CTempSandbox sandbox;
  const fs::path host = fs::path(sandbox.Path()) / name;
  fs::create_directories(host.parent_path());
  fs::copy_file(ProgramBeside(L"loading_host.exe"), host);
  std::wstring command = L"\"" + host.wstring() + L"\" \"" + PluginDllPath() + L"\"";

  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process)) {
    ADD_FAILURE() << "cannot start the host: " << GetLastError();
    return MAXDWORD;
  }
  EXPECT_EQ(WaitForSingleObject(process.hProcess, 60000), WAIT_OBJECT_0);
  DWORD code = MAXDWORD;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return code;
}

constexpr DWORD kLoaded = 0;
constexpr DWORD kRefused = 10;

TEST(HostProcess, TheShellNeverLoadsTheModule) {
  EXPECT_EQ(LoadInHostNamed(L"explorer.exe"), kRefused);
}

TEST(HostProcess, CaseOfTheNameDoesNotMatter) {
  EXPECT_EQ(LoadInHostNamed(L"EXPLORER.EXE"), kRefused);
}

TEST(HostProcess, NameAnywhereInThePathRefuses) {
  EXPECT_EQ(LoadInHostNamed(L"myexplorer.exe"), kRefused);
  EXPECT_EQ(LoadInHostNamed(L"explorer.exe.d\\host.exe"), kRefused);
}

TEST(HostProcess, TheBrowserLoadsTheModule) {
  EXPECT_EQ(LoadInHostNamed(L"iexplore.exe"), kLoaded);
}

TEST(HostProcess, RefusesByTheWholePathWithoutOverrunningIt) {
  EXPECT_TRUE(IsRefusedHost(L"C:\\Windows\\explorer.exe"));
  EXPECT_TRUE(IsRefusedHost(L"C:\\WINDOWS\\Explorer.EXE"));
  EXPECT_FALSE(IsRefusedHost(L"C:\\Program Files\\Internet Explorer\\iexplore.exe"));
  EXPECT_FALSE(IsRefusedHost(L"C:\\explorer\\host.exe"));
  EXPECT_FALSE(IsRefusedHost(L""));
  EXPECT_FALSE(IsRefusedHost(std::wstring(40000, L'a').c_str()));
}

}  // namespace
