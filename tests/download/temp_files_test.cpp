#include "download/temp_files.h"

#include <gtest/gtest.h>

#include <shlwapi.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "download/file_operations.h"
#include "tests/support/import_spy.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"

namespace {

class TempFiles : public testing::Test {
 protected:
  ~TempFiles() override { SetTempBaseFolder(L""); }

  const CTempSandbox m_sandbox;
  const CStringW m_folder = m_sandbox.Path().c_str();
};

std::wstring Text(const CFilePath& path) { return path.GetText().GetString(); }

TEST_F(TempFiles, ClashesDrawTheUnseededSequenceOfTheThread) {
  const std::vector<std::wstring> expected = {L"%s.folivo", L"%s(41).folivo", L"%s(18467).folivo",
                                              L"%s(6334).folivo", L"%s(26500).folivo"};
  std::vector<std::wstring> names;
  CParallel([&] {
    for (size_t i = 0; i < expected.size(); ++i) {
      names.emplace_back(MakeUniqueFilePath(m_folder, L"%s", L".folivo").GetFileNamePart());
      m_sandbox.Write(i == 1 ? names.back() + L"\\in a folder" : names.back(), "taken");
    }
  }).Join();
  EXPECT_EQ(names, expected);
  srand(77);  // numbers follow what the thread has drawn before
  const int next = rand();
  srand(77);
  m_sandbox.Write(L"a.qdk", "taken");
  EXPECT_EQ(Text(MakeUniqueFilePath(m_folder, L"a", L".qdk")),
            m_sandbox / (L"a(" + std::to_wstring(next) + L").qdk"));
}

TEST_F(TempFiles, TriesHaveNoLimit) {
  const CImportSpy<&PathFileExistsW> exists("shlwapi.dll", "PathFileExistsW",
                                            [&](auto...) { return exists.Calls().size() <= 5000; });
  const std::wstring path = Text(MakeUniqueFilePath(m_folder, L"a", L".qdk"));
  EXPECT_EQ(exists.Calls().size(), 5001u);
  EXPECT_TRUE(path.starts_with(m_sandbox / L"a("));
}

TEST_F(TempFiles, UniqueFolderCountsUpWithoutSeparator) {
  for (int i = 0; i <= 12; ++i) {
    const std::wstring expected = L"Shapes" + (i == 0 ? L"" : std::to_wstring(i));
    const CFilePath path = MakeUniqueFolderPath(m_folder, L"Shapes");
    EXPECT_EQ(Text(path), m_sandbox / expected);
    EXPECT_FALSE(PathExists(path)) << "nothing is created";
    m_sandbox.Write(i == 1 ? expected : expected + L"\\file", "a file of the name counts too");
  }
}

TEST_F(TempFiles, BaseFolderIsTheOverrideOrTheSystems) {
  EXPECT_EQ(Text(GetTempBaseFolder()), m_sandbox.Path());
  EXPECT_EQ(Text(MakeTempFilePath(L".qdk", L"lesson")), m_sandbox / L"lesson.qdk");
  SetTempBaseFolder(L"C:/Other/");
  EXPECT_EQ(Text(GetTempBaseFolder()), L"C:\\Other");
  EXPECT_EQ(Text(MakeTempFilePath(L".qdk", L"lesson")), L"C:\\Other\\lesson.qdk");
  SetTempBaseFolder(L"");
  EXPECT_EQ(Text(GetTempBaseFolder()), m_sandbox.Path());
}

TEST_F(TempFiles, BaseFolderIsWholeWhileOtherThreadsSetIt) {
  const CStringW folders[] = {L"C:\\aaaaaaaaaaaaaaaaaaaa", L"C:\\bbbbbbbbbbbbbbbbbbbb"};
  SetTempBaseFolder(folders[0]);
  const auto set = [&] {
    for (int i = 0; i < 100000; ++i) {
      // A text of its own, so that the one before is freed.
      SetTempBaseFolder(folders[i % 2].GetString());
    }
  };
  const CParallel first(set);
  const CParallel second(set);
  for (int i = 0; i < 100000; ++i) {
    const CStringW folder = GetTempBaseFolder().GetText();
    ASSERT_TRUE(folder == folders[0] || folder == folders[1]) << folder.GetString();
  }
}

TEST_F(TempFiles, EmptyNameIsMadeFromProcessAndTime) {
  const CImportSpy<&GetTickCount> clock("kernel32.dll", "GetTickCount", [] { return 0xABCDu; });
  EXPECT_EQ(Text(MakeTempFilePath(L".qdk", L"")),
            m_sandbox / (L"FVK-" + std::to_wstring(GetCurrentProcessId()) + L"-abcd.qdk"));
}

TEST_F(TempFiles, SystemFolderIsWholeOrEmptyAndWithoutTrailingBackslash) {
  EXPECT_EQ(Text(GetSystemTempFolder()), m_sandbox.Path());
  std::wstring answer;
  // The length without the terminator, or the size needed with it.
  const CImportSpy<&GetTempPathW> system("kernel32.dll", "GetTempPathW",
                                         [&](DWORD size, LPWSTR buffer) -> DWORD {
                                           const auto length = static_cast<DWORD>(answer.size());
                                           if (length + 1 > size) {
                                             return length + 1;
                                           }
                                           wcscpy(buffer, answer.c_str());
                                           return length;
                                         });
  EXPECT_TRUE(GetSystemTempFolder().IsEmpty()) << "the query fails";
  for (const size_t length : {4U, 258U, 259U, 260U, 261U, 1000U}) {
    answer = L"C:\\" + std::wstring(length - 4, L't') + L"\\";
    EXPECT_EQ(GetSystemTempFolder().GetText().GetLength(),
              length < 260 ? static_cast<int>(length) - 1 : 0);
  }
}

TEST_F(TempFiles, AppFolderLiesBelowTheSystemsWhateverTheOverride) {
  SetTempBaseFolder(L"C:\\Other");
  EXPECT_EQ(Text(GetAppTempFilesFolder(L"MERLO Folivo")),
            m_sandbox / L"MERLO Technologies\\MERLO Folivo\\TempFiles");
  EXPECT_EQ(Text(GetAppTempFilesFolder(L"Other App")),
            m_sandbox / L"MERLO Technologies\\Other App\\TempFiles");
  EXPECT_EQ(Text(GetAppTempFilesFolder(L"")), m_sandbox / L"MERLO Technologies\\TempFiles");
  EXPECT_FALSE(PathExists(CFilePath((m_sandbox / L"MERLO Technologies").c_str())))
      << "nothing is created";
}

}  // namespace
