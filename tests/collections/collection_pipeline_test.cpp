// Whole runs of the dialog, from its first timer tick to its end.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/collections/wininet_recorder.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/stored_zip.h"

namespace {

using Lines = CDialogTrace::Lines;

class CollectionPipeline : public CollectionTest {
 protected:
  static std::string Archive() {
    return CStoredZip()
        .Add("a.qdc", "lesson")
        .Add("manifest.xml", "<a><DownloadedFile Filename='a.qdc' Destination='x'/></a>")
        .Bytes();
  }
  /// A source that exists, beside the archive of an earlier run.
  std::wstring LocalSource(const std::string& oldArchive) const {
    m_sandbox.Write(L"download.zip", oldArchive);
    return m_sandbox.Write(L"source.zip", "never read");
  }
  void Run(const std::wstring& source) const {
    CZipProgressDialog dialog(source.c_str(), ZipPath().c_str(), ContentFolder().c_str());
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
  }
  /// The lines of a run, whose first and last ones are always the same.
  static Lines Expected(const std::vector<Lines>& parts) {
    const Lines downloading = {Title(L"Downloading Folivo Collections..."), Subtitle(L"")};
    Lines all = downloading;  // while the dialog opens
    all.insert(all.end(), downloading.begin(), downloading.end());
    for (const Lines& part : parts) {
      all.insert(all.end(), part.begin(), part.end());
    }
    all.insert(all.end(), {Message(kCannotUnzip), Delete(L"download.zip"), End(3)});
    return all;
  }

  const Lines m_copied = {Bar(0), Bar(50), Pause(700), Bar(100)};
  const Lines m_retrieving = {Title(L"Retrieving downloaded collections to unzip..."),
                              Subtitle(L""),
                              Bar(0),
                              Pause(100),
                              Bar(25),
                              Pause(100)};
  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
  CDialogTrace m_trace;
};

TEST_F(CollectionPipeline, LocalRunEndsBehindTheManifest) {
  Run(LocalSource(Archive()));
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  EXPECT_EQ(m_trace.Take(), Expected({m_copied,
                                      m_retrieving,
                                      {Bar(75), Pause(100), Bar(100), Pause(100)},
                                      {title, Subtitle(L""), Bar(0)},
                                      {title, Subtitle(L"a.qdc"), Bar(33), Pause(700)},
                                      {Bar(66), Pause(700), Bar(100)}}));
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"source.zip"});
}

TEST_F(CollectionPipeline, NetworkRunEndsAtTheArchiveThatItHoldsOpen) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()).CloseDelimited());
  Run(TrustedUrl(path));
  EXPECT_EQ(
      m_trace.Take(),
      Expected({{Bar(0), Pause(100), Bar(0), Pause(100), Pause(700), Bar(100)}, m_retrieving}));
  EXPECT_TRUE(m_sandbox.Files().empty());
}

TEST_F(CollectionPipeline, FileThatIsNoArchiveEndsAtTheListing) {
  Run(LocalSource("no archive"));
  EXPECT_EQ(m_trace.Take(), Expected({m_copied, m_retrieving}));
}

}  // namespace
