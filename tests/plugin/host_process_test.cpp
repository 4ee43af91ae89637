#include "plugin/host_process.h"

#include <gtest/gtest.h>
#include <process.h>

#include <filesystem>
#include <string>
#include <utility>

#include "tests/plugin/plugin_library.h"
#include "tests/support/import_spy.h"
#include "tests/support/temp_sandbox.h"

namespace {

/// The error with which the DLL loads into a copy of the host program under this name.
DWORD LoadErrorIn(const std::wstring& hostName) {
  wchar_t built[1024] = {};
  EXPECT_NE(GetEnvironmentVariableW(L"FOLIVO_PLUGIN_HOST", built, ARRAYSIZE(built)), 0u);
  const CTempSandbox sandbox;
  const std::filesystem::path host = sandbox / hostName;
  std::filesystem::create_directories(host.parent_path());
  std::filesystem::copy_file(built, host);
  const std::wstring library = L"\"" + CPluginLibrary::BuiltPath() + L"\"";
  return static_cast<DWORD>(_wspawnl(_P_WAIT, host.c_str(), L"host", library.c_str(), nullptr));
}

TEST(HostProcess, ShellIsRefusedAnywhereInThePathInAnyCase) {
  const std::wstring shell = L"explorer.exe";
  const std::wstring filling(260 - shell.size(), L'x');
  const std::pair<std::wstring, bool> rows[] = {
      {L"C:\\WINDOWS\\EXPLORER.EXE", true},
      {L"C:\\myExplorer.exe", true},
      {L"C:\\explorer.exe.d\\host.exe", true},
      {shell, true},
      {L"", false},
      {L"C:\\Program Files\\Internet Explorer\\iexplore.exe", false},
      {L"C:\\explorer\\host.exe", false},
      {L"C:\\explorer2.exe", false},
      {L"C:\\explorer.com", false},
      {filling + shell, true},  // only the first 260 characters count
      {filling + shell + L"yyy", true},
      {filling + L"x" + shell, false}};
  for (const auto& [host, isRefused] : rows) {
    EXPECT_EQ(IsRefusedHost(host.c_str()), isRefused) << testing::PrintToString(host);
    const CImportSpy<&GetModuleFileNameW> spy("kernel32.dll", "GetModuleFileNameW",
                                              [&](HMODULE module, LPWSTR path, DWORD size) {
                                                EXPECT_EQ(module, nullptr) << "the host program's";
                                                EXPECT_EQ(size, 260u);
                                                // A path that does not fit is cut, without a
                                                // terminator.
                                                return static_cast<DWORD>(host.copy(path, size));
                                              });
    EXPECT_EQ(IsRefusedHostProcess(), isRefused) << testing::PrintToString(host);
  }
  EXPECT_FALSE(IsRefusedHostProcess()) << "this program";
}

TEST(HostProcess, DllDoesNotLoadIntoTheShell) {
  EXPECT_EQ(LoadErrorIn(L"MyExplorer.EXE"), DWORD{ERROR_DLL_INIT_FAILED});
  EXPECT_EQ(LoadErrorIn(L"Internet Explorer\\iexplore.exe"), DWORD{ERROR_SUCCESS});
}

}  // namespace
