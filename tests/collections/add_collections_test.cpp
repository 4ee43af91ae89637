// The stage that adds what the manifest names to the content folder.

#include <gtest/gtest.h>
#include <tinyxml.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/http_pattern.h"
#include "tests/support/import_patch.h"
#include "tests/support/process_counts.h"
#include "tests/support/stored_zip.h"

namespace {

using Lines = CDialogTrace::Lines;
using Paths = std::vector<std::wstring>;

class AddCollections : public CollectionTest {
 protected:
  AddCollections() : m_dialog(L"", ZipPath(), ContentFolder()) {}

  /// Runs the stage over the elements of a manifest; gives the files that it says it has added.
  Paths Add(const CStoredZip& zip, const std::string& elements) {
    m_sandbox.Write(L"download.zip", zip.Bytes());
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
  COpenDialog m_dialog;
  CFilePath m_output;
};

TEST_F(AddCollections, FilesGoWhereTheManifestSays) {
  const std::string first = PatternBytes(1, 0, 100000);
  const CStoredZip zip = CStoredZip().Add("a.qdc", first).Add("b.b.qdc", "").Add("c", "\r\n\x1A");
  const Paths added = Add(
      zip, Element("a.qdc", "Lessons") + Element("b.b.qdc", "Lessons/Deep\\er") + Element("c", ""));
  EXPECT_EQ(added, (Paths{Content(L"Lessons\\a.qdc"), Content(L"Lessons\\Deep\\er\\b.b.qdc"),
                          Content(L"c")}));
  EXPECT_EQ(ReadFileBytes(added[0]), first);
  EXPECT_EQ(ReadFileBytes(added[1]), "");
  EXPECT_EQ(ReadFileBytes(added[2]), "\r\n\x1A");
  EXPECT_EQ(m_sandbox.Files().size(), 4u);
}

TEST_F(AddCollections, StepsComeInOrder) {
  const CStoredZip zip = CStoredZip().Add("a.qdc", "a").Add("b.qdc", "b");
  Add(zip, Element("a.qdc", "x") + Element("missing", "x") + Element("b.qdc", "x"));
  const std::wstring title = Title(L"Adding collections to Folivo Content...");
  EXPECT_EQ(m_trace.Take(), (Lines{title, Subtitle(L""), Bar(0),                     //
                                   title, Subtitle(Content(L"x\\a.qdc")), Bar(100),  //
                                   Bar(100),                                         //
                                   title, Subtitle(Content(L"x\\b.qdc")), Bar(100),  //
                                   Bar(100)}));
}

TEST_F(AddCollections, NothingToAddIsASuccess) {
  for (const char* elements : {"", "text", "<Other Filename='a' Destination='b'/>"}) {
    EXPECT_TRUE(Add(CStoredZip(), elements).empty());
    EXPECT_EQ(m_trace.Take(L"bar"), (Lines{L"0", L"100"}));
  }
  EXPECT_EQ(m_dialog->AddCollections(TiXmlDocument()), S_OK);
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
  EXPECT_FALSE(Exists(ContentFolder()));
}

TEST_F(AddCollections, OnlyTheRootsOwnElementsCount) {
  const CStoredZip zip = CStoredZip().Add("a", "a").Add("b", "b").Add("c", "c");
  EXPECT_EQ(Add(zip, "<Group>" + Element("a", "x") +
                         "</Group><DownloadedFile Filename='b' "
                         "Destination='x' Other='y'>" +
                         Element("c", "x") + "</DownloadedFile>"),
            Paths{Content(L"x\\b")});
}

TEST_F(AddCollections, NamesAreComparedToTheLetter) {
  const CStoredZip zip = CStoredZip().Add("a", "a");
  EXPECT_TRUE(Add(zip,
                  "<downloadedfile Filename='a' Destination='x'/>"
                  "<DownloadedFiles Filename='a' Destination='x'/>"
                  "<DownloadedFile filename='a' Destination='x'/>"
                  "<DownloadedFile FileName='a' Destination='x'/>")
                  .empty());
  // An attribute of another name is none: the file goes into the content folder itself.
  EXPECT_EQ(Add(zip, "<DownloadedFile Filename='a' destination='x'/>"), Paths{Content(L"a")});
}

TEST_F(AddCollections, WithoutFilenameNothingIsAdded) {
  EXPECT_TRUE(Add(CStoredZip().Add("a", "a"),
                  "<DownloadedFile Destination='x'/><DownloadedFile/>" + Element("", "x"))
                  .empty());
  EXPECT_FALSE(Exists(Content(L"x")));
}

TEST_F(AddCollections, WithoutDestinationItIsTheContentFolder) {
  const CStoredZip zip = CStoredZip().Add("a", "a").Add("b", "b");
  EXPECT_EQ(Add(zip, Element("a", "x") + "<DownloadedFile Filename='b'/>"),
            (Paths{Content(L"x\\a"), Content(L"b")}))
      << "never that of the element before";
}

TEST_F(AddCollections, NonAsciiNamesAreAnsi) {
  const CStoredZip zip = CStoredZip().Add(
      "Gr\xF6\xDF"
      "e.qdc",
      "x");
  const Paths added = Add(zip, Element("Gr\xF6\xDF"
                                       "e.qdc",
                                       "Caf\xE9"));
  EXPECT_EQ(added, Paths{Content(L"Caf\u00E9\\Gr\u00F6\u00DFe.qdc")});
  EXPECT_EQ(ReadFileBytes(added.at(0)), "x");
}

TEST_F(AddCollections, NothingIsEverReplaced) {
  const std::wstring existing = m_sandbox.Write(L"Downloaded Content\\x\\a.b.qdc", "mine");
  const CStoredZip zip = CStoredZip().Add("a.b.qdc", "theirs");
  const Paths added = Add(zip, Element("a.b.qdc", "x") + Element("a.b.qdc", "x"));
  ASSERT_EQ(added.size(), 2u);
  EXPECT_EQ(ReadFileBytes(existing), "mine");
  EXPECT_NE(added[0], added[1]);
  for (const std::wstring& path : added) {
    const std::wstring begin = Content(L"x\\a.b(");
    EXPECT_EQ(path.substr(0, begin.size()), begin);
    EXPECT_EQ(path.substr(path.size() - 5), L").qdc");
    const std::wstring number = path.substr(begin.size(), path.size() - begin.size() - 5);
    EXPECT_EQ(number, std::to_wstring(std::stoi(number)));
    EXPECT_EQ(ReadFileBytes(path), "theirs");
  }
}

TEST_F(AddCollections, FolderOfTheNameIsInTheWay) {
  m_sandbox.Write(L"Downloaded Content\\x\\a.qdc\\b", "mine");
  const Paths added = Add(CStoredZip().Add("a.qdc", "theirs"), Element("a.qdc", "x"));
  ASSERT_EQ(added.size(), 1u);
  EXPECT_NE(added[0], Content(L"x\\a.qdc"));
  EXPECT_EQ(ReadFileBytes(added[0]), "theirs");
}

TEST_F(AddCollections, OneThatFailsDoesNotStopTheOthers) {
  const CStoredZip zip = CStoredZip().Add("good", "g").Add("broken", "b", true);
  EXPECT_EQ(Add(zip, Element("missing", "x") + Element("broken", "x") + Element("a?b", "x") +
                         Element("..", "x") + Element("good", "..") + Element("good", "x")),
            Paths{Content(L"x\\good")});
  EXPECT_EQ(m_sandbox.Files(), (Paths{L"Downloaded Content\\x\\good", L"download.zip"}));
}

TEST_F(AddCollections, EmptyNameOrFolderIsAnInvalidArgument) {
  EXPECT_EQ(AddOne(L"", ContentFolder()), E_INVALIDARG);
  EXPECT_EQ(AddOne(L"a", L""), E_INVALIDARG);
  EXPECT_EQ(AddOne(L"", L""), E_INVALIDARG);
  EXPECT_FALSE(Exists(ContentFolder()));
}

TEST_F(AddCollections, OneReportsItsPath) {
  m_sandbox.Write(L"download.zip", CStoredZip().Add("a.qdc", "a").Bytes());
  EXPECT_EQ(AddOne(L"a.qdc", Content(L"new\\folder")), S_OK);
  EXPECT_EQ(m_output.GetText(), Content(L"new\\folder\\a.qdc").c_str());
  EXPECT_EQ(m_dialog->AddedFiles(), Paths{Content(L"new\\folder\\a.qdc")});
}

TEST_F(AddCollections, MissingEntryAddsNothing) {
  m_sandbox.Write(L"download.zip", CStoredZip().Add("a.qdc", "a").Bytes());
  EXPECT_EQ(AddOne(L"b.qdc", Content(L"x")), E_FAIL);
  EXPECT_EQ(m_output.GetText(), L"unset");
  EXPECT_TRUE(m_dialog->AddedFiles().empty());
  EXPECT_TRUE(Exists(Content(L"x"))) << "the folder is made before";
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
}

TEST_F(AddCollections, FolderThatCannotBeMadeFails) {
  m_sandbox.Write(L"download.zip", CStoredZip().Add("a", "a").Bytes());
  m_sandbox.Write(L"Downloaded Content\\file", "");
  EXPECT_EQ(AddOne(L"a", Content(L"file")), E_FAIL);
  EXPECT_EQ(AddOne(L"a", Content(L"file\\below")), E_FAIL);
  EXPECT_TRUE(m_dialog->AddedFiles().empty());
}

TEST_F(AddCollections, NameThatIsNoFilesFails) {
  const std::string names[] = {"a<b", "a>b", "a|b", "a*b", "a\"b"};
  CStoredZip zip;
  for (const std::string& name : names) {
    zip.Add(name, "x");
  }
  m_sandbox.Write(L"download.zip", zip.Bytes());
  for (const std::string& name : names) {
    EXPECT_EQ(AddOne(std::wstring(name.begin(), name.end()), ContentFolder()), E_FAIL) << name;
  }
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
  EXPECT_TRUE(m_dialog->AddedFiles().empty());
}

decltype(&fclose) g_close;

TEST_F(AddCollections, FullDiskLeavesNoPartOfAFile) {
  m_sandbox.Write(L"download.zip", CStoredZip().Add("a", PatternBytes(1, 0, 100000)).Bytes());
  {
    const CImportPatch patch(
        "msvcrt.dll", "fwrite", +[](const void*, size_t, size_t, FILE*) -> size_t { return 0; });
    EXPECT_EQ(AddOne(L"a", Content(L"x")), E_FAIL);
  }
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
  {
    // What the runtime still buffers is written at the end.
    const CImportPatch patch(
        "msvcrt.dll", "fclose", +[](FILE* stream) -> int {
          g_close(stream);
          return EOF;
        });
    g_close = patch.Original<int(FILE*)>();
    EXPECT_EQ(AddOne(L"a", Content(L"x")), E_FAIL);
  }
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
  EXPECT_TRUE(m_dialog->AddedFiles().empty());
}

// Twice as many as are there when the list grows.
constexpr int kListedFiles = 1024;
constexpr size_t kGrownList = 2 * kListedFiles * sizeof(CStringW);

TEST_F(AddCollections, ListThatCannotGrowLeavesNoFile) {
  m_sandbox.Write(L"download.zip", CStoredZip().Add("a", "a").Bytes());
  for (int i = 0; i < kListedFiles; ++i) {
    m_dialog->AddFile(L"x");
  }
  {
    const CImportPatch patch(
        "msvcrt.dll", "malloc", +[](size_t size) -> void* {
          // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): stands in for malloc
          return size == kGrownList ? nullptr : std::calloc(1, size);
        });
    EXPECT_THROW(AddOne(L"a", Content(L"x")), CAtlException);
  }
  EXPECT_EQ(m_dialog->AddedFiles().size(), size_t{kListedFiles});
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
}

std::wstring g_chosen;

/// An extraction during which somebody else takes the name.
int WINAPI TakeName(LPSTR, LPSTR, USERFUNCTIONS*, UzpBuffer* buffer) {
  static char bytes[] = "theirs";
  const HANDLE file =
      CreateFileW(g_chosen.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  EXPECT_NE(file, INVALID_HANDLE_VALUE);
  CloseHandle(file);
  *buffer = {6, bytes};
  return 0;
}

TEST_F(AddCollections, NameIsChosenBeforeTheExtraction) {
  CUnzipDouble unzip;
  unzip->unzip = TakeName;
  g_chosen = Content(L"x\\a.qdc");
  EXPECT_EQ(AddOne(L"a.qdc", Content(L"x")), S_OK);
  EXPECT_EQ(m_dialog->AddedFiles(), Paths{g_chosen});
  EXPECT_EQ(ReadFileBytes(g_chosen), "theirs");
}

// A manifest comes with an archive from a page: whatever it says, nothing leaves the folder.
TEST_F(AddCollections, NothingLeavesTheContentFolder) {
  const std::wstring sandbox = m_sandbox.Path();
  const std::string narrow(sandbox.begin(), sandbox.end());
  CStoredZip zip = CStoredZip().Add("a", "a").Add("../a", "a").Add("b/a", "a").Add("nul", "a");
  zip.Add("a:b", "a").Add("..", "a").Add("a.", "a").Add("a ", "a").Add("b\\a", "a");
  std::string elements;
  for (const char* destination :
       {"..", "../x", "..\\..\\x", "x\\..\\..\\y", "../Downloaded Content2", ".", "x/../..",
        "x:stream", "x::$INDEX_ALLOCATION", "nul", "x\\com1", "x.", "x ", "x. .\\y", "x\ty"}) {
    elements += Element("a", destination);
  }
  elements += Element("a", "x\\" + narrow + "\\y") + Element("a", narrow);
  elements += Element("a", "file:///" + narrow) + Element("a", "\\\\?\\" + narrow);
  elements += Element("a", std::string(300, 'l')) + Element("a", std::string(1000000, 'l'));
  for (const char* name : {"../a", "b/a", "b\\a", "nul", "a:b", "..", "a.", "a ", "\\a", "C:a"}) {
    elements += Element(name, "x");
  }
  EXPECT_TRUE(Add(zip, elements).empty());
  EXPECT_EQ(m_sandbox.Files(), Paths{L"download.zip"});
  EXPECT_FALSE(Exists(ContentFolder())) << "no folder is made either";
}

TEST_F(AddCollections, NoHandleIsLeftBehind) {
  const CStoredZip zip = CStoredZip().Add("a", "a").Add("broken", "b", true);
  const std::string elements = Element("a", "x") + Element("broken", "x");
  Add(zip, elements);
  const int handles = CountHandles();
  for (int i = 0; i < 6; ++i) {
    Add(zip, elements);
  }
  EXPECT_LE(CountHandles(), handles + 2);
}

}  // namespace
