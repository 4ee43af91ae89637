// The binding with the real library, on archives of every kind.
#include "collections/unzip_library.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <ostream>

#include "collections/code_pages.h"
#include "tests/support/temp_sandbox.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using testing::StartsWith;

using Names = std::vector<std::wstring>;

class UnzipLibrary : public testing::Test {
 protected:
  const CUnzipSearchPath m_path{RealUnzipFolder()};
  CStdoutCapture m_output;
};

TEST_F(UnzipLibrary, ListsNamesInTheArchivesOrder) {
  EXPECT_THAT(List(Archive(L"deflated")),
              Optional(Names{L"z first.txt", L"folder/", L"folder/inner/c.bin", L"collection.xml",
                             L"b.txt"}));
  EXPECT_EQ(m_output.Take(), "");
  EXPECT_FALSE(IsUnzipLoaded());
}

TEST_F(UnzipLibrary, AppendsToTheList) {
  CSimpleArray<CStringW> names;
  names.Add(L"there before");
  ASSERT_TRUE(ListZipEntries(Archive(L"stored"), &names));
  ASSERT_TRUE(ListZipEntries(Archive(L"empty_entry"), &names));
  EXPECT_THAT(ToVector(names),
              ElementsAre(L"there before", L"a.txt", L"folder/b.bin", L"empty.txt"));
}

TEST_F(UnzipLibrary, GivesTheBytesOfAnEntry) {
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), "stored text");
  EXPECT_EQ(Unzip(Archive(L"stored"), L"folder/b.bin"), ArchivedBytes());
  EXPECT_EQ(Unzip(Archive(L"deflated"), L"z first.txt"), ArchivedText());
  EXPECT_EQ(Unzip(Archive(L"deflated"), L"folder/inner/c.bin"), ArchivedBytes());
  EXPECT_EQ(Unzip(Archive(L"deflated"), L"collection.xml"), "<collection/>");
  EXPECT_EQ(Unzip(Archive(L"streamed"), L"second.bin"), ArchivedBytes());
  EXPECT_EQ(Unzip(Archive(L"zip64"), L"sixty-four.txt"), ArchivedText());
  EXPECT_EQ(Unzip(Archive(L"with_comment"), L"a.txt"), ArchivedText());
  EXPECT_THAT(m_output.Take(), Not(HasSubstr("Problem")));
  EXPECT_FALSE(IsUnzipLoaded());
}

TEST_F(UnzipLibrary, GivesNoBytesForEmptyEntriesAndFolders) {
  EXPECT_EQ(Unzip(Archive(L"empty_entry"), L"empty.txt"), "");
  EXPECT_EQ(Unzip(Archive(L"deflated"), L"folder/"), "");
}

TEST_F(UnzipLibrary, TakesAnEmptyArchiveForAListWithoutNames) {
  for (const wchar_t* name : {L"empty", L"empty_with_comment"}) {
    EXPECT_THAT(List(Archive(name)), Optional(IsEmpty()));
    EXPECT_THAT(m_output.Take(), EndsWith("zipfile is empty\n"));
  }
  EXPECT_FALSE(IsUnzipLoaded());
  EXPECT_EQ(Unzip(Archive(L"empty"), L"a.txt"), std::nullopt);
  EXPECT_THAT(m_output.Take(), EndsWith("Problem unzipping: 11\n"));
}

TEST_F(UnzipLibrary, TakesAWarningForSuccess) {
  EXPECT_THAT(List(Archive(L"junk_front")), Optional(Names{L"bad.txt"}));
  EXPECT_THAT(m_output.Take(), HasSubstr("extra bytes"));
  EXPECT_EQ(Unzip(Archive(L"junk_front"), L"bad.txt"), ArchivedText());
  EXPECT_EQ(Unzip(Archive(L"junk_behind"), L"bad.txt"), ArchivedText());
  EXPECT_EQ(Unzip(Archive(L"wrong_stored"), L"bad.txt"), ArchivedText());
  EXPECT_FALSE(IsUnzipLoaded());
}

// Whatever a name is listed as, its entry is found under that.
struct NameCase {
  const wchar_t* archive;
  const wchar_t* listed;
};
void PrintTo(const NameCase& name, std::ostream* stream) {
  *stream << ToSystemCodePage(name.archive).GetString();
}
class UnzipName : public UnzipLibrary, public testing::WithParamInterface<NameCase> {};

TEST_P(UnzipName, IsListedAndFound) {
  EXPECT_THAT(List(Archive(GetParam().archive)), Optional(Names{GetParam().listed}));
  EXPECT_EQ(Unzip(Archive(GetParam().archive), GetParam().listed), ArchivedText());
}

INSTANTIATE_TEST_SUITE_P(
    All, UnzipName,
    testing::Values(NameCase{L"names_dos", L"Gr\u00fc\u00dfe.txt"},
                    NameCase{L"names_ansi", L"Gr\u00fc\u00dfe \u20ac.txt"},
                    // Not decoded: the old interface knows nothing of UTF-8.
                    NameCase{L"names_utf8", L"Gr\u00c3\u00bc\u00c3\u0178e.txt"},
                    NameCase{L"names_utf8_extra", L"Gr\u00c3\u00bc\u00c3\u0178e.txt"},
                    NameCase{L"names_malformed", L"\u00ff\u00c3(.txt"},
                    NameCase{L"names_percent", L"100%s%n%08x.txt"}));

TEST_F(UnzipLibrary, CutsNamesThatAreTooLong) {
  const auto names = List(Archive(L"names_long"));
  ASSERT_THAT(names, Optional(ElementsAre(std::wstring(259, L'n'), std::wstring(259, L'm'))));
  EXPECT_EQ(Unzip(Archive(L"names_long"), names->front().c_str()), "fits");
  EXPECT_EQ(Unzip(Archive(L"names_long"), names->back().c_str()), "cut");
}

TEST_F(UnzipLibrary, TakesEntryNamesForPatterns) {
  const CStringW archive = Archive(L"names_patterns");
  EXPECT_EQ(Unzip(archive, L"*.dat"), "data");
  EXPECT_EQ(Unzip(archive, L"a\\[1].txt"), "brackets");
  EXPECT_EQ(Unzip(archive, L"x?"), std::nullopt) << "there are two";
  EXPECT_EQ(Unzip(archive, L"a[1].txt"), std::nullopt) << "means a1.txt";
}

// What fails, with the library's result.
struct FailureCase {
  const wchar_t* archive;
  const wchar_t* entry;
  int result;
};
void PrintTo(const FailureCase& failure, std::ostream* stream) {
  *stream << ToSystemCodePage(failure.archive).GetString() << " "
          << ToSystemCodePage(failure.entry).GetString();
}
class UnzipFailure : public UnzipLibrary, public testing::WithParamInterface<FailureCase> {};

TEST_P(UnzipFailure, IsToldAndLeavesTheLibraryLoaded) {
  EXPECT_EQ(Unzip(Archive(GetParam().archive), GetParam().entry), std::nullopt);
  EXPECT_THAT(m_output.Take(),
              EndsWith("Problem unzipping: " + std::to_string(GetParam().result) + "\n"));
  EXPECT_TRUE(IsUnzipLoaded());
}

INSTANTIATE_TEST_SUITE_P(
    All, UnzipFailure,
    testing::Values(
        FailureCase{L"stored", L"missing.txt", 11}, FailureCase{L"stored", L"A.TXT", 11},
        FailureCase{L"stored", L"b.bin", 11}, FailureCase{L"stored", L"folder\\b.bin", 11},
        FailureCase{L"stored", L"", 11}, FailureCase{L"not there", L"a.txt", 9},
        FailureCase{L"no_zip", L"a.txt", 9}, FailureCase{L"zero_bytes", L"a.txt", 9},
        FailureCase{L"cut_end", L"a.txt", 9}, FailureCase{L"bad_crc", L"bad.txt", 2},
        FailureCase{L"bad_data", L"bad.txt", 2}, FailureCase{L"wrong_count", L"a.txt", 3},
        FailureCase{L"lying_size", L"bad.txt", 2}, FailureCase{L"claims_4g", L"bad.txt", 50},
        FailureCase{L"names_twice", L"twice1.txt", 50}, FailureCase{L"overlapping", L"*", 12},
        FailureCase{L"new_method", L"bad.txt", 81}));

TEST_F(UnzipLibrary, HasNoPasswordForEncryptedEntries) {
  EXPECT_THAT(List(Archive(L"encrypted")), Optional(Names{L"locked.txt"}));
  EXPECT_EQ(Unzip(Archive(L"encrypted"), L"locked.txt"), std::nullopt);
  // One wrong password in 256 passes the format's first check; the data is then found bad.
  EXPECT_THAT(m_output.Take(), testing::AnyOf(EndsWith("Problem unzipping: 82\n"),
                                              EndsWith("Problem unzipping: 2\n")));
}

TEST_F(UnzipLibrary, ReadsEntriesBehindALostBeginning) {
  CSimpleArray<CStringW> names;
  EXPECT_FALSE(ListZipEntries(Archive(L"cut_front"), &names));
  EXPECT_THAT(ToVector(names), ElementsAre(L"a.txt", L"b.txt")) << "listed before it was noticed";
  EXPECT_THAT(m_output.Take(), EndsWith("Problem unzipping: 2\n"));
  EXPECT_EQ(Unzip(Archive(L"cut_front"), L"a.txt"), std::nullopt);
}

TEST_F(UnzipLibrary, ListingsOfWhatIsNoArchiveFail) {
  for (const wchar_t* name : {L"not there", L"no_zip", L"zero_bytes", L"cut_end"}) {
    EXPECT_EQ(List(Archive(name)), std::nullopt);
    EXPECT_THAT(m_output.Take(), EndsWith("Problem unzipping: 9\n"));
    EXPECT_TRUE(IsUnzipLoaded());
  }
}

TEST_F(UnzipLibrary, WorksAgainAfterAFailure) {
  EXPECT_EQ(Unzip(Archive(L"bad_crc"), L"bad.txt"), std::nullopt);
  EXPECT_THAT(List(Archive(L"stored")), Optional(SizeIs(2)));
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), "stored text");
  EXPECT_TRUE(IsUnzipLoaded()) << "held by the failure";
}

TEST_F(UnzipLibrary, CannotReadAnArchiveThatIsHeldUnshared) {
  const CTempSandbox folder;
  const std::wstring path =
      folder.Write(L"held.zip", ReadFileBytes(Archive(L"stored").GetString()));
  const HANDLE held =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(List(path.c_str()), std::nullopt);
  EXPECT_THAT(m_output.Take(), EndsWith("Problem unzipping: 9\n"));
  EXPECT_EQ(Unzip(path.c_str(), L"a.txt"), std::nullopt);
  EXPECT_THAT(m_output.Take(), EndsWith("Problem unzipping: 9\n"));
  CloseHandle(held);
  EXPECT_THAT(List(path.c_str()), Optional(SizeIs(2)));
}

TEST_F(UnzipLibrary, LetsGoOfTheArchive) {
  const CTempSandbox folder;
  for (const wchar_t* name : {L"stored", L"bad_crc", L"cut_end", L"names_twice"}) {
    const std::wstring path = folder.Write(L"a.zip", ReadFileBytes(Archive(name).GetString()));
    List(path.c_str());
    Unzip(path.c_str(), L"*.txt");
    EXPECT_TRUE(DeleteFileW(path.c_str())) << name;
  }
}

TEST_F(UnzipLibrary, ReadsPathsWithinTheCodePage) {
  const CTempSandbox folder;
  const std::wstring path = folder.Write(L"Gr\u00fc\u00dfe \u20ac\\a b.zip",
                                         ReadFileBytes(Archive(L"stored").GetString()));
  EXPECT_THAT(List(path.c_str()), Optional(SizeIs(2)));
  EXPECT_EQ(Unzip(path.c_str(), L"a.txt"), "stored text");
}

// Characters outside the code page become question marks, and those a pattern that nothing matches.
TEST_F(UnzipLibrary, ListsNothingOnPathsOutsideTheCodePage) {
  const CTempSandbox folder;
  const std::wstring path =
      folder.Write(L"\u65e5\u672c\\a.zip", ReadFileBytes(Archive(L"stored").GetString()));
  EXPECT_THAT(List(path.c_str()), Optional(IsEmpty()));
  EXPECT_EQ(Unzip(path.c_str(), L"a.txt"), std::nullopt);
}

TEST_F(UnzipLibrary, RefusesPathsAndNamesThatAreTooLong) {
  EXPECT_EQ(List(std::wstring(300, L'x').c_str()), std::nullopt);
  EXPECT_THAT(m_output.Take(), EndsWith("Problem unzipping: 4\n"));
  EXPECT_EQ(Unzip(Archive(L"stored"), std::wstring(16200, L'x').c_str()), std::nullopt);
  EXPECT_THAT(m_output.Take(), EndsWith("Problem unzipping: 11\n")) << "looked for";
  for (const size_t length : {16300, 16384, 16385, 100000}) {
    EXPECT_EQ(Unzip(Archive(L"stored"), std::wstring(length, L'x').c_str()), std::nullopt);
    EXPECT_THAT(m_output.Take(), EndsWith("Problem unzipping: 10\n"));
  }
}

TEST_F(UnzipLibrary, PrintsWhatTheLibrarySays) {
  EXPECT_EQ(Unzip(Archive(L"bad_crc"), L"bad.txt"), std::nullopt);
  EXPECT_THAT(m_output.Take(), HasSubstr("bad CRC"));
  const CTempSandbox folder;
  const CStringW path = (folder / L"%s%n%d.zip").c_str();
  EXPECT_EQ(List(path), std::nullopt);
  EXPECT_THAT(m_output.Take(), HasSubstr("%s%n%d.zip")) << "a name is no format";
}

}  // namespace
