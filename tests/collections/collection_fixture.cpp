#include "tests/collections/collection_fixture.h"

#include "tests/support/dialogs.h"
#include "tests/support/parallel.h"
#include "tests/support/test_module.h"

namespace {

CTestModule g_module;

}  // namespace

INT_PTR RunDialog(CZipProgressDialog& dialog, const std::function<void(HWND window)>& user) {
  const CParallel thread([&] {
    const HWND window = WaitForDialog(kCollectionTitle);
    if (window == nullptr) {
      return;
    }
    user(window);
    if (!WaitUntilGone(window)) {
      for (const HWND dialog : VisibleDialogs()) {
        PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
      }
    }
  });
  return dialog.DoModal(nullptr);
}

std::wstring CollectionFixture::TrustedUrl(const ScriptedPath& path, const std::wstring& host) {
  std::wstring url = path.Url(L"collections.zip");
  const std::wstring address = L"127.0.0.1";
  return url.replace(url.find(address), address.size(), host);
}
