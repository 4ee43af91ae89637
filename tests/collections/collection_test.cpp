#include "tests/collections/collection_test.h"

#include "tests/support/dialogs.h"
#include "tests/support/parallel.h"
#include "tests/support/test_module.h"
#include "tests/support/user.h"

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

CollectionTest::~CollectionTest() { EXPECT_TRUE(VisibleDialogs().empty()); }

std::wstring CollectionTest::TrustedUrl(const ScriptedPath& path, const std::wstring& host) {
  std::wstring url = path.Url(L"collections.zip");
  const std::wstring address = L"127.0.0.1";
  return url.replace(url.find(address), address.size(), host);
}

bool CollectionTest::Exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

COpenDialog::COpenDialog(const std::wstring& source, const std::wstring& zipPath,
                         const std::wstring& contentFolder)
    : m_dialog(source.c_str(), zipPath.c_str(), contentFolder.c_str()), m_peer{m_dialog} {
  EXPECT_NE(m_dialog.Create(nullptr), nullptr);
  ShowWindow(m_dialog, SW_SHOW);
  m_peer.Begin();
}

COpenDialog::~COpenDialog() {
  if (m_dialog.IsWindow()) {
    m_dialog.DestroyWindow();
  }
}
