#include "download/file_operations.h"

#include <gtest/gtest.h>
#include <io.h>

#include <string>

#include "tests/support/import_spy.h"
#include "tests/support/temp_sandbox.h"

namespace {

class FileOperations : public testing::Test {
 protected:
  CFilePath In(const wchar_t* name) const { return CFilePath((m_sandbox / name).c_str()); }
  CFilePath Write(const wchar_t* name, const std::string& bytes) const {
    return CFilePath(m_sandbox.Write(name, bytes).c_str());
  }
  /// A handle to the file that nothing else can be opened beside.
  static CHandle Hold(const CFilePath& file) {
    return CHandle(CreateFileW(file, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
  }

  const CTempSandbox m_sandbox;
  const CFilePath m_folder{m_sandbox.Path().c_str()};
};

TEST_F(FileOperations, ExistenceOfFilesFoldersAndNothing) {
  struct {
    CFilePath path;
    bool exists;
    bool isFolder;
  } const cases[] = {{Write(L"f.txt", "x"), true, false},
                     {m_folder, true, true},
                     {In(L"missing"), false, false},
                     {CFilePath(), false, false}};
  for (const auto& c : cases) {
    EXPECT_EQ(PathExists(c.path), c.exists) << c.path.GetText().GetString();
    EXPECT_EQ(IsFolder(c.path), c.isFolder) << c.path.GetText().GetString();
  }
}

TEST_F(FileOperations, FolderTreeReturnsWhetherItsLastFolderIsThere) {
  EXPECT_TRUE(CreateFolderTree(In(L"a\\b\\c")));
  EXPECT_TRUE(IsFolder(In(L"a\\b\\c")));
  EXPECT_TRUE(CreateFolderTree(Write(L"file", "x"))) << "any existing path will do";
  EXPECT_FALSE(CreateFolderTree(In(L"file\\below")));
  EXPECT_FALSE(CreateFolderTree(CFilePath(L"Q:\\missing\\drive")));
  EXPECT_FALSE(CreateFolderTree(CFilePath()));
}

TEST_F(FileOperations, DeletionFailsForAFolderAFileInUseAndWithoutAttributes) {
  EXPECT_FALSE(DeleteFileForced(m_folder));
  const CFilePath file = Write(L"f.txt", "x");
  {
    const CHandle held = Hold(file);
    EXPECT_FALSE(DeleteFileForced(file));
  }
  {
    const CImportSpy<&SetFileAttributesW> attributes("kernel32.dll", "SetFileAttributesW",
                                                     [](auto...) { return FALSE; });
    EXPECT_FALSE(DeleteFileForced(file));
  }
  EXPECT_TRUE(PathExists(file));
  SetFileAttributesW(file, FILE_ATTRIBUTE_READONLY);
  EXPECT_TRUE(DeleteFileForced(file));
  EXPECT_FALSE(PathExists(file));
  EXPECT_TRUE(DeleteFileForced(file)) << "absent already";
}

TEST_F(FileOperations, CopyOverwritesUnlessToldNotTo) {
  const CFilePath source = Write(L"source", "new");
  const CFilePath target = Write(L"target", "old");
  EXPECT_FALSE(CopyFileTo(source, target, true));
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"target"), "old");
  EXPECT_TRUE(CopyFileTo(source, target, false));
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"target"), "new");
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
  EXPECT_TRUE(GetHandleInformation(handle, &flags));
  EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
  char bytes[16] = {};
  EXPECT_EQ(fread(bytes, 1, sizeof(bytes), stream.get()), 7u);
  EXPECT_STREQ(bytes, "content");
  EXPECT_EQ(OpenFileNoInherit(In(L"missing"), L"rb"), nullptr);
  EXPECT_EQ(OpenFileNoInherit(m_folder, L"rb"), nullptr);
}

TEST_F(FileOperations, SizeIsInBytesOrMinusOne) {
  const CFilePath file = Write(L"f", std::string(1234, '\n'));
  {
    const CHandle held = Hold(file);
    EXPECT_EQ(GetFileSize32(file), -1);
  }
  EXPECT_EQ(GetFileSize32(Write(L"empty", "")), 0);
  for (const CFilePath& none : {In(L"missing"), CFilePath(), m_folder}) {
    EXPECT_EQ(GetFileSize32(none), -1);
  }
  const CImportSpy<&SetHandleInformation> hide("kernel32.dll", "SetHandleInformation");
  for (int i = 0; i < 1000; ++i) {  // the C library has room for 2048 streams, 512 by default
    ASSERT_EQ(GetFileSize32(file), 1234);
  }
  EXPECT_EQ(hide.Calls().size(), 1000u) << "no stream is inherited";
}

}  // namespace
