// The stage that looks for the manifest among the archive's entries, and what it reads.

#include <gtest/gtest.h>
#include <tinyxml.h>
#include <windows.h>

#include <string>
#include <vector>

#include "plugin/thread_locale.h"
#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/support/stored_zip.h"

namespace {

using Lines = CDialogTrace::Lines;

class Manifest : public CollectionTest {
 protected:
  /// Runs the stage over an archive with these entries, which the dialog knows already. Returns the
  /// manifest's root; empty when none was parsed.
  std::string Read(const CStoredZip& zip, const std::vector<std::wstring>& names) {
    m_sandbox.Write(L"download.zip", zip.Bytes());
    m_dialog->SetEntries(names);
    m_document.Clear();
    m_trace.Take();
    EXPECT_EQ(m_dialog->ReadManifest(m_document), E_FAIL);
    const TiXmlElement* const root = m_document.RootElement();
    return root != nullptr ? root->Value() : "";
  }
  std::string Read(const std::string& manifest) {
    return Read(CStoredZip().Add("manifest.xml", manifest), {L"manifest.xml"});
  }
  std::string RootAttribute(const char* name) const {
    const TiXmlElement* const root = m_document.RootElement();
    return root != nullptr && root->Attribute(name) != nullptr ? root->Attribute(name) : "";
  }

  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
  CDialogTrace m_trace;
  COpenDialog m_dialog{L"", ZipPath(), ContentFolder()};
  TiXmlDocument m_document;
};

TEST_F(Manifest, StageAlwaysFails) {
  EXPECT_EQ(Read("<a/>"), "a") << "even behind a manifest that was read";
  EXPECT_EQ(Read(CStoredZip().Add("a.qdc", "x"), {L"a.qdc"}), "");
  EXPECT_EQ(Read("no xml"), "");
}

TEST_F(Manifest, FirstXmlEntryThatExtractsEndsTheScan) {
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  const struct {
    CStoredZip zip;
    std::vector<std::wstring> names;
    std::string root;
    Lines steps;
  } cases[] = {
      {CStoredZip(), {}, "", {}},
      {CStoredZip().Add("xml", "<a/>"),
       {L"xml"},
       "",
       {title, Subtitle(L"xml"), Bar(50), Pause(700)}},
      {CStoredZip().Add("a.qdc", "1").Add("B.XML", "<b/>").Add("c.xml", "<c/>"),
       {L"a.qdc", L"B.XML", L"c.xml", L"d"},
       "b",
       {title, Subtitle(L"a.qdc"), Bar(20), Pause(700), Bar(40), Pause(700)}},
      {CStoredZip().Add("broken.xml", "<x/>", true).Add("folder.xml/", "").Add("good.xml", "<g/>"),
       {L"broken.xml", L"missing.xml", L"good.xml"},
       "g",
       {Bar(25), Pause(700), Bar(50), Pause(700), Bar(75), Pause(700)}},
      // Even if it cannot be parsed.
      {CStoredZip().Add("a.xml", "no xml").Add("b.xml", "<b/>"),
       {L"a.xml", L"b.xml"},
       "",
       {Bar(33), Pause(700)}},
      {CStoredZip().Add("a.xml", "").Add("b.xml", "<b/>"),
       {L"a.xml", L"b.xml"},
       "",
       {Bar(33), Pause(700)}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Read(c.zip, c.names), c.root);
    Lines lines = {title, Subtitle(L""), Bar(0)};
    lines.insert(lines.end(), c.steps.begin(), c.steps.end());
    lines.push_back(Bar(100));
    EXPECT_EQ(m_trace.Take(), lines);
  }
}

TEST_F(Manifest, PauseComesBeforeAnExtraction) {
  CUnzipDouble unzip;
  unzip->unzip = [this](LPCSTR, LPCSTR entry, auto&...) {
    m_trace.Add(L"extract " + std::wstring(entry, entry + std::strlen(entry)));
    return 11;
  };
  Read(CStoredZip(), {L"a.xml", L"b"});
  const std::wstring title = Title(L"Unzipping Folivo Collections...");
  EXPECT_EQ(m_trace.Take(), (Lines{title, Subtitle(L""), Bar(0),           //
                                   Bar(33), Pause(700), L"extract a.xml",  //
                                   title, Subtitle(L"b"), Bar(66), Pause(700), Bar(100)}));
}

TEST_F(Manifest, IsTextInTheAnsiCodePageWhateverTheThreadsLocaleIs) {
  const CThreadLocaleScope japanese(
      MAKELCID(MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT), SORT_DEFAULT));
  for (const char* declaration :
       {"", "<?xml version=\"1.0\"?>", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
        "<?xml version=\"1.0\" encoding=\"windows-1252\"?>"}) {
    Read(std::string(declaration) + "<a x=\"Caf\xE9\" y='\x80\x81\x8D\xFF\x85\xE0'>\xC3</a>");
    EXPECT_EQ(RootAttribute("x"), "Caf\xE9") << declaration;
    EXPECT_EQ(RootAttribute("y"), "\x80\x81\x8D\xFF\x85\xE0") << declaration;
  }
}

TEST_F(Manifest, EndsAtAZeroByte) {
  using namespace std::string_literals;
  EXPECT_EQ(Read("<a/>\0<b/>"s), "a");
  EXPECT_EQ(Read("<a x='\0'/>"s), "a");
  EXPECT_EQ(RootAttribute("x"), "");
  EXPECT_EQ(Read("\0<a/>"s), "");
}

TEST_F(Manifest, DocumentOfARefusedTextIsUsedAgain) {
  std::string text;
  for (int i = 0; i < 501; ++i) {
    text += "<a>";
  }
  Read(text);
  EXPECT_TRUE(m_document.NoChildren());
  EXPECT_EQ(Read("<b/>"), "b");
}

}  // namespace
