#include "tests/download/download_fixture.h"

#include <vector>

#include "tests/support/dialogs.h"
#include "tests/support/http_pattern.h"
#include "tests/support/parallel.h"
#include "tests/support/test_module.h"
#include "tests/support/user.h"

namespace {

CTestModule g_module;

constexpr uint64_t kSeed = 20;

}  // namespace

std::wstring NotAvailable(const std::wstring& url) {
  return L"The file " + url + L" is not available for downloading.";
}

std::wstring NotAFolivoFile(const std::wstring& url) {
  return L"The file " + url +
         L" is not a valid Folivo file. Please ensure that the link to the "
         L"Folivo file is valid.";
}

std::wstring CannotCreate(const std::wstring& path) {
  return L"Unable to create the destination file " + path + L".";
}

std::wstring CannotWrite(const std::wstring& path) {
  return L"Unable to write to the destination file " + path + L".";
}

std::vector<WPARAM> TakePostedResults() {
  std::vector<WPARAM> results;
  const auto threadMessages = reinterpret_cast<HWND>(static_cast<INT_PTR>(-1));
  MSG message = {};
  while (PeekMessageW(&message, threadMessages, WM_USER, WM_USER, PM_REMOVE)) {
    results.push_back(message.wParam);
  }
  return results;
}

INT_PTR RunDialog(CProgressDialog& dialog, const std::function<void(HWND window)>& user) {
  const CParallel thread([&] {
    const HWND window = WaitForDialog(kDownloadTitle);
    if (window == nullptr) {
      for (const HWND other : VisibleDialogs()) {
        PostMessageW(other, WM_COMMAND, IDCANCEL, 0);
      }
      return;
    }
    user(window);
    if (!WaitUntilGone(window)) {
      PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
    }
  });
  return dialog.DoModal(nullptr);
}

DownloadFixture::DownloadFixture() : m_locksBefore(g_module.GetLockCount()) {}

DownloadFixture::~DownloadFixture() {
  EXPECT_TRUE(VisibleDialogs().empty());
  AwaitWorkers();
}

void DownloadFixture::AwaitWorkers() const {
  WaitUntil("the workers' ends", [this] { return LocksTaken() == 0; });
}

LONG DownloadFixture::LocksTaken() const { return g_module.GetLockCount() - m_locksBefore; }

CProgressDialog::Ptr DownloadFixture::Make(const std::wstring& url, HWND browserWindow) const {
  CProgressDialog::Ptr dialog =
      CProgressDialog::Create(url.c_str(), TempPath().c_str(), browserWindow);
  dialog->SetTarget(CFilePath(DestPath().c_str()), nullptr);
  CProgressDialogPeer{*dialog}.SetExtension(L".qdk");
  return dialog;
}

std::string LessonBytes(size_t length) { return kLessonHead + PatternBytes(kSeed, 0, length); }

HttpAnswer Lesson(size_t length) { return HttpAnswer().Bytes(kLessonHead).Pattern(kSeed, length); }
