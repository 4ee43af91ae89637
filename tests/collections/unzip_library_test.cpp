// The binding with the real library, on archives of every kind.
#include "collections/unzip_library.h"

#include <gmock/gmock.h>
#include <windows.h>

#include "tests/support/temp_sandbox.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

using Names = std::vector<std::wstring>;

class UnzipLibrary : public testing::Test {
 protected:
  /// The last line that a failure prints.
  static std::string Problem(int result) {
    return "Problem unzipping: " + std::to_string(result) + "\n";
  }
  /// A copy of an archive in a folder of the test's own.
  std::wstring Copy(const std::wstring& name, const wchar_t* archive = L"stored") const {
    return m_folder.Write(name, ReadFileBytes(Archive(archive).GetString()));
  }

  const CTempSandbox m_folder;
  const CUnzipSearchPath m_path{RealUnzipFolder()};
  CStdoutCapture m_output;
};

TEST_F(UnzipLibrary, ListsNamesInTheArchivesOrder) {
  EXPECT_THAT(List(Archive(L"deflated")),
              Optional(Names{L"z first.txt", L"folder/", L"folder/inner/c.bin", L"collection.xml",
                             L"b.txt"}));
  EXPECT_EQ(m_output.Take(), "");
  EXPECT_THAT(List(Archive(L"encrypted")), Optional(Names{L"locked.txt"}));
  EXPECT_THAT(List(Archive(L"empty")), Optional(IsEmpty()));
  EXPECT_THAT(m_output.Take(), EndsWith("zipfile is empty\n"));
  EXPECT_THAT(List(Archive(L"junk_front")), Optional(Names{L"bad.txt"}));
  EXPECT_THAT(m_output.Take(), HasSubstr("extra bytes")) << "a warning";
  EXPECT_FALSE(IsUnzipLoaded());
}

TEST_F(UnzipLibrary, ReturnsTheBytesOfAnEntry) {
  const struct {
    const wchar_t* archive;
    const wchar_t* entry;
    std::string bytes;
  } cases[] = {
      {L"stored", L"a.txt", "stored text"},
      {L"deflated", L"folder/inner/c.bin", ArchivedBytes()},
      {L"deflated", L"folder/", ""},
      {L"empty_entry", L"empty.txt", ""},
      {L"streamed", L"second.bin", ArchivedBytes()},
      {L"zip64", L"sixty-four.txt", ArchivedText()},
      {L"with_comment", L"a.txt", ArchivedText()},
      {L"names_patterns", L"*.dat", "data"},  // names are patterns
      {L"names_patterns", L"a\\[1].txt", "brackets"},
      {L"junk_front", L"bad.txt", ArchivedText()},
      {L"junk_behind", L"bad.txt", ArchivedText()},
      {L"wrong_stored", L"bad.txt", ArchivedText()},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Unzip(Archive(c.archive), c.entry), c.bytes) << c.archive << L" " << c.entry;
  }
  EXPECT_THAT(m_output.Take(), testing::Not(HasSubstr("Problem")));
  EXPECT_FALSE(IsUnzipLoaded());
}

TEST_F(UnzipLibrary, ListedNameFindsItsEntry) {
  const struct {
    const wchar_t* archive;
    const wchar_t* listed;
  } cases[] = {
      {L"names_dos", L"Gr\u00fc\u00dfe.txt"},
      {L"names_ansi", L"Gr\u00fc\u00dfe \u20ac.txt"},
      // Not decoded: the old interface knows nothing of UTF-8.
      {L"names_utf8", L"Gr\u00c3\u00bc\u00c3\u0178e.txt"},
      {L"names_utf8_extra", L"Gr\u00c3\u00bc\u00c3\u0178e.txt"},
      {L"names_malformed", L"\u00ff\u00c3(.txt"},
      {L"names_percent", L"100%s%n%08x.txt"},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(List(Archive(c.archive)), Optional(Names{c.listed})) << c.archive;
    EXPECT_EQ(Unzip(Archive(c.archive), c.listed), ArchivedText()) << c.archive;
  }
  const std::wstring fits(259, L'n');
  const std::wstring cut(259, L'm');
  EXPECT_THAT(List(Archive(L"names_long")), Optional(Names{fits, cut}));
  EXPECT_EQ(Unzip(Archive(L"names_long"), fits.c_str()), "fits");
  EXPECT_EQ(Unzip(Archive(L"names_long"), cut.c_str()), "cut");
}

TEST_F(UnzipLibrary, FailureIsReportedAndLeavesTheLibraryLoaded) {
  const struct {
    const wchar_t* archive;
    std::wstring entry;
    int result;
  } cases[] = {
      {L"stored", L"missing.txt", 11},
      {L"stored", L"A.TXT", 11},
      {L"stored", L"folder\\b.bin", 11},
      {L"stored", L"", 11},
      {L"names_patterns", L"x?", 50},  // there are two
      {L"not there", L"a.txt", 9},
      {L"zero_bytes", L"a.txt", 9},
      {L"lying_size", L"bad.txt", 2},
      {L"claims_4g", L"bad.txt", 50},
      {L"overlapping", L"*", 12},
      {L"stored", std::wstring(16200, L'x'), 11},  // looked for
      {L"stored", std::wstring(16300, L'x'), 10},
      {L"stored", std::wstring(100000, L'x'), 10},
  };
  for (const auto& c : cases) {
    const CUnzipSearchPath path(RealUnzipFolder());  // unloads what the case before has left
    EXPECT_EQ(Unzip(Archive(c.archive), c.entry.c_str()), std::nullopt);
    EXPECT_THAT(m_output.Take(), EndsWith(Problem(c.result))) << c.archive << c.entry.size();
    EXPECT_TRUE(IsUnzipLoaded());
  }
  // The library that was left loaded works.
  EXPECT_EQ(Unzip(Archive(L"bad_crc"), L"bad.txt"), std::nullopt);
  EXPECT_THAT(m_output.Take(), HasSubstr("bad CRC")) << "the library's own message";
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), "stored text");
}

TEST_F(UnzipLibrary, HasNoPasswordForEncryptedEntries) {
  EXPECT_EQ(Unzip(Archive(L"encrypted"), L"locked.txt"), std::nullopt);
  // One wrong password in 256 passes the format's first check; the data is then found bad.
  EXPECT_THAT(m_output.Take(), testing::AnyOf(EndsWith(Problem(82)), EndsWith(Problem(2))));
}

TEST_F(UnzipLibrary, FailedListingKeepsTheNamesReadBefore) {
  CSimpleArray<CStringW> names;
  EXPECT_FALSE(ListZipEntries(Archive(L"cut_front"), &names));
  EXPECT_THAT(ToVector(names), ElementsAre(L"a.txt", L"b.txt"));
  EXPECT_THAT(m_output.Take(), EndsWith(Problem(2)));
  EXPECT_EQ(List(std::wstring(300, L'x').c_str()), std::nullopt);
  EXPECT_THAT(m_output.Take(), EndsWith(Problem(4)));
  EXPECT_EQ(List((m_folder / L"%s%n%d.zip").c_str()), std::nullopt);
  EXPECT_THAT(m_output.Take(), HasSubstr("%s%n%d.zip")) << "a name is no format";
}

TEST_F(UnzipLibrary, CannotReadAnArchiveThatIsHeldUnshared) {
  const std::wstring path = Copy(L"held.zip");
  const HANDLE held =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(List(path.c_str()), std::nullopt);
  EXPECT_THAT(m_output.Take(), EndsWith(Problem(9)));
  EXPECT_EQ(Unzip(path.c_str(), L"a.txt"), std::nullopt);
  CloseHandle(held);
  EXPECT_THAT(List(path.c_str()), Optional(SizeIs(2)));
}

TEST_F(UnzipLibrary, ClosesTheArchive) {
  for (const wchar_t* name : {L"stored", L"bad_crc", L"cut_end", L"names_twice"}) {
    const std::wstring path = Copy(L"a.zip", name);
    List(path.c_str());
    Unzip(path.c_str(), L"*.txt");
    EXPECT_TRUE(DeleteFileW(path.c_str())) << name;
  }
}

TEST_F(UnzipLibrary, ReadsPathsWithinTheCodePageOnly) {
  const std::wstring within = Copy(L"Gr\u00fc\u00dfe \u20ac\\a b.zip");
  EXPECT_THAT(List(within.c_str()), Optional(SizeIs(2)));
  EXPECT_EQ(Unzip(within.c_str(), L"a.txt"), "stored text");
  // Other characters become question marks, and those a pattern that nothing matches.
  const std::wstring outside = Copy(L"\u65e5\u672c\\a.zip");
  EXPECT_THAT(List(outside.c_str()), Optional(IsEmpty()));
  EXPECT_EQ(Unzip(outside.c_str(), L"a.txt"), std::nullopt);
}

}  // namespace
