#include "browser/long_path.h"

#include <gtest/gtest.h>
#include <shlwapi.h>

#include <filesystem>
#include <string>

#include "tests/support/import_spy.h"
#include "tests/support/temp_sandbox.h"

namespace {

constexpr DWORD kBufferLength = 261;
constexpr DWORD kUntouched = 4711;

struct CLongForm {
  explicit CLongForm(const std::wstring& path) {
    SetLastError(kUntouched);
    length = GetLongPathForm(path.c_str(), text, kBufferLength);
    error = GetLastError();
  }
  wchar_t text[kBufferLength] = L"untouched";
  DWORD length;
  DWORD error;
};

std::wstring ShortForm(const std::wstring& path) {
  wchar_t text[MAX_PATH] = {};
  GetShortPathNameW(path.c_str(), text, MAX_PATH);
  return text;
}

/// Every path exists, so that forms which this file system cannot hold can be looked at.
struct CEverythingExists {
  const CImportSpy<&PathFileExistsW> exists{"shlwapi.dll", "PathFileExistsW",
                                            [](LPCWSTR) { return TRUE; }};
};

/// A file system that reports one name for whatever it is asked for.
struct CFileSystemOfOneName : CEverythingExists {
  explicit CFileSystemOfOneName(const std::wstring& name)
      : find("kernel32.dll", "FindFirstFileW",
             [this, name](LPCWSTR pattern, WIN32_FIND_DATAW* data) -> HANDLE {
               asked += std::wstring(pattern) + L";";
               wcscpy(data->cFileName, name.c_str());
               return data;  // any value but the one for failure
             }) {}
  std::wstring asked;  // the patterns, each with a semicolon behind it
  const CImportSpy<&FindFirstFileW> find;
  const CImportSpy<&FindClose> close{"kernel32.dll", "FindClose", [](HANDLE) { return TRUE; }};
};

std::wstring LongForm(const std::wstring& path) { return CLongForm(path).text; }

TEST(LongPathForm, StoredNamesReplaceTheCaseOfTheCaller) {
  const CTempSandbox sandbox;
  const std::wstring file = sandbox.Write(L"Some Folder\\My Lesson.folivo", "x");
  const CLongForm form(sandbox / L"SOME FOLDER\\my lesson.FOLIVO");
  EXPECT_EQ(std::wstring(form.text).substr(sandbox.Path().size()),
            L"\\Some Folder\\My Lesson.folivo");
  EXPECT_EQ(form.length, wcslen(form.text));
  EXPECT_EQ(form.error, static_cast<DWORD>(ERROR_SUCCESS));
}

TEST(LongPathForm, ShortComponentsBecomeTheirLongNames) {
  const CTempSandbox sandbox;
  const std::wstring file = sandbox.Write(L"A folder with a long name\\A long name.folivo", "x");
  const std::wstring shortForm = ShortForm(file);
  ASSERT_NE(shortForm.find(L'~'), std::wstring::npos) << "no short names here";
  EXPECT_EQ(LongForm(shortForm), LongForm(file));
  EXPECT_NE(LongForm(shortForm).find(L"A folder with a long name\\A long name."),
            std::wstring::npos);
}

TEST(LongPathForm, RootAndDotsStayAsWritten) {
  EXPECT_EQ(LongForm(L"c:\\WINDOWS"), L"c:\\windows");
  EXPECT_EQ(LongForm(L"C:\\WINDOWS\\."), L"C:\\windows\\.");
  EXPECT_EQ(LongForm(L"C:\\WINDOWS\\..\\WINDOWS"), L"C:\\windows\\..\\windows");
  const CEverythingExists everything;
  for (const wchar_t* path : {L"c:\\", L"ab\\no such name", L"\\\\server\\share\\folder\\file.qdk",
                              L"\\\\server\\share", L"\\\\server"}) {
    EXPECT_EQ(LongForm(path), path);
    EXPECT_EQ(CLongForm(path).length, wcslen(path));
  }
}

TEST(LongPathForm, ComponentsBelowAShareAreLookedUp) {
  const CFileSystemOfOneName fileSystem(L"Long");
  EXPECT_EQ(LongForm(L"\\\\server\\share\\A~1\\B~1"), L"\\\\server\\share\\Long\\Long");
  EXPECT_EQ(fileSystem.asked, L"\\\\server\\share\\A~1;\\\\server\\share\\Long\\B~1;");
}

TEST(LongPathForm, MissingPathIsAnInvalidParameter) {
  const CLongForm form(L"C:\\no such folder\\file");
  EXPECT_EQ(form.length, 0u);
  EXPECT_EQ(form.error, static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(std::wstring(form.text), L"untouched");
  EXPECT_EQ(CLongForm(L"").error, static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(LongPathForm, MoreThan260CharactersAreAnInvalidParameter) {
  const CEverythingExists everything;
  const std::wstring longest = L"C:\\" + std::wstring(257, L'a');
  EXPECT_EQ(CLongForm(longest).length, 260u);
  EXPECT_EQ(LongForm(longest), longest);
  const CLongForm form(L"C:\\" + std::wstring(258, L'a'));
  EXPECT_EQ(form.length, 0u);
  EXPECT_EQ(form.error, static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(LongPathForm, RelativePathIsInvalidData) {
  const CTempSandbox sandbox;
  sandbox.Write(L"here", "x");
  wchar_t previous[MAX_PATH] = {};
  GetCurrentDirectoryW(MAX_PATH, previous);
  ASSERT_TRUE(SetCurrentDirectoryW(sandbox.Path().c_str()));
  const CLongForm form(L"here");
  SetCurrentDirectoryW(previous);
  EXPECT_EQ(form.length, 0u);
  EXPECT_EQ(form.error, static_cast<DWORD>(ERROR_INVALID_DATA));
}

TEST(LongPathForm, NullBufferOnlyMeasures) {
  SetLastError(kUntouched);
  EXPECT_EQ(GetLongPathForm(L"C:\\WINDOWS", nullptr, 0), 10u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
}

TEST(LongPathForm, LongerThan260CharactersIsNotCopied) {
  const CFileSystemOfOneName fileSystem(std::wstring(130, L'n'));
  // 3 + 130, then 1 + 130 more.
  EXPECT_EQ(CLongForm(L"C:\\A").length, 133u);
  const CLongForm form(L"C:\\A\\B");
  EXPECT_EQ(form.length, 0u);
  EXPECT_EQ(form.error, static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(std::wstring(form.text), L"untouched");
}

TEST(LongPathForm, TooSmallABufferIsNotOverrun) {
  wchar_t buffer[] = L"0123456789abc";
  EXPECT_EQ(GetLongPathForm(L"C:\\windows", buffer, 10), 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(std::wstring(buffer), L"0123456789abc");
}

/// A folder that does not exist, so that it is measured as it is written: `length` characters.
std::wstring FolderOfLength(size_t length) { return L"Q:\\" + std::wstring(length - 3, L'f'); }

/// The length that is left of a base name, given the sum of folder, base name and extension.
int FittedLength(int sum) {
  const std::wstring folder = FolderOfLength(200);
  const CStringW extension(L".folivo");
  const std::wstring base(static_cast<size_t>(sum) - 200 - 7, L'b');
  CStringW fitted(base.c_str());
  const bool shortened =
      FitPathLength(CFilePath((folder + L"\\" + base + L".folivo").c_str()), extension, fitted);
  EXPECT_EQ(shortened, fitted.GetLength() != static_cast<int>(base.size()));
  EXPECT_EQ(base.compare(0, static_cast<size_t>(fitted.GetLength()), fitted.GetString()), 0);
  return fitted.GetLength();
}

TEST(FitPathLength, ExcessAndFiveSpareCharactersGo) {
  for (const int sum : {259, 260}) {
    EXPECT_EQ(FittedLength(sum), sum - 207);
  }
  for (const int sum : {261, 262, 300}) {
    EXPECT_EQ(FittedLength(sum), 260 - 207 - 5) << sum;
  }
}

TEST(FitPathLength, NothingLeftIsNoNegativeLength) {
  const std::wstring folder = FolderOfLength(250);
  CStringW base(L"abcd");
  EXPECT_TRUE(
      FitPathLength(CFilePath((folder + L"\\abcd.galleryitem").c_str()), L".galleryitem", base));
  EXPECT_EQ(base, L"");
}

TEST(FitPathLength, FolderIsMeasuredInItsLongForm) {
  const CTempSandbox sandbox;
  const std::wstring longName = L"A folder whose name is long " + std::wstring(100, L'x');
  const std::wstring folder = sandbox / longName;
  std::filesystem::create_directory(folder);
  const std::wstring shortForm = ShortForm(folder);
  ASSERT_LT(shortForm.size() + 20, folder.size());
  const std::wstring base(260 - folder.size() - 4 + 1, L'b');
  CStringW fitted(base.c_str());
  EXPECT_TRUE(
      FitPathLength(CFilePath((shortForm + L"\\" + base + L".qdk").c_str()), L".qdk", fitted));
  EXPECT_EQ(fitted.GetLength(), static_cast<int>(base.size()) - 1 - 5);
}

TEST(FitPathLength, LongFormIsUsedUpTo259Characters) {
  for (const size_t length : {258, 259, 260}) {
    const CFileSystemOfOneName fileSystem(std::wstring(length - 3, L'n'));  // behind the root
    CStringW base(L"name");
    EXPECT_EQ(FitPathLength(CFilePath(L"C:\\A\\name.qdk"), L".qdk", base), length < 260) << length;
  }
}

}  // namespace
