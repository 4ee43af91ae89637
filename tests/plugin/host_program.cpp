#include "tests/plugin/host_program.h"

#include <atlbase.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/temp_sandbox.h"

namespace {

constexpr DWORD kHostLimitMs = 60000;

}  // namespace

std::wstring BuiltHostPath() {
  wchar_t path[1024] = {};
  EXPECT_NE(GetEnvironmentVariableW(L"FOLIVO_PLUGIN_HOST", path, ARRAYSIZE(path)), 0u);
  return path;
}

DWORD RunHost(const std::wstring& hostName, const std::wstring& library,
              const std::wstring& version) {
  const CTempSandbox sandbox;
  const std::filesystem::path host = sandbox / hostName;
  std::filesystem::create_directories(host.parent_path());
  std::filesystem::copy_file(BuiltHostPath(), host);
  std::wstring commandLine = L"\"" + host.wstring() + L"\" \"" + library + L"\"";
  if (!version.empty()) {
    commandLine += L" " + version;
  }
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  EXPECT_TRUE(CreateProcessW(host.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             nullptr, &startup, &process));
  const CHandle handle(process.hProcess);
  const CHandle thread(process.hThread);
  if (WaitForSingleObject(handle, kHostLimitMs) != WAIT_OBJECT_0) {
    TerminateProcess(handle, STILL_ACTIVE);
  }
  DWORD error = STILL_ACTIVE;
  GetExitCodeProcess(handle, &error);
  return error;
}
