#include "tests/faults/archive_faults.h"

#include "tests/support/http_pattern.h"

namespace {

constexpr uint64_t kSeed = 30;

}  // namespace

std::string ArchiveFaults::BodyBytes(size_t size) { return PatternBytes(kSeed, 0, size); }

HttpAnswer ArchiveFaults::Body(size_t size) { return HttpAnswer().Pattern(kSeed, size); }

CTransferOutcome ArchiveFaults::Download(bool, const std::wstring& url, const CTransferFault&) {
  CTransferOutcome outcome = DownloadTo(url, L"download.zip");
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
  return outcome;
}

CTransferOutcome ArchiveFaults::DownloadTo(const std::wstring& url, const std::wstring& file) {
  m_winInet.errorDialogAnswers = {ERROR_SUCCESS};  // as when the user cancels it
  m_deleted.reset();
  CZipProgressDialog dialog(url.c_str(), (m_sandbox / file).c_str(), ContentFolder().c_str());
  EXPECT_EQ(CallGuardedDialog([&] { return dialog.DoModal(nullptr); }), kCollectionFailed);
  EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
  const CDialogTrace::Lines messages = TakeMessages();
  EXPECT_EQ(messages.size(), 1u);
  return {false, messages.empty() || messages[0] == kCannotUnzip ? L"" : messages[0],
          m_deleted.value_or("")};
}
