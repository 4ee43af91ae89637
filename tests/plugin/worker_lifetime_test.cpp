// A cancelled download does not wait for the network: its worker may still be there when the
// browser has let go of everything. The module must outlast it.

#include <exdispid.h>
#include <gtest/gtest.h>
#include <ocidl.h>

#include "folivo_plugin_h.h"
#include "tests/browser/navigation_event.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/http_server.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

namespace {

bool IsPluginLoaded() { return GetModuleHandleW(L"FolivoPlugin.dll") != nullptr; }

TEST(WorkerLifetime, ModuleStaysUntilTheWorkerHasEndedEvenWhenItIsFreed) {
  const CTempSandbox sandbox;
  const HttpTestServer server;
  const ScriptedPath path(server, HttpAnswer().Bytes("PK\x03\x04").Pattern(1, 300000).Gated());
  path.AllowUpTo(2000);
  CPluginLibrary library;
  {
    const auto helper = library.Create<IDispatch>(CLSID_CIEDownload);
    const CParallel user([] {
      const HWND prompt = WaitForDialog(kPromptTitle);
      // As if the browser asked, not this module.
      EXPECT_EQ(GetWindowLongPtrW(prompt, GWLP_HINSTANCE),
                reinterpret_cast<LONG_PTR>(GetModuleHandleW(nullptr)));
      Click(prompt, kOpenButton);
      Click(WaitForDialog(kDownloadTitle), IDCANCEL);
    });
    CNavigationEvent event(path.Url(L"a.folivo"));
    EXPECT_EQ(helper->Invoke(DISPID_BEFORENAVIGATE2, IID_NULL, LOCALE_SYSTEM_DEFAULT,
                             DISPATCH_METHOD, event.Params(), nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_TRUE(event.Cancelled());
  }
  EXPECT_EQ(library.CanUnloadNow(), S_FALSE);
  library.Free();
  EXPECT_TRUE(IsPluginLoaded());
  path.AllowAll();
  EXPECT_TRUE(WaitUntil("the module to go", [] { return !IsPluginLoaded(); }));
  EXPECT_TRUE(sandbox.Files().empty());
}

}  // namespace
