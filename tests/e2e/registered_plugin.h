#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "tests/e2e/tool_process.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/http_server.h"
#include "tests/support/temp_sandbox.h"
#include "tools/dialog_driver/polling.h"
#include "tools/dialog_driver/window_query.h"
#include "tools/support/utf8.h"

/// Waits for a dialog of whatever process with this title.
inline HWND WaitForDialog(const std::wstring& title) {
  HWND dialog = nullptr;
  EXPECT_TRUE(PollUntil(kToolTimeout, [&] {
    dialog = FindVisibleWindow({title, L"#32770", 0});
    return dialog != nullptr;
  })) << ToUtf8(title);
  return dialog;
}

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
