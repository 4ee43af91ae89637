// Archives that are no addresses: local and network paths.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/support/import_spy.h"

namespace {

using Lines = CDialogTrace::Lines;

class CollectionSource : public CollectionTest {
 protected:
  /// Runs the first stage: its first lines are always the same, and `rest` follows them.
  void Expect(const std::wstring& source, bool succeeds, const Lines& rest) {
    COpenDialog dialog = Open(source);
    m_trace.Take();
    EXPECT_EQ(dialog->DownloadArchive(), succeeds);
    Lines lines = {Title(L"Downloading Folivo Collections..."), Subtitle(L""), Bar(0), Bar(50),
                   Pause(700)};
    lines.insert(lines.end(), rest.begin(), rest.end());
    EXPECT_EQ(m_trace.Take(), lines);
    EXPECT_TRUE(m_winInet.sessions.empty());
  }

  CDialogTrace m_trace;
  CWinInetRecorder m_winInet;
};

TEST_F(CollectionSource, MissingFileIsReported) {
  for (const std::wstring& source :
       {m_sandbox / L"missing.zip", std::wstring(), std::wstring(L"www.folivo-collections.example"),
        std::wstring(L" http://folivo-collections.example/a.zip")}) {
    Expect(source, false, {Message(kMissing), End(3)});
  }
}

TEST_F(CollectionSource, FreshCopyCountsAsFailure) {
  const std::wstring source = m_sandbox.Write(L"source.zip", "new");
  Expect(source, false,
         {Message(L"Unable to write to the destination file " + ZipPath() + L"."),
          Delete(L"download.zip"), End(3)});
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"source.zip"});
}

TEST_F(CollectionSource, FailedCopyGoesOnWithTheOldArchive) {
  const std::wstring source = m_sandbox.Write(L"source.zip", "new");
  m_sandbox.Write(L"download.zip", "old");
  Expect(source, true, {Bar(100)});
  EXPECT_EQ(ReadFileBytes(ZipPath()), "old");
  DeleteFileW(ZipPath().c_str());
  const std::wstring folder = m_sandbox / L"folder";  // which exists, but cannot be copied
  CreateDirectoryW(folder.c_str(), nullptr);
  Expect(folder, true, {Bar(100)});
  EXPECT_FALSE(ArchiveExists());
}

}  // namespace
