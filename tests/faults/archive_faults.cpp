#include "tests/faults/archive_faults.h"

#include <utility>

#include "tests/faults/quick_cut.h"
#include "tests/support/http_pattern.h"

namespace {

constexpr uint64_t kSeed = 30;

decltype(&DeleteFileW) g_delete;
std::optional<std::string> g_deleted;

/// Keeps what is about to go: the dialog never leaves an archive behind.
BOOL WINAPI KeepAndDelete(LPCWSTR path) {
  g_deleted = ReadFileBytes(path);
  return g_delete(path);
}

}  // namespace

std::string ArchiveBytes(size_t length) { return PatternBytes(kSeed, 0, length); }

HttpAnswer Archive(size_t length) { return HttpAnswer().Pattern(kSeed, length); }

ArchiveFaults::ArchiveFaults() : m_delete("kernel32.dll", "DeleteFileW", &KeepAndDelete) {
  g_delete = m_delete.Original<decltype(DeleteFileW)>();
}

void ArchiveFaults::RunAll(const std::vector<CArchiveFault>& all) {
  for (const CArchiveFault& fault : QuickCut(all)) {
    SCOPED_TRACE(fault.name);
    m_checks.Run([&] {
      const ScriptedPath path(m_server, fault.script);
      RunOnce(TrustedUrl(path), fault);
    });
  }
}

void ArchiveFaults::RunAddress(const std::wstring& url, const CArchiveFault& fault) {
  SCOPED_TRACE(fault.name);
  m_checks.Run([&] { RunOnce(url, fault); });
}

ArchiveFaults::CRun ArchiveFaults::RunDialogOnce(const std::wstring& url,
                                                 const std::wstring& zipPath) {
  m_winInet.errorDialogAnswers = {ERROR_SUCCESS};  // as when the user cancels it
  g_deleted.reset();
  CZipProgressDialog dialog(url.c_str(), zipPath.c_str(), ContentFolder().c_str());
  EXPECT_EQ(CallGuardedDialog([&] { return dialog.DoModal(nullptr); }), 3);
  const CDialogTrace::Lines messages = TakeMessages();
  EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
  EXPECT_EQ(messages.size(), 1u);
  return {messages.empty() ? L"" : messages[0], g_deleted.value_or("")};
}

void ArchiveFaults::RunOnce(const std::wstring& url, const CArchiveFault& fault) {
  const auto [message, archive] = RunDialogOnce(url, ZipPath());
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
  switch (fault.end) {
    case ArchiveEnd::kTransferred:
      EXPECT_EQ(message, kCannotUnzip);
      EXPECT_EQ(archive.size(), fault.bytes.size());
      EXPECT_TRUE(archive == fault.bytes) << "other bytes";
      break;
    case ArchiveEnd::kTorn:
      EXPECT_EQ(message, kCannotUnzip);
      EXPECT_TRUE(fault.bytes.starts_with(archive)) << "other bytes";
      break;
    case ArchiveEnd::kUnavailable:
      EXPECT_EQ(message, kUnavailable);
      EXPECT_TRUE(fault.bytes.starts_with(archive)) << "other bytes";
      break;
    case ArchiveEnd::kNotValid:
      EXPECT_EQ(message, kNotValid);
      EXPECT_EQ(archive, "");
      break;
    case ArchiveEnd::kTornOrUnavailable:
      EXPECT_TRUE(message == kCannotUnzip || message == kUnavailable);
      EXPECT_TRUE(fault.bytes.starts_with(archive)) << "other bytes";
      break;
  }
}
