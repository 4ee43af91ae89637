// The stages that read the manifest and add the collections that it names; and whole runs.

#include <gtest/gtest.h>
#include <tinyxml.h>
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/collections/collection_fixture.h"
#include "tests/collections/dialog_trace.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/http_pattern.h"
#include "tests/support/import_spy.h"
#include "tests/support/stored_zip.h"
#include "tests/support/wininet_recorder.h"

namespace {

using Lines = CDialogTrace::Lines;
using Paths = std::vector<std::wstring>;

class ZipProgressDialogStages : public CollectionFixture {
 protected:
  /// Runs the adding stage over the elements of a manifest. Returns the files that it has added.
  Paths Add(const CStoredZip& zip, const std::string& elements) {
    m_sandbox.Write(L"download.zip", zip.Bytes());
    m_dialog->ForgetAddedFiles();
    TiXmlDocument document;
    document.Parse(("<Any>" + elements + "</Any>").c_str(), nullptr, TIXML_ENCODING_LEGACY);
    m_trace.Take();
    EXPECT_EQ(m_dialog->AddCollections(document), S_OK);
    return m_dialog->AddedFiles();
  }

  static std::string Element(const std::string& name, const std::string& destination) {
    return "<DownloadedFile Filename=\"" + name + "\" Destination=\"" + destination + "\"/>";
  }

  HRESULT AddOne(const std::wstring& name, const std::wstring& folder) {
    m_output = CFilePath(L"unset");
    return m_dialog->AddCollection(name.c_str(), folder.c_str(), m_output);
  }

  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
  CDialogTrace m_trace;
  COpenDialog m_dialog{L"", ZipPath(), ContentFolder()};
  CFilePath m_output;
};

const std::wstring kUnzipping = Title(L"Unzipping Folivo Collections...");

TEST_F(ZipProgressDialogStages, FirstXmlEntryThatExtractsEndsTheScanAndTheStageFails) {
  CUnzipDouble unzip;
  std::string bytes;
  unzip->unzip = [&](LPCSTR, LPCSTR entry, auto&, UzpBuffer& buffer) {
    const std::string name = entry;
    m_trace.Add(L"extract " + std::wstring(name.begin(), name.end()));
    bytes = name == "text.xml" ? "no xml" : "<" + name + "/>";
    buffer = {static_cast<unsigned long>(bytes.size()), bytes.data()};
    return name == "broken.xml" ? 11 : 0;
  };
  const struct {
    std::vector<std::wstring> names;
    std::string root;
    Lines steps;
  } cases[] = {
      {{}, "", {}},
      {{L"xml"}, "", {kUnzipping, Subtitle(L"xml"), Bar(50), Pause(700)}},
      {{L"a.qdc", L"B.XML", L"c.xml", L"d"},
       "B.XML",
       {kUnzipping, Subtitle(L"a.qdc"), Bar(20), Pause(700), Bar(40), Pause(700),
        L"extract B.XML"}},
      {{L"broken.xml", L"good.xml"},
       "good.xml",
       {Bar(33), Pause(700), L"extract broken.xml", Bar(66), Pause(700), L"extract good.xml"}},
      // Even if it cannot be parsed.
      {{L"text.xml", L"b.xml"}, "", {Bar(33), Pause(700), L"extract text.xml"}},
  };
  for (const auto& [names, root, steps] : cases) {
    m_dialog->SetEntries(names);
    TiXmlDocument document;
    m_trace.Take();
    EXPECT_EQ(m_dialog->ReadManifest(document), E_FAIL);
    EXPECT_EQ(document.RootElement() != nullptr ? document.RootElement()->Value() : "", root);
    EXPECT_EQ(m_trace.Take(), Join({{kUnzipping, Subtitle(L""), Bar(0)}, steps, {Bar(100)}}));
  }
}

TEST_F(ZipProgressDialogStages, FilesAreAddedWhereTheManifestSays) {
  const std::string first = PatternBytes(1, 0, 100000);
  const Paths added =
      Add(CStoredZip().Add("a.qdc", first).Add("Gr\xF6\xDF.b.qdc", "").Add("c", "\r\n\x1A"),
          Element("a.qdc", "Lessons") + Element("Gr\xF6\xDF.b.qdc", "Caf\xE9/Deep\\er") +
              Element("c", ""));
  EXPECT_EQ(added, (Paths{Content(L"Lessons\\a.qdc"),
                          Content(L"Caf\u00E9\\Deep\\er\\Gr\u00F6\u00DF.b.qdc"), Content(L"c")}));
  EXPECT_EQ(ReadFileBytes(added[0]), first);
  EXPECT_EQ(ReadFileBytes(added[1]), "");
  EXPECT_EQ(ReadFileBytes(added[2]), "\r\n\x1A");
  EXPECT_EQ(m_sandbox.Files().size(), 4u);
}

TEST_F(ZipProgressDialogStages, AddingGoesOnBehindAFailureAndShowsEachPathAndAFullBar) {
  const CStoredZip zip = CStoredZip().Add("a.qdc", "a").Add("broken", "x", true).Add("b.qdc", "b");
  EXPECT_EQ(Add(zip, Element("a.qdc", "x") + Element("broken", "x") + Element("", "x") +
                         Element("b.qdc", "x")),
            (Paths{Content(L"x\\a.qdc"), Content(L"x\\b.qdc")}));
  const std::wstring title = Title(L"Adding collections to Folivo Content...");
  EXPECT_EQ(m_trace.Take(), (Lines{title, Subtitle(L""), Bar(0),                     //
                                   title, Subtitle(Content(L"x\\a.qdc")), Bar(100),  //
                                   Bar(100), Bar(100),                               //
                                   title, Subtitle(Content(L"x\\b.qdc")), Bar(100),  //
                                   Bar(100)}));
  EXPECT_TRUE(Add(CStoredZip(), "<Other Filename='a' Destination='b'/>").empty());
  EXPECT_EQ(m_trace.Take(L"bar"), (Lines{L"0", L"100"}));
  EXPECT_EQ(m_dialog->AddCollections(TiXmlDocument()), S_OK);
}

TEST_F(ZipProgressDialogStages, OnlyElementsOfTheRootAreAddedWithTheirCase) {
  const CStoredZip zip = CStoredZip().Add("a", "a").Add("b", "b");
  const struct {
    std::string elements;
    Paths added;
  } cases[] = {
      {"<Group>" + Element("a", "x") + "</Group><DownloadedFile Filename='b' Destination='x'>" +
           Element("a", "x") + "</DownloadedFile>",
       {Content(L"x\\b")}},
      {"<downloadedfile Filename='a' Destination='x'/><DownloadedFiles Filename='a'/>", {}},
      {"<DownloadedFile filename='a'/><DownloadedFile FileName='a'/>" + Element("", "x"), {}},
      // Without a destination it goes into the content folder, never into that of the one before.
      {Element("a", "y") + "<DownloadedFile Filename='b'/>", {Content(L"y\\a"), Content(L"b")}},
      {"<DownloadedFile Filename='a' destination='x'/>", {Content(L"a")}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Add(zip, c.elements), c.added) << c.elements;
  }
}

TEST_F(ZipProgressDialogStages, ExistingFileIsNotReplaced) {
  const std::wstring existing = m_sandbox.Write(L"Downloaded Content\\x\\a.b.qdc", "mine");
  const Paths added = Add(CStoredZip().Add("a.b.qdc", "theirs"), Element("a.b.qdc", "x"));
  ASSERT_EQ(added.size(), 1u);
  EXPECT_TRUE(added[0].starts_with(Content(L"x\\a.b("))) << added[0];
  EXPECT_TRUE(added[0].ends_with(L").qdc"));
  EXPECT_EQ(ReadFileBytes(existing), "mine");
  EXPECT_EQ(ReadFileBytes(added[0]), "theirs");
}

TEST_F(ZipProgressDialogStages, PathIsReturnedOnlyWhenTheCollectionWasAdded) {
  m_sandbox.Write(L"download.zip", CStoredZip().Add("a.qdc", "a").Add("a<b", "x").Bytes());
  m_sandbox.Write(L"Downloaded Content\\file", "");
  const struct {
    std::wstring name;
    std::wstring folder;
    HRESULT result;
  } cases[] = {
      {L"", ContentFolder(), E_INVALIDARG},        {L"a.qdc", L"", E_INVALIDARG},
      {L"missing.qdc", Content(L"x"), E_FAIL},     {L"a.qdc", Content(L"file"), E_FAIL},
      {L"a.qdc", Content(L"file\\below"), E_FAIL}, {L"a<b", ContentFolder(), E_FAIL},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(AddOne(c.name, c.folder), c.result) << c.name << c.folder;
    EXPECT_EQ(m_output.GetText(), L"unset");
  }
  EXPECT_TRUE(m_dialog->AddedFiles().empty());
  EXPECT_EQ(m_sandbox.Files(), (Paths{L"Downloaded Content\\file", L"download.zip"}));
  EXPECT_EQ(AddOne(L"a.qdc", Content(L"new\\folder")), S_OK);
  EXPECT_EQ(m_output.GetText(), Content(L"new\\folder\\a.qdc").c_str());
}

TEST_F(ZipProgressDialogStages, CollectionThatCannotBeListedIsDeletedAndThrows) {
  constexpr int kFull = 512;  // then the list needs a longer block
  m_sandbox.Write(L"download.zip", CStoredZip().Add("a.qdc", "a").Bytes());
  for (int i = 0; i < kFull; ++i) {
    m_dialog->AddFile(L"earlier.qdc");
  }
  {
    const CFailingMalloc failing(sizeof(CStringW) * (kFull + 1));
    EXPECT_THROW(AddOne(L"a.qdc", Content(L"x")), CAtlException);
  }
  EXPECT_EQ(m_output.GetText(), L"unset");
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
}

TEST_F(ZipProgressDialogStages, FullDiskLeavesNoPartOfAFile) {
  m_sandbox.Write(L"download.zip", CStoredZip().Add("a", PatternBytes(1, 0, 100000)).Bytes());
  for (const bool failsAtTheEnd : {false, true}) {
    const CImportSpy<&fwrite> write(
        "msvcrt.dll", "fwrite", [&](const void* data, size_t size, size_t count, FILE* stream) {
          return failsAtTheEnd ? write.CallOriginal(data, size, count, stream) : 0;
        });
    const CImportSpy<&fclose> close("msvcrt.dll", "fclose", [&](FILE* stream) {
      const int closed = close.CallOriginal(stream);
      return failsAtTheEnd ? EOF : closed;  // what the runtime still buffers is written here
    });
    EXPECT_EQ(AddOne(L"a", Content(L"x")), E_FAIL);
    EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
  }
  EXPECT_TRUE(m_dialog->AddedFiles().empty());
}

TEST_F(ZipProgressDialogStages, NameIsChosenBeforeTheExtraction) {
  const std::wstring chosen = Content(L"x\\a.qdc");
  std::string bytes = "theirs";
  CUnzipDouble unzip;
  unzip->unzip = [&](LPCSTR, LPCSTR, auto&, UzpBuffer& buffer) {
    m_sandbox.Write(L"Downloaded Content\\x\\a.qdc", "of somebody who takes the name");
    buffer = {6, bytes.data()};
    return 0;
  };
  EXPECT_EQ(AddOne(L"a.qdc", Content(L"x")), S_OK);
  EXPECT_EQ(m_dialog->AddedFiles(), Paths{chosen});
  EXPECT_EQ(ReadFileBytes(chosen), "theirs");
}

// A manifest comes with an archive from a page: whatever it says, nothing leaves the folder. The
// containment tests have all the forms.
TEST_F(ZipProgressDialogStages, NothingLeavesTheContentFolder) {
  const CStoredZip zip = CStoredZip().Add("a", "a").Add("../a", "a").Add("a:b", "a");
  EXPECT_TRUE(Add(zip, Element("a", "..") + Element("a", "x::$INDEX_ALLOCATION") +
                           Element("../a", "x") + Element("a:b", "x"))
                  .empty());
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
  EXPECT_FALSE(Exists(ContentFolder())) << "no folder is made either";
}

/// Whole runs of the dialog, from its first timer tick to its end.
class ZipProgressDialogStagesRun : public CollectionFixture {
 protected:
  static std::string Archive() {
    return CStoredZip()
        .Add("a.qdc", "lesson")
        .Add("manifest.xml", "<a><DownloadedFile Filename='a.qdc' Destination='x'/></a>")
        .Bytes();
  }
  void Run(const std::wstring& source) const {
    CZipProgressDialog dialog(source.c_str(), ZipPath().c_str(), ContentFolder().c_str());
    EXPECT_EQ(dialog.DoModal(nullptr), 3);
    EXPECT_TRUE(CZipProgressDialogPeer{dialog}.AddedFiles().empty());
  }
  /// The lines of a run, whose first and last ones are always the same.
  static Lines Expected(const Lines& transfer, const Lines& unzipping = {}) {
    const Lines downloading = {Title(L"Downloading Folivo Collections..."), Subtitle(L"")};
    return Join({downloading,  // while the dialog opens
                 downloading,
                 transfer,
                 {Title(L"Retrieving downloaded collections to unzip..."), Subtitle(L""), Bar(0),
                  Pause(100), Bar(25), Pause(100)},
                 unzipping,
                 {Message(kCannotUnzip), Delete(L"download.zip"), End(3)}});
  }

  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
  CDialogTrace m_trace;
};

TEST_F(ZipProgressDialogStagesRun, LocalRunGoesOnWithTheOldArchiveUpToTheManifest) {
  m_sandbox.Write(L"download.zip", Archive());  // of an earlier run
  Run(m_sandbox.Write(L"source.zip", "never read"));
  EXPECT_EQ(m_trace.Take(), Expected({Bar(0), Bar(50), Pause(700), Bar(100)},
                                     {Bar(75), Pause(100), Bar(100), Pause(100), kUnzipping,
                                      Subtitle(L""), Bar(0), kUnzipping, Subtitle(L"a.qdc"),
                                      Bar(33), Pause(700), Bar(66), Pause(700), Bar(100)}));
  EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>{L"source.zip"});
}

TEST_F(ZipProgressDialogStagesRun, NetworkRunEndsAtTheArchiveThatItHoldsOpen) {
  const CWinInetRecorder winInet;
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()).CloseDelimited());
  Run(TrustedUrl(path));
  EXPECT_EQ(m_trace.Take(),
            Expected({Bar(0), Pause(100), Bar(0), Pause(100), Pause(700), Bar(100)}));
  EXPECT_TRUE(m_sandbox.Files().empty());
}

}  // namespace
