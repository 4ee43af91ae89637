// Archives that are no addresses: local and network paths.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/import_patch.h"

namespace {

using Lines = CDialogTrace::Lines;

class CollectionSource : public CollectionTest {
 protected:
  bool Download(const std::wstring& source) {
    COpenDialog dialog(source, ZipPath(), ContentFolder());
    m_trace.Take();
    return dialog->DownloadArchive();
  }

  const Lines m_begin = {Title(L"Downloading Folivo Collections..."), Subtitle(L""), Bar(0),
                         Bar(50), Pause(700)};

  Lines BeginAnd(const Lines& rest) const {
    Lines lines = m_begin;
    lines.insert(lines.end(), rest.begin(), rest.end());
    return lines;
  }

  CDialogTrace m_trace;
};

TEST_F(CollectionSource, MissingFileIsReported) {
  for (const std::wstring& source :
       {m_sandbox / L"missing.zip", std::wstring(), std::wstring(L"www.folivo-collections.example"),
        std::wstring(L" http://folivo-collections.example/a.zip")}) {
    EXPECT_FALSE(Download(source));
    EXPECT_EQ(m_trace.Take(), BeginAnd({Message(kMissing), End(3)}));
  }
}

TEST_F(CollectionSource, FreshCopyCountsAsFailure) {
  const std::wstring source = m_sandbox.Write(L"source.zip", "new");
  EXPECT_FALSE(Download(source));
  EXPECT_EQ(m_trace.Take(),
            BeginAnd({Message(L"Unable to write to the destination file " + ZipPath() + L"."),
                      Delete(L"download.zip"), End(3)}));
  EXPECT_FALSE(ArchiveExists());
  EXPECT_EQ(ReadFileBytes(source), "new");
}

TEST_F(CollectionSource, OldArchiveGoesOn) {
  const std::wstring source = m_sandbox.Write(L"source.zip", "new");
  m_sandbox.Write(L"download.zip", "old");
  EXPECT_TRUE(Download(source));
  EXPECT_EQ(m_trace.Take(), BeginAnd({Bar(100)}));
  EXPECT_EQ(ReadFileBytes(ZipPath()), "old");
}

TEST_F(CollectionSource, AnyFailedCopyGoesOn) {
  const std::wstring folder = m_sandbox / L"folder";
  CreateDirectoryW(folder.c_str(), nullptr);
  EXPECT_TRUE(Download(folder)) << "a folder exists, but cannot be copied";
  EXPECT_EQ(m_trace.Take(), BeginAnd({Bar(100)}));
  EXPECT_FALSE(ArchiveExists());
}

TEST_F(CollectionSource, NeitherNetworkNorTrustMatters) {
  const CWinInetRecorder winInet;
  m_sandbox.Write(L"download.zip", "old");
  EXPECT_TRUE(Download(m_sandbox.Write(L"source.zip", "new")));
  EXPECT_TRUE(winInet.sessions.empty());
}

struct CCopy {
  std::wstring source;
  std::wstring target;
  BOOL failIfExists;
};
CCopy g_copy;

TEST_F(CollectionSource, CopyNeverReplaces) {
  const std::wstring source = m_sandbox.Write(L"source.zip", "new");
  const CImportPatch patch(
      "kernel32.dll", "CopyFileW", +[](LPCWSTR from, LPCWSTR to, BOOL failIfExists) -> BOOL {
        g_copy = {from, to, failIfExists};
        return FALSE;
      });
  EXPECT_TRUE(Download(source));
  EXPECT_EQ(g_copy.source, source);
  EXPECT_EQ(g_copy.target, ZipPath());
  EXPECT_EQ(g_copy.failIfExists, TRUE);
}

}  // namespace
