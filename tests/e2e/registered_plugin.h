#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "tests/e2e/tool_process.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/http_server.h"
#include "tests/support/temp_sandbox.h"

/// The built DLL, registered by the system's regsvr32 while a suite's tests run.
class CRegisteredPluginTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_EQ(RunRegsvr32(L"/s"), 0u); }
  static void TearDownTestSuite() { EXPECT_EQ(RunRegsvr32(L"/s /u"), 0u); }

  const CTempSandbox m_sandbox;  // before other processes, which inherit its folders
  const HttpTestServer m_server;

 private:
  static DWORD RunRegsvr32(const std::wstring& options) {
    wchar_t system[MAX_PATH] = {};
    GetSystemDirectoryW(system, MAX_PATH);
    CToolProcess process(std::wstring(system) + L"\\regsvr32.exe",
                         options + L" \"" + CPluginLibrary::BuiltPath() + L"\"");
    return process.WaitForExit();
  }
};
