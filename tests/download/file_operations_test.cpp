#include "download/file_operations.h"

#include <gtest/gtest.h>
#include <io.h>

#include <string>

#include "tests/support/import_patch.h"
#include "tests/support/temp_sandbox.h"

namespace {

class FileOperations : public testing::Test {
 protected:
  CFilePath In(const wchar_t* name) const { return CFilePath((m_sandbox / name).c_str()); }
  CFilePath Write(const wchar_t* name, const std::string& bytes) const {
    return CFilePath(m_sandbox.Write(name, bytes).c_str());
  }

  const CTempSandbox m_sandbox;
};

TEST_F(FileOperations, ExistenceOfFilesFoldersAndNothing) {
  const CFilePath file = Write(L"f.txt", "x");
  EXPECT_TRUE(PathExists(file));
  EXPECT_FALSE(IsFolder(file));
  const CFilePath folder(m_sandbox.Path().c_str());
  EXPECT_TRUE(PathExists(folder));
  EXPECT_TRUE(IsFolder(folder));
  EXPECT_FALSE(PathExists(In(L"missing")));
  EXPECT_FALSE(IsFolder(In(L"missing")));
  EXPECT_FALSE(PathExists(CFilePath()));
  EXPECT_FALSE(IsFolder(CFilePath()));
}

TEST_F(FileOperations, FolderTreeIsCreatedWithAllItsParents) {
  const CFilePath folder = In(L"a\\b\\c");
  EXPECT_TRUE(CreateFolderTree(folder));
  EXPECT_TRUE(IsFolder(folder));
  EXPECT_TRUE(CreateFolderTree(folder)) << "it exists";
}

TEST_F(FileOperations, FolderTreeTellsHowItsLastFolderCameOut) {
  EXPECT_FALSE(CreateFolderTree(CFilePath(L"Q:\\missing\\drive")));
  EXPECT_FALSE(CreateFolderTree(CFilePath()));
  const CFilePath file = Write(L"file", "x");
  EXPECT_TRUE(CreateFolderTree(file)) << "any existing path will do";
  EXPECT_FALSE(CreateFolderTree(In(L"file\\below")));
}

TEST_F(FileOperations, DeletingTakesReadOnlyFilesToo) {
  const CFilePath file = Write(L"f.txt", "x");
  SetFileAttributesW(file, FILE_ATTRIBUTE_READONLY);
  EXPECT_TRUE(DeleteFileForced(file));
  EXPECT_FALSE(PathExists(file));
  EXPECT_TRUE(DeleteFileForced(file)) << "absent already";
  EXPECT_TRUE(DeleteFileForced(CFilePath()));
}

TEST_F(FileOperations, DeletingAFileInUseFails) {
  const CFilePath file = Write(L"f.txt", "x");
  const HANDLE held =
      CreateFileW(file, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(DeleteFileForced(file));
  EXPECT_TRUE(PathExists(file));
  CloseHandle(held);
  EXPECT_TRUE(DeleteFileForced(file));
}

TEST_F(FileOperations, FileWhoseAttributesCannotBeSetIsNotDeleted) {
  const CFilePath file = Write(L"a", "x");
  const CImportPatch patch(
      "kernel32.dll", "SetFileAttributesW", +[](LPCWSTR, DWORD) -> BOOL { return FALSE; });
  EXPECT_FALSE(DeleteFileForced(file));
  EXPECT_TRUE(PathExists(file));
}

TEST_F(FileOperations, DeletingAFolderFails) {
  EXPECT_FALSE(DeleteFileForced(CFilePath(m_sandbox.Path().c_str())));
}

TEST_F(FileOperations, CopyOverwritesUnlessToldNotTo) {
  const CFilePath source = Write(L"source", "new");
  const CFilePath target = Write(L"target", "old");
  EXPECT_FALSE(CopyFileTo(source, target, true));
  EXPECT_EQ(ReadFileBytes(target.GetText().GetString()), "old");
  EXPECT_TRUE(CopyFileTo(source, target, false));
  EXPECT_EQ(ReadFileBytes(target.GetText().GetString()), "new");
  EXPECT_TRUE(CopyFileTo(source, In(L"third"), true));
  EXPECT_TRUE(PathExists(source));
  EXPECT_FALSE(CopyFileTo(In(L"missing"), target, false));
  EXPECT_FALSE(CopyFileTo(source, In(L"no\\folder"), false));
}

TEST_F(FileOperations, StreamsAreNotInherited) {
  const CFilePath file = Write(L"f.txt", "content");
  const CFileStream stream = OpenFileNoInherit(file, L"rb");
  ASSERT_NE(stream, nullptr);
  DWORD flags = HANDLE_FLAG_INHERIT;
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream.get())));
  ASSERT_TRUE(GetHandleInformation(handle, &flags));
  EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
  char bytes[16] = {};
  EXPECT_EQ(fread(bytes, 1, sizeof(bytes), stream.get()), 7u);
  EXPECT_STREQ(bytes, "content");
}

TEST_F(FileOperations, PlainStreamsAreInheritedSoTheDifferenceCounts) {
  const CFileStream stream(_wfopen(Write(L"f.txt", "x"), L"rb"));
  DWORD flags = 0;
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream.get())));
  ASSERT_TRUE(GetHandleInformation(handle, &flags));
  EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, static_cast<DWORD>(HANDLE_FLAG_INHERIT));
}

TEST_F(FileOperations, StreamsThatCannotBeOpenedAreNull) {
  EXPECT_EQ(OpenFileNoInherit(In(L"missing"), L"rb"), nullptr);
  EXPECT_EQ(OpenFileNoInherit(CFilePath(m_sandbox.Path().c_str()), L"rb"), nullptr);
}

TEST_F(FileOperations, SizeIsInBytesOrMinusOne) {
  EXPECT_EQ(GetFileSize32(Write(L"f", std::string(1234, '\n'))), 1234);
  EXPECT_EQ(GetFileSize32(Write(L"empty", "")), 0);
  EXPECT_EQ(GetFileSize32(In(L"missing")), -1);
  EXPECT_EQ(GetFileSize32(CFilePath()), -1);
  EXPECT_EQ(GetFileSize32(CFilePath(m_sandbox.Path().c_str())), -1);
}

TEST_F(FileOperations, SizeOfAFileThatCannotBeOpenedIsMinusOne) {
  const CFilePath file = Write(L"f", "x");
  const HANDLE held =
      CreateFileW(file, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetFileSize32(file), -1);
  CloseHandle(held);
}

TEST_F(FileOperations, SizeIsReadThroughAStreamThatIsNotInherited) {
  static int hidden;
  hidden = 0;
  const CImportPatch patch(
      "kernel32.dll", "SetHandleInformation", +[](HANDLE, DWORD mask, DWORD flags) -> BOOL {
        hidden += mask == HANDLE_FLAG_INHERIT && flags == 0 ? 1 : 0;
        return TRUE;
      });
  EXPECT_EQ(GetFileSize32(Write(L"f", "x")), 1);
  EXPECT_EQ(hidden, 1);
}

TEST_F(FileOperations, SizeAskedForAgainAndAgainLeavesNoHandle) {
  const CFilePath file = Write(L"f", "x");
  for (int i = 0; i < 1000; ++i) {  // the C library has room for 2048 streams, 512 by default
    ASSERT_EQ(GetFileSize32(file), 1);
  }
}

}  // namespace
