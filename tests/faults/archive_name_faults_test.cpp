// Names in the content folder that are taken when collections are added. The stage is called by
// itself: the manifest stage in front of it never lets a download get that far.

#include <tinyxml.h>

#include <cstdlib>

#include "tests/collections/collection_test.h"
#include "tests/collections/dialog_trace.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/faults/run_checks.h"
#include "tests/support/stored_zip.h"

namespace {

using Files = std::vector<std::wstring>;

/// Gives the calling thread the random sequence that it began with.
void RestartRandomNumbers() { std::srand(1); }

std::wstring NextNumbered() { return L"a.b(" + std::to_wstring(std::rand()) + L").qdc"; }

class ArchiveNameFaults : public CollectionTest {
 protected:
  ArchiveNameFaults() {
    m_sandbox.Write(L"download.zip", CStoredZip().Add("a.b.qdc", "theirs").Bytes());
    m_document.Parse("<C><DownloadedFile Filename='a.b.qdc' Destination='x'/></C>", nullptr,
                     TIXML_ENCODING_LEGACY);
  }

  std::wstring Target(const std::wstring& name) const { return Content(L"x\\" + name); }

  /// Adds the archive's collection; gives what the dialog says it has added.
  Files Add() {
    COpenDialog dialog(L"", ZipPath(), ContentFolder());
    EXPECT_EQ(dialog->AddCollections(m_document), S_OK);
    return dialog->AddedFiles();
  }

  /// Takes this many of the names that are tried one after another; gives them all, and the first
  /// one that is free behind them.
  Files TakeNames(int count) {
    RestartRandomNumbers();
    Files names = {Target(L"a.b.qdc")};
    for (int i = 0; i < count; ++i) {
      m_sandbox.Write(names.back().substr(m_sandbox.Path().size() + 1), "mine");
      names.push_back(Target(NextNumbered()));
    }
    RestartRandomNumbers();
    return names;
  }

  void Remove(const Files& files) const {
    for (const std::wstring& file : files) {
      EXPECT_TRUE(DeleteFileW(file.c_str()));
    }
    EXPECT_EQ(m_sandbox.Files(), Files{L"download.zip"});
  }

  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
  CDialogTrace m_trace;
  CRunChecks m_checks;
  TiXmlDocument m_document;
};

TEST_F(ArchiveNameFaults, TakenNamesAreNumberedAndKept) {
  for (const int count : {0, 1, 2, 100}) {
    SCOPED_TRACE(count);
    m_checks.Run([&] {
      const Files names = TakeNames(count);
      EXPECT_EQ(Add(), Files{names.back()});
      for (const std::wstring& name : names) {
        EXPECT_EQ(ReadFileBytes(name), name == names.back() ? "theirs" : "mine");
      }
      EXPECT_TRUE(m_trace.Take(L"message").empty());
      Remove(names);
    });
  }
}

TEST_F(ArchiveNameFaults, FoldersAndOtherCaseTakeANameToo) {
  m_checks.Run([&] {
    m_sandbox.Write(L"Downloaded Content\\x\\A.B.QDC", "mine");
    RestartRandomNumbers();
    const std::wstring folder = Target(NextNumbered());
    CreateDirectoryW(folder.c_str(), nullptr);
    const std::wstring free = Target(NextNumbered());
    RestartRandomNumbers();
    EXPECT_EQ(Add(), Files{free});
    EXPECT_EQ(ReadFileBytes(free), "theirs");
    RemoveDirectoryW(folder.c_str());
    Remove({Target(L"A.B.QDC"), free});
  });
}

TEST_F(ArchiveNameFaults, OneArchiveAddedTwiceAtOnceIsThereTwice) {
  m_checks.Run([&] {
    RestartRandomNumbers();
    COpenDialog first(L"", ZipPath(), ContentFolder());
    const Files second = Add();
    EXPECT_EQ(first->AddCollections(m_document), S_OK);
    EXPECT_EQ(second, Files{Target(L"a.b.qdc")});
    ASSERT_EQ(first->AddedFiles().size(), 1u);
    EXPECT_NE(first->AddedFiles(), second);
    EXPECT_EQ(ReadFileBytes(second[0]), "theirs");
    EXPECT_EQ(ReadFileBytes(first->AddedFiles()[0]), "theirs");
    Remove({second[0], first->AddedFiles()[0]});
  });
}

TEST_F(ArchiveNameFaults, FileThatCannotBeWrittenIsPassedOver) {
  m_checks.Run([&] {
    // The name is found free; then it is a folder that takes it.
    static decltype(&_wfopen) open;
    const CImportPatch patch(
        "msvcrt.dll", "_wfopen", +[](const wchar_t* path, const wchar_t* mode) -> FILE* {
          CreateDirectoryW(path, nullptr);
          return open(path, mode);
        });
    open = patch.Original<decltype(_wfopen)>();
    EXPECT_TRUE(Add().empty());
    EXPECT_TRUE(m_trace.Take(L"message").empty());
    RemoveDirectoryW(Target(L"a.b.qdc").c_str());
    Remove({});
  });
}

}  // namespace
