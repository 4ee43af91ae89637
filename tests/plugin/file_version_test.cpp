#include "plugin/file_version.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/import_patch.h"

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
int g_narrowCalls = 0;
std::vector<std::string> g_calls;
DWORD WINAPI FailWideSize(LPCWSTR, LPDWORD) {
  SetLastError(g_error);
  return 0;
}
decltype(&GetFileVersionInfoSizeA) g_narrowSize = nullptr;
DWORD WINAPI CountNarrowSize(LPCSTR path, LPDWORD handle) {
  ++g_narrowCalls;
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
BOOL WINAPI NoteWideInfo(LPCWSTR, DWORD, DWORD, LPVOID) {
  g_calls.push_back("wide info");
  return FALSE;
}
BOOL WINAPI NoteWideQuery(LPCVOID, LPCWSTR, LPVOID*, PUINT) {
  g_calls.push_back("wide query");
  return FALSE;
}

TEST(FileVersion, SystemWithoutWideFunctionsIsAskedInNarrowText) {
  const auto expected = Version(SystemFile(L"kernel32.dll"));
  const CImportPatch wide("version.dll", "GetFileVersionInfoSizeW", &FailWideSize);
  const CImportPatch narrow("version.dll", "GetFileVersionInfoSizeA", &CountNarrowSize);
  g_narrowSize = narrow.Original<decltype(GetFileVersionInfoSizeA)>();
  const CImportPatch info("version.dll", "GetFileVersionInfoA", &NoteNarrowInfo);
  g_narrowInfo = info.Original<decltype(GetFileVersionInfoA)>();
  const CImportPatch query("version.dll", "VerQueryValueA", &NoteNarrowQuery);
  g_narrowQuery = query.Original<decltype(VerQueryValueA)>();
  const CImportPatch wideInfo("version.dll", "GetFileVersionInfoW", &NoteWideInfo);
  const CImportPatch wideQuery("version.dll", "VerQueryValueW", &NoteWideQuery);
  g_error = ERROR_CALL_NOT_IMPLEMENTED;
  g_narrowCalls = 0;
  g_calls.clear();
  const std::wstring path = SystemFile(L"kernel32.dll");
  EXPECT_EQ(Version(path), expected);
  EXPECT_EQ(g_narrowCalls, 1);
  EXPECT_EQ(g_calls, (std::vector<std::string>{"info of " + std::string(path.begin(), path.end()),
                                               "query of \\"}));
}

TEST(FileVersion, EveryOtherErrorEndsTheRead) {
  const CImportPatch wide("version.dll", "GetFileVersionInfoSizeW", &FailWideSize);
  const CImportPatch narrow("version.dll", "GetFileVersionInfoSizeA", &CountNarrowSize);
  g_narrowCalls = 0;
  for (const DWORD error : {ERROR_SUCCESS, ERROR_FILE_NOT_FOUND, ERROR_RESOURCE_TYPE_NOT_FOUND}) {
    g_error = error;
    EXPECT_FALSE(Version(SystemFile(L"kernel32.dll")).has_value()) << error;
  }
  EXPECT_EQ(g_narrowCalls, 0);
}

BOOL WINAPI FailInfo(LPCWSTR, DWORD, DWORD, LPVOID) { return FALSE; }
BOOL WINAPI FailQuery(LPCVOID, LPCWSTR, LPVOID*, PUINT) { return FALSE; }

TEST(FileVersion, FailingStepEndsTheRead) {
  {
    const CImportPatch patch("version.dll", "GetFileVersionInfoW", &FailInfo);
    EXPECT_FALSE(Version(SystemFile(L"kernel32.dll")).has_value());
  }
  const CImportPatch patch("version.dll", "VerQueryValueW", &FailQuery);
  EXPECT_FALSE(Version(SystemFile(L"kernel32.dll")).has_value());
}

VS_FIXEDFILEINFO g_info;
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
