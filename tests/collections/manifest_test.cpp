// The stage that looks for the manifest among the archive's entries, and what it reads.

#include <gtest/gtest.h>
#include <tinyxml.h>
#include <windows.h>

#include <string>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/stored_zip.h"

namespace {

using Lines = CDialogTrace::Lines;

class Manifest : public CollectionTest {
 protected:
  Manifest() { m_dialog = std::make_unique<COpenDialog>(L"", ZipPath(), ContentFolder()); }

  /// Runs the stage over an archive with these entries, which the dialog knows already.
  HRESULT Read(const CStoredZip& zip, const std::vector<std::wstring>& names) {
    m_sandbox.Write(L"download.zip", zip.Bytes());
    (*m_dialog)->SetEntries(names);
    m_document.Clear();
    m_trace.Take();
    return (*m_dialog)->ReadManifest(m_document);
  }
  HRESULT Read(const std::string& manifest) {
    return Read(CStoredZip().Add("manifest.xml", manifest), {L"manifest.xml"});
  }

  /// The manifest's root; empty when none was parsed.
  std::string Root() const {
    const TiXmlElement* const root = m_document.RootElement();
    return root != nullptr ? root->Value() : "";
  }
  std::string RootAttribute(const char* name) const {
    const TiXmlElement* const root = m_document.RootElement();
    return root != nullptr && root->Attribute(name) != nullptr ? root->Attribute(name) : "";
  }

  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
  CDialogTrace m_trace;
  std::unique_ptr<COpenDialog> m_dialog;
  TiXmlDocument m_document;
};

TEST_F(Manifest, StageAlwaysFails) {
  EXPECT_EQ(Read("<a/>"), E_FAIL);
  EXPECT_EQ(Root(), "a") << "even behind a manifest that was read";
  EXPECT_EQ(Read(CStoredZip().Add("a.qdc", "x"), {L"a.qdc"}), E_FAIL);
  EXPECT_EQ(Read(CStoredZip(), {}), E_FAIL);
  EXPECT_EQ(Read("no xml"), E_FAIL);
}

TEST_F(Manifest, EntriesAreShownOneByOne) {
  const CStoredZip zip = CStoredZip().Add("a.qdc", "1").Add("b", "2").Add("xml", "<a/>");
  Read(zip, {L"a.qdc", L"b", L"xml"});
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  EXPECT_EQ(m_trace.Take(), (Lines{title, Subtitle(L""), Bar(0),                    //
                                   title, Subtitle(L"a.qdc"), Bar(25), Pause(700),  //
                                   title, Subtitle(L"b"), Bar(50), Pause(700),      //
                                   title, Subtitle(L"xml"), Bar(75), Pause(700),    //
                                   Bar(100)}));
  EXPECT_EQ(Root(), "");
}

TEST_F(Manifest, ManifestEndsTheScanAndIsNotShown) {
  const CStoredZip zip = CStoredZip().Add("a.qdc", "1").Add("B.XML", "<b/>").Add("c.xml", "<c/>");
  Read(zip, {L"a.qdc", L"B.XML", L"c.xml", L"d"});
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  EXPECT_EQ(m_trace.Take(), (Lines{title, Subtitle(L""), Bar(0),                    //
                                   title, Subtitle(L"a.qdc"), Bar(20), Pause(700),  //
                                   Bar(40), Pause(700),                             //
                                   Bar(100)}));
  EXPECT_EQ(Root(), "b");
}

CDialogTrace* g_trace;

int WINAPI NoteExtraction(LPSTR, LPSTR entry, USERFUNCTIONS*, UzpBuffer*) {
  const std::string name = entry;
  g_trace->Add(L"extract " + std::wstring(name.begin(), name.end()));
  return 11;
}

TEST_F(Manifest, PauseComesBeforeAnExtraction) {
  CUnzipDouble unzip;
  unzip->unzip = NoteExtraction;
  g_trace = &m_trace;
  Read(CStoredZip(), {L"a.xml", L"b", L"c.xml"});
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  EXPECT_EQ(m_trace.Take(), (Lines{title, Subtitle(L""), Bar(0),                //
                                   Bar(25), Pause(700), L"extract a.xml",       //
                                   title, Subtitle(L"b"), Bar(50), Pause(700),  //
                                   Bar(75), Pause(700), L"extract c.xml",       //
                                   Bar(100)}));
}

TEST_F(Manifest, EmptyArchiveFillsTheBar) {
  Read(CStoredZip(), {});
  EXPECT_EQ(m_trace.Take(),
            (Lines{Title(L"Unzipping Folivo Collections..."), Subtitle(L""), Bar(0), Bar(100)}));
}

TEST_F(Manifest, OneThatCannotBeExtractedIsPassedOver) {
  const CStoredZip zip = CStoredZip()
                             .Add("broken.xml", "<broken/>", true)
                             .Add("folder.xml/", "")
                             .Add("good.xml", "<good/>");
  Read(zip, {L"broken.xml", L"missing.xml", L"good.xml"});
  EXPECT_EQ(Root(), "good");
  EXPECT_EQ(m_trace.Take(L"bar"), (Lines{L"0", L"25", L"50", L"75", L"100"}));
}

TEST_F(Manifest, FirstOneThatExtractsCountsEvenIfItDoesNotParse) {
  const CStoredZip zip = CStoredZip().Add("a.xml", "no xml").Add("b.xml", "<b/>");
  Read(zip, {L"a.xml", L"b.xml"});
  EXPECT_EQ(Root(), "");
  const CStoredZip empty = CStoredZip().Add("a.xml", "").Add("b.xml", "<b/>");
  Read(empty, {L"a.xml", L"b.xml"});
  EXPECT_EQ(Root(), "");
}

TEST_F(Manifest, IsTextInTheAnsiCodePage) {
  for (const char* declaration :
       {"", "<?xml version=\"1.0\"?>", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
        "<?xml version=\"1.0\" encoding=\"windows-1252\"?>"}) {
    Read(std::string(declaration) + "<a x=\"Caf\xE9\" y='\x80\x81\x8D\xFF'>\xC3</a>");
    EXPECT_EQ(RootAttribute("x"), "Caf\xE9") << declaration;
    EXPECT_EQ(RootAttribute("y"), "\x80\x81\x8D\xFF") << declaration;
  }
}

TEST_F(Manifest, ThreadsLocaleDoesNotMatter) {
  const LCID previous = GetThreadLocale();
  SetThreadLocale(MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
  Read("<a x=\"Caf\xE9\" y=\"\x85\xE0\"/>");
  SetThreadLocale(previous);
  EXPECT_EQ(RootAttribute("x"), "Caf\xE9");
  EXPECT_EQ(RootAttribute("y"), "\x85\xE0");
}

TEST_F(Manifest, EditorsMarkInFrontIsNoText) {
  Read("\xEF\xBB\xBF<?xml version=\"1.0\"?><a x='1'/>");
  EXPECT_EQ(RootAttribute("x"), "1");
}

TEST_F(Manifest, EndsAtAZeroByte) {
  using namespace std::string_literals;
  Read("<a/>\0<b/>"s);
  EXPECT_EQ(Root(), "a");
  Read("<a x='\0'/>"s);
  EXPECT_EQ(RootAttribute("x"), "");
  Read("\0<a/>"s);
  EXPECT_EQ(Root(), "");
}

TEST_F(Manifest, LongTextsAreRead) {
  const std::string value(1000000, 'v');
  Read("<a x=\"" + value + "\"/>");
  EXPECT_EQ(RootAttribute("x"), value);
}

TEST_F(Manifest, DeepNestingIsNotParsed) {
  std::string text;
  for (int i = 0; i < 501; ++i) {
    text += "<a>";
  }
  Read(text);
  EXPECT_TRUE(m_document.NoChildren());
  Read("<b x='1'/>");
  EXPECT_EQ(RootAttribute("x"), "1") << "the document of a refused text serves again";
}

}  // namespace
