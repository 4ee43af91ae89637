#include "browser/long_path.h"

#include <gtest/gtest.h>
#include <shlwapi.h>

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

void ExpectForm(const std::wstring& path, const std::wstring& expected) {
  const CLongForm form(path);
  EXPECT_EQ(form.text, expected);
  EXPECT_EQ(form.length, expected.size());
  EXPECT_EQ(form.error, DWORD{ERROR_SUCCESS});
}

void ExpectFailure(const std::wstring& path, DWORD error) {
  const CLongForm form(path);
  EXPECT_EQ(form.length, 0u);
  EXPECT_EQ(form.error, error) << testing::PrintToString(path);
  EXPECT_EQ(std::wstring(form.text), L"untouched");
}

/// Every path exists, also one that this file system cannot hold.
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
  std::wstring asked;  // the patterns, each with a semicolon after it
  const CImportSpy<&FindFirstFileW> find;
  const CImportSpy<&FindClose> close{"kernel32.dll", "FindClose", [](HANDLE) { return TRUE; }};
};

TEST(LongPath, StoredNamesReplaceShortOnesAndTheCallersCase) {
  const CTempSandbox sandbox;
  const std::wstring file = sandbox.Write(L"A folder with a long name\\A long name.folivo", "x");
  wchar_t shortForm[MAX_PATH] = {};
  GetShortPathNameW(file.c_str(), shortForm, MAX_PATH);
  ASSERT_NE(wcschr(shortForm, L'~'), nullptr) << "no short names here";
  for (const std::wstring& path :
       {std::wstring(shortForm), sandbox / L"A FOLDER WITH A LONG NAME\\a LONG name.FOLIVO"}) {
    EXPECT_TRUE(std::wstring(CLongForm(path).text)
                    .ends_with(L"\\A folder with a long name\\A long name.folivo"));
  }
}

TEST(LongPath, RootAndDotsStayAsWritten) {
  ExpectForm(L"c:\\WINDOWS", L"c:\\windows");
  ExpectForm(L"C:\\WINDOWS\\.", L"C:\\windows\\.");
  ExpectForm(L"C:\\WINDOWS\\..\\WINDOWS", L"C:\\windows\\..\\windows");
  const CEverythingExists everything;
  for (const wchar_t* path : {L"c:\\", L"ab\\no such name", L"\\\\server\\share\\folder\\file.qdk",
                              L"\\\\server\\share", L"\\\\server"}) {
    ExpectForm(path, path);
  }
}

TEST(LongPath, ShortNamesBelowAShareAreExpanded) {
  const CFileSystemOfOneName fileSystem(L"Long");
  ExpectForm(L"\\\\server\\share\\A~1\\B~1", L"\\\\server\\share\\Long\\Long");
  EXPECT_EQ(fileSystem.asked, L"\\\\server\\share\\A~1;\\\\server\\share\\Long\\B~1;");
  EXPECT_EQ(fileSystem.close.Calls().size(), 2u);
}

TEST(LongPath, FailureLeavesTheBufferAsItWas) {
  ExpectFailure(L"C:\\no such folder\\file", ERROR_INVALID_PARAMETER);
  ExpectFailure(L"", ERROR_INVALID_PARAMETER);
  {
    const CEverythingExists everything;
    const std::wstring longest = L"C:\\" + std::wstring(257, L'a');
    ExpectForm(longest, longest);
    ExpectFailure(longest + L"a", ERROR_INVALID_PARAMETER);
    ExpectFailure(L"relative", ERROR_INVALID_DATA);
  }
  const CFileSystemOfOneName fileSystem(std::wstring(130, L'n'));
  EXPECT_EQ(CLongForm(L"C:\\A").length, 3u + 130u);
  ExpectFailure(L"C:\\A\\B", ERROR_INSUFFICIENT_BUFFER);
}

TEST(LongPath, BufferMayBeNullButNotTooSmall) {
  SetLastError(kUntouched);
  EXPECT_EQ(GetLongPathForm(L"C:\\WINDOWS", nullptr, 0), 10u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
  wchar_t buffer[] = L"0123456789abc";
  EXPECT_EQ(GetLongPathForm(L"C:\\windows", buffer, 10), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(std::wstring(buffer), L"0123456789abc");
}

TEST(LongPathFit, BaseNameLosesTheExcessAndFiveMoreCharacters) {
  const struct {
    size_t folder;
    size_t base;
    int fitted;
  } rows[] = {{200, 52, 52}, {200, 53, 53}, {200, 54, 48}, {200, 93, 48}, {250, 4, 0}};
  for (const auto& row : rows) {
    // A folder that does not exist is measured as it is written.
    const std::wstring folder = L"Q:\\" + std::wstring(row.folder - 3, L'f');
    const CStringW base(std::wstring(row.base, L'b').c_str());
    CStringW fitted = base;
    const CFilePath destination((folder + L"\\x").c_str());
    const bool isShortened = FitPathLength(destination, L".folivo", fitted);
    EXPECT_EQ(fitted, base.Left(row.fitted)) << row.base;
    EXPECT_EQ(isShortened, fitted != base);
  }
}

TEST(LongPathFit, FolderIsMeasuredInItsLongFormUpTo259Characters) {
  for (const size_t length : {258, 259, 260}) {
    const CFileSystemOfOneName fileSystem(std::wstring(length - 3, L'n'));  // after the root
    CStringW base(L"name");
    EXPECT_EQ(FitPathLength(CFilePath(L"C:\\A\\name.qdk"), L".qdk", base), length < 260) << length;
  }
}

}  // namespace
