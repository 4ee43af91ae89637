#include "plugin/file_version.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "plugin/thread_locale.h"
#include "tests/support/import_patch.h"
#include "tests/support/temp_sandbox.h"

namespace {

std::optional<std::wstring> Version(const std::wstring& path) {
  const auto version = ReadFileVersion(path.c_str());
  return version ? std::optional<std::wstring>(FormatFileVersion(*version).GetString())
                 : std::nullopt;
}

std::wstring SystemFile(const std::wstring& name) {
  wchar_t folder[MAX_PATH] = {};
  GetSystemDirectoryW(folder, MAX_PATH);
  return std::wstring(folder) + L"\\" + name;
}

TEST(FileVersion, IsWrittenAsFourDecimalNumbers) {
  VS_FIXEDFILEINFO version = {};
  version.dwFileVersionMS = MAKELONG(1, 14);
  version.dwFileVersionLS = MAKELONG(720, 3);
  version.dwProductVersionMS = MAKELONG(8, 9);
  EXPECT_STREQ(FormatFileVersion(version), L"14.1.3.720");
  version.dwFileVersionMS = 0xFFFFFFFF;
  version.dwFileVersionLS = 0;
  EXPECT_STREQ(FormatFileVersion(version), L"65535.65535.0.0");
}

TEST(FileVersion, IsReadFromAFile) {
  EXPECT_TRUE(Version(SystemFile(L"kernel32.dll")).has_value());
}

TEST(FileVersion, FileWithoutOneHasNone) {
  EXPECT_FALSE(Version(SystemFile(L"drivers\\etc\\hosts")).has_value());
  EXPECT_FALSE(Version(L"C:\\no such file").has_value());
  EXPECT_FALSE(Version(L"").has_value());
}

DWORD g_error = 0;
std::vector<std::string> g_calls;
/// Takes the place of any of the functions.
DWORD WINAPI Fail() {
  SetLastError(g_error);
  return 0;
}

decltype(&GetFileVersionInfoSizeW) g_wideSize = nullptr;
DWORD WINAPI SucceedWithAnError(LPCWSTR path, LPDWORD handle) {
  const DWORD size = g_wideSize(path, handle);
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return size;
}

decltype(&GetFileVersionInfoSizeA) g_narrowSize = nullptr;
DWORD WINAPI NoteNarrowSize(LPCSTR path, LPDWORD handle) {
  g_calls.push_back("size of " + std::string(path));
  return g_narrowSize(path, handle);
}
decltype(&GetFileVersionInfoA) g_narrowInfo = nullptr;
BOOL WINAPI NoteNarrowInfo(LPCSTR path, DWORD handle, DWORD size, LPVOID info) {
  g_calls.push_back("info of " + std::string(path));
  return g_narrowInfo(path, handle, size, info);
}
decltype(&VerQueryValueA) g_narrowQuery = nullptr;
BOOL WINAPI NoteNarrowQuery(LPCVOID info, LPCSTR block, LPVOID* value, PUINT size) {
  g_calls.push_back("query of " + std::string(block));
  return g_narrowQuery(info, block, value, size);
}

/// Takes down the calls of the narrow functions.
class NarrowFileVersion : public testing::Test {
 protected:
  NarrowFileVersion() {
    g_calls.clear();
    g_error = ERROR_CALL_NOT_IMPLEMENTED;
    g_narrowSize = m_size.Original<decltype(GetFileVersionInfoSizeA)>();
    g_narrowInfo = m_info.Original<decltype(GetFileVersionInfoA)>();
    g_narrowQuery = m_query.Original<decltype(VerQueryValueA)>();
  }

  const CImportPatch m_size{"version.dll", "GetFileVersionInfoSizeA", &NoteNarrowSize};
  const CImportPatch m_info{"version.dll", "GetFileVersionInfoA", &NoteNarrowInfo};
  const CImportPatch m_query{"version.dll", "VerQueryValueA", &NoteNarrowQuery};
};

TEST_F(NarrowFileVersion, SystemWithoutWideFunctionsIsAskedInItsCodePage) {
  // The thread has a code page of its own, which is not to be used.
  const CThreadLocaleScope russian(
      MAKELCID(MAKELANGID(LANG_RUSSIAN, SUBLANG_DEFAULT), SORT_DEFAULT));
  ASSERT_EQ(GetACP(), 1252u);
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"\u00dcbung \u20ac.dll";
  std::filesystem::copy_file(SystemFile(L"kernel32.dll"), path);
  const auto expected = Version(path);
  EXPECT_TRUE(expected.has_value());
  const CImportPatch size("version.dll", "GetFileVersionInfoSizeW", &Fail);
  const CImportPatch info("version.dll", "GetFileVersionInfoW", &Fail);
  const CImportPatch query("version.dll", "VerQueryValueW", &Fail);
  EXPECT_EQ(Version(path), expected);
  const std::string narrow = std::string(sandbox.Path().begin(), sandbox.Path().end()) +
                             "\\\xDC"
                             "bung \x80.dll";
  EXPECT_EQ(g_calls,
            (std::vector<std::string>{"size of " + narrow, "info of " + narrow, "query of \\"}));
}

TEST_F(NarrowFileVersion, AnyOtherErrorOfTheWideSizeEndsTheRead) {
  const CImportPatch patch("version.dll", "GetFileVersionInfoSizeW", &Fail);
  for (const DWORD error : {ERROR_SUCCESS, ERROR_FILE_NOT_FOUND, ERROR_RESOURCE_TYPE_NOT_FOUND}) {
    g_error = error;
    EXPECT_FALSE(Version(SystemFile(L"kernel32.dll")).has_value()) << error;
  }
  EXPECT_EQ(g_calls, std::vector<std::string>());
}

TEST_F(NarrowFileVersion, ErrorLeftBehindASuccessIsIgnored) {
  const CImportPatch patch("version.dll", "GetFileVersionInfoSizeW", &SucceedWithAnError);
  g_wideSize = patch.Original<decltype(GetFileVersionInfoSizeW)>();
  EXPECT_TRUE(Version(SystemFile(L"kernel32.dll")).has_value());
  EXPECT_EQ(g_calls, std::vector<std::string>());
}

// What fails may still have written something. For wide and narrow text alike.
std::vector<BYTE> g_information;
VS_FIXEDFILEINFO g_info;
BOOL WINAPI FillAndFail(const void*, DWORD, DWORD size, LPVOID info) {
  std::copy_n(g_information.begin(), std::min<size_t>(size, g_information.size()),
              static_cast<BYTE*>(info));
  SetLastError(g_error);
  return FALSE;
}
BOOL WINAPI AnswerAndFail(LPCVOID, const void*, LPVOID* info, PUINT size) {
  *info = &g_info;
  *size = sizeof(g_info);
  SetLastError(g_error);
  return FALSE;
}

TEST_F(NarrowFileVersion, FailingLaterStepEndsTheRead) {
  const std::wstring path = SystemFile(L"kernel32.dll");
  g_information.resize(GetFileVersionInfoSizeW(path.c_str(), nullptr));
  ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(g_information.size()),
                                  g_information.data()));
  {
    const CImportPatch patch("version.dll", "GetFileVersionInfoW", &FillAndFail);
    EXPECT_FALSE(Version(path).has_value());
  }
  {
    const CImportPatch patch("version.dll", "VerQueryValueW", &AnswerAndFail);
    EXPECT_FALSE(Version(path).has_value());
  }
  EXPECT_EQ(g_calls, std::vector<std::string>()) << "only the size decides how to go on";
  const CImportPatch noWide("version.dll", "GetFileVersionInfoSizeW", &Fail);
  {
    const CImportPatch patch("version.dll", "GetFileVersionInfoSizeA", &Fail);
    EXPECT_FALSE(Version(path).has_value());
  }
  {
    const CImportPatch patch("version.dll", "GetFileVersionInfoA", &FillAndFail);
    EXPECT_FALSE(Version(path).has_value());
  }
  const CImportPatch patch("version.dll", "VerQueryValueA", &AnswerAndFail);
  EXPECT_FALSE(Version(path).has_value());
}

UINT g_size = 0;
void* g_block = nullptr;
BOOL WINAPI AnswerQuery(LPCVOID, LPCWSTR block, LPVOID* info, PUINT size) {
  EXPECT_STREQ(block, L"\\");
  *info = g_block;
  *size = g_size;
  return TRUE;
}

TEST(FileVersion, ShortOrMissingBlockIsNotCopied) {
  const CImportPatch patch("version.dll", "VerQueryValueW", &AnswerQuery);
  const std::wstring path = SystemFile(L"kernel32.dll");
  g_block = &g_info;
  for (const UINT size : {0, 4, 51}) {
    g_size = size;
    EXPECT_FALSE(Version(path).has_value()) << size;
  }
  g_size = 52;
  EXPECT_EQ(Version(path), L"0.0.0.0");
  g_block = nullptr;
  EXPECT_FALSE(Version(path).has_value());
}

}  // namespace
