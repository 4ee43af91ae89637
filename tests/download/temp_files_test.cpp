#include "download/temp_files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

#include "download/file_operations.h"
#include "tests/support/import_patch.h"
#include "tests/support/parallel.h"
#include "tests/support/temp_sandbox.h"

namespace {

class TempFiles : public testing::Test {
 protected:
  ~TempFiles() override { SetTempBaseFolder(L""); }

  CStringW Folder() const { return m_sandbox.Path().c_str(); }
  std::wstring In(const std::wstring& name) const { return m_sandbox / name; }

  const CTempSandbox m_sandbox;
};

std::wstring Text(const CFilePath& path) { return path.GetText().GetString(); }

TEST_F(TempFiles, UniqueFileIsTheNameItselfWhileItIsFree) {
  EXPECT_EQ(Text(MakeUniqueFilePath(Folder(), L"a", L".folivo")), In(L"a.folivo"));
  EXPECT_TRUE(m_sandbox.Files().empty()) << "nothing is created";
  EXPECT_EQ(Text(MakeUniqueFilePath(L"C:/x", L"a", L"")), L"C:\\x\\a");
}

TEST_F(TempFiles, ClashesDrawTheUnseededSequenceOfTheThread) {
  // The sequence that an unseeded thread draws.
  const std::vector<std::wstring> expected = {L"a.folivo", L"a(41).folivo", L"a(18467).folivo",
                                              L"a(6334).folivo", L"a(26500).folivo"};
  for (const int thread : {1, 2}) {
    std::vector<std::wstring> names;
    const CTempSandbox sandbox;
    CParallel([&] {
      for (size_t i = 0; i < expected.size(); ++i) {
        const CFilePath path = MakeUniqueFilePath(sandbox.Path().c_str(), L"a", L".folivo");
        names.emplace_back(path.GetFileNamePart());
        sandbox.Write(names.back(), "taken");
      }
    }).Join();
    EXPECT_EQ(names, expected) << "thread " << thread;
  }
}

TEST_F(TempFiles, EveryClashDrawsAnotherNumber) {
  for (const wchar_t* taken : {L"a.qdk", L"a(41).qdk", L"a(18467).qdk"}) {
    m_sandbox.Write(taken, "x");
  }
  std::wstring name;
  CParallel([&] { name = Text(MakeUniqueFilePath(Folder(), L"a", L".qdk")); }).Join();
  EXPECT_EQ(name, In(L"a(6334).qdk"));
}

TEST_F(TempFiles, TriesHaveNoLimit) {
  constexpr int kClashes = 5000;
  static int asked;
  asked = 0;
  const CImportPatch patch(
      "shlwapi.dll", "PathFileExistsW", +[](LPCWSTR) -> BOOL { return ++asked <= kClashes; });
  const std::wstring path = Text(MakeUniqueFilePath(Folder(), L"a", L".qdk"));
  EXPECT_EQ(asked, kClashes + 1);
  EXPECT_EQ(path.rfind(In(L"a("), 0), 0u);
}

TEST_F(TempFiles, NumbersFollowWhatTheThreadHasDrawnBefore) {
  m_sandbox.Write(L"a.qdk", "x");
  srand(77);
  const int next = rand();
  srand(77);
  EXPECT_EQ(Text(MakeUniqueFilePath(Folder(), L"a", L".qdk")),
            In(L"a(" + std::to_wstring(next) + L").qdk"));
}

TEST_F(TempFiles, NamesAreNotFormats) {
  m_sandbox.Write(L"100%s%d.qdk", "x");
  std::wstring name;
  CParallel([&] { name = Text(MakeUniqueFilePath(Folder(), L"100%s%d", L".qdk")); }).Join();
  EXPECT_EQ(name, In(L"100%s%d(41).qdk"));
}

TEST_F(TempFiles, UniqueFolderCountsUpWithoutSeparator) {
  EXPECT_EQ(Text(MakeUniqueFolderPath(Folder(), L"Shapes")), In(L"Shapes"));
  CreateFolderTree(CFilePath(In(L"Shapes").c_str()));
  EXPECT_EQ(Text(MakeUniqueFolderPath(Folder(), L"Shapes")), In(L"Shapes1"));
  m_sandbox.Write(L"Shapes1", "a file of that name counts too");
  EXPECT_EQ(Text(MakeUniqueFolderPath(Folder(), L"Shapes")), In(L"Shapes2"));
  for (int i = 2; i <= 11; ++i) {
    CreateFolderTree(CFilePath(In(L"Shapes" + std::to_wstring(i)).c_str()));
  }
  EXPECT_EQ(Text(MakeUniqueFolderPath(Folder(), L"Shapes")), In(L"Shapes12"));
}

TEST_F(TempFiles, BaseFolderIsTheOverrideOrTheSystems) {
  EXPECT_EQ(Text(GetTempBaseFolder()), m_sandbox.Path());
  SetTempBaseFolder(L"C:/Other/");
  EXPECT_EQ(Text(GetTempBaseFolder()), L"C:\\Other");
  SetTempBaseFolder(L"");
  EXPECT_EQ(Text(GetTempBaseFolder()), m_sandbox.Path());
}

TEST_F(TempFiles, BaseFolderIsWholeWhileOtherWindowsSetIt) {
  constexpr int kRounds = 100000;
  const CStringW folders[] = {(L"C:\\" + std::wstring(100, L'a')).c_str(),
                              (L"C:\\" + std::wstring(100, L'b')).c_str()};
  SetTempBaseFolder(folders[0]);
  const auto set = [&] {
    for (int i = 0; i < kRounds; ++i) {
      // A text of its own, so that the one before is freed.
      SetTempBaseFolder(folders[i % 2].GetString());
    }
  };
  const CParallel first(set);
  const CParallel second(set);
  for (int i = 0; i < kRounds; ++i) {
    const CStringW folder = GetTempBaseFolder().GetText();
    ASSERT_TRUE(folder == folders[0] || folder == folders[1]) << folder.GetString();
  }
}

TEST_F(TempFiles, TempPathUsesTheBaseFolderAndTheName) {
  EXPECT_EQ(Text(MakeTempFilePath(L".qdk", L"lesson")), In(L"lesson.qdk"));
  SetTempBaseFolder(L"C:\\Other");
  EXPECT_EQ(Text(MakeTempFilePath(L".qdk", L"lesson")), L"C:\\Other\\lesson.qdk");
}

TEST_F(TempFiles, EmptyNameIsMadeFromProcessAndTime) {
  const DWORD before = GetTickCount();
  const std::wstring path = Text(MakeTempFilePath(L".qdk", L""));
  const DWORD after = GetTickCount();
  ASSERT_EQ(path.rfind(m_sandbox.Path() + L"\\", 0), 0u);
  const std::wstring name = path.substr(m_sandbox.Path().size() + 1);
  std::wsmatch match;
  ASSERT_TRUE(std::regex_match(name, match, std::wregex(L"FVK-([0-9]+)-([0-9a-f]+)\\.qdk")));
  EXPECT_EQ(std::stoul(match[1]), GetCurrentProcessId());
  const unsigned long tick = std::stoul(match[2], nullptr, 16);
  EXPECT_GE(tick, before);
  EXPECT_LE(tick, after);
}

TEST_F(TempFiles, SystemFolderHasNoTrailingBackslash) {
  EXPECT_EQ(Text(GetSystemTempFolder()), m_sandbox.Path());
}

std::wstring g_tempPath;

/// What the system does: the length without the terminator, or the size needed with it.
DWORD WINAPI TellTempPath(DWORD size, LPWSTR buffer) {
  if (g_tempPath.size() + 1 > size) {
    return static_cast<DWORD>(g_tempPath.size() + 1);
  }
  wcscpy(buffer, g_tempPath.c_str());
  return static_cast<DWORD>(g_tempPath.size());
}

TEST_F(TempFiles, SystemFolderOfAnyLengthIsWholeOrEmpty) {
  const CImportPatch patch("kernel32.dll", "GetTempPathW", &TellTempPath);
  for (const size_t length : {4U, 258U, 259U}) {
    g_tempPath = L"C:\\" + std::wstring(length - 4, L't') + L"\\";
    const CFilePath folder = GetSystemTempFolder();
    EXPECT_EQ(folder.GetText().GetLength(), static_cast<int>(length) - 1);
  }
  for (const size_t length : {260U, 261U, 1000U}) {
    g_tempPath = L"C:\\" + std::wstring(length - 4, L't') + L"\\";
    EXPECT_TRUE(GetSystemTempFolder().IsEmpty()) << length;
  }
}

TEST_F(TempFiles, SystemFolderThatCannotBeToldIsEmpty) {
  const CImportPatch patch(
      "kernel32.dll", "GetTempPathW", +[](DWORD, LPWSTR) -> DWORD { return 0; });
  EXPECT_TRUE(GetSystemTempFolder().IsEmpty());
}

TEST_F(TempFiles, AppFolderLiesBelowTheSystemsWhateverTheOverride) {
  SetTempBaseFolder(L"C:\\Other");
  EXPECT_EQ(Text(GetAppTempFilesFolder(L"MERLO Folivo")),
            In(L"MERLO Technologies\\MERLO Folivo\\TempFiles"));
  EXPECT_EQ(Text(GetAppTempFilesFolder(L"Other App")),
            In(L"MERLO Technologies\\Other App\\TempFiles"));
  EXPECT_EQ(Text(GetAppTempFilesFolder(L"")), In(L"MERLO Technologies\\TempFiles"));
  EXPECT_FALSE(PathExists(CFilePath(In(L"MERLO Technologies").c_str()))) << "nothing is created";
}

}  // namespace
