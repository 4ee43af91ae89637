#include "tests/download/download_fixture.h"

#include <vector>

#include "tests/support/http_pattern.h"
#include "tests/support/test_module.h"
#include "tests/support/user.h"

namespace {

CTestModule g_module;

constexpr uint64_t kSeed = 20;

}  // namespace

std::vector<WPARAM> TakePostedResults() {
  std::vector<WPARAM> results;
  const auto threadMessages = reinterpret_cast<HWND>(static_cast<INT_PTR>(-1));
  MSG message = {};
  while (PeekMessageW(&message, threadMessages, WM_USER, WM_USER, PM_REMOVE)) {
    results.push_back(message.wParam);
  }
  return results;
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

std::string LessonBytes(size_t length) { return kQdkHead + PatternBytes(kSeed, 0, length); }

HttpAnswer Lesson(size_t length) { return HttpAnswer().Bytes(kQdkHead).Pattern(kSeed, length); }
