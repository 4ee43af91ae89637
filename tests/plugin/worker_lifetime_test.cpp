// A cancelled download does not wait for the network: its worker may still be there when the
// browser has let go of everything. The module must outlast it.

#include <exdispid.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include <filesystem>
#include <string>

#include "folivo_plugin_h.h"
#include "tests/browser/navigation_event.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/dialogs.h"
#include "tests/support/http_server.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

namespace {

bool IsPluginLoaded() { return GetModuleHandleW(L"FolivoPlugin.dll") != nullptr; }

class WorkerLifetime : public testing::Test {
 protected:
  WorkerLifetime() { m_path.AllowUpTo(2000); }

  /// Begins a download in the DLL's helper object, cancels it in its dialog, and lets go of the
  /// object. The worker is left in the network.
  void LeaveWorkerBehind() {
    CComPtr<IDispatch> helper;
    ASSERT_EQ(m_library.HelperFactory()->CreateInstance(nullptr, IID_IDispatch,
                                                        reinterpret_cast<void**>(&helper)),
              S_OK);
    const CParallel user([] {
      const HWND prompt = WaitForDialog(kPromptTitle);
      // As if the browser asked, not this module.
      EXPECT_EQ(GetWindowLongPtrW(prompt, GWLP_HINSTANCE),
                reinterpret_cast<LONG_PTR>(GetModuleHandleW(nullptr)));
      Click(prompt, kOpenButton);
      Click(WaitForDialog(kDownloadTitle), IDCANCEL);
    });
    CNavigationEvent event(m_path.Url(L"a.folivo"));
    EXPECT_EQ(helper->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT,
                             DISPATCH_METHOD, event.Params(), nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_TRUE(event.Cancelled());
  }

  const CTempSandbox m_sandbox;
  const HttpTestServer m_server;
  const ScriptedPath m_path{m_server, HttpAnswer().Bytes("PK\x03\x04").Pattern(1, 300000).Gated()};
  CPluginLibrary m_library;
};

TEST_F(WorkerLifetime, ModuleIsInUseUntilTheWorkerHasEnded) {
  LeaveWorkerBehind();
  EXPECT_EQ(m_library.CanUnloadNow(), S_FALSE);
  m_path.AllowAll();
  EXPECT_TRUE(WaitUntil("the worker to end", [&] { return m_library.CanUnloadNow() == S_OK; }));
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(WorkerLifetime, ModuleFreedByTheBrowserStaysUntilTheWorkerHasEnded) {
  LeaveWorkerBehind();
  m_library.Free();
  EXPECT_TRUE(IsPluginLoaded());
  m_path.AllowAll();
  EXPECT_TRUE(WaitUntil("the module to go", [] { return !IsPluginLoaded(); }));
  EXPECT_TRUE(m_sandbox.Files().empty());
}

}  // namespace
