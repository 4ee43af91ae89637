#include "plugin/file_version.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "plugin/thread_locale.h"
#include "tests/support/import_spy.h"
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

TEST(FileVersion, IsFormattedAsFourDecimalNumbers) {
  VS_FIXEDFILEINFO version = {};
  version.dwFileVersionMS = MAKELONG(1, 14);
  version.dwFileVersionLS = MAKELONG(720, 3);
  version.dwProductVersionMS = MAKELONG(8, 9);
  EXPECT_STREQ(FormatFileVersion(version), L"14.1.3.720");
  version.dwFileVersionMS = 0xFFFFFFFF;
  version.dwFileVersionLS = 0;
  EXPECT_STREQ(FormatFileVersion(version), L"65535.65535.0.0");
}

TEST(FileVersion, FileWithoutOneHasNone) {
  EXPECT_FALSE(Version(SystemFile(L"drivers\\etc\\hosts")).has_value());
  EXPECT_FALSE(Version(L"C:\\no such file").has_value());
  EXPECT_FALSE(Version(L"").has_value());
}

// What fails may still have written something. For wide and narrow functions alike.
std::vector<BYTE> g_information;
VS_FIXEDFILEINFO g_info;

template <typename Text>
BOOL FillAndFail(Text, DWORD, DWORD size, LPVOID info) {
  std::copy_n(g_information.begin(), std::min<size_t>(size, g_information.size()),
              static_cast<BYTE*>(info));
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return FALSE;
}
template <typename Text>
BOOL AnswerAndFail(LPCVOID, Text, LPVOID* info, PUINT size) {
  *info = &g_info;
  *size = sizeof(g_info);
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return FALSE;
}
template <typename Text>
DWORD FailNotImplemented(Text, LPDWORD) {
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return 0;
}

/// Reads a version while one of the functions answers otherwise.
template <auto function, typename Answer>
std::optional<std::wstring> VersionWith(const char* name, Answer answer) {
  const CImportSpy<function> spy("version.dll", name, answer);
  return Version(SystemFile(L"kernel32.dll"));
}

/// Records the calls of the narrow functions.
class NarrowFileVersion : public testing::Test {
 protected:
  std::vector<std::string> m_calls;
  const std::wstring m_path = SystemFile(L"kernel32.dll");

  const CImportSpy<&GetFileVersionInfoSizeA> m_size{
      "version.dll", "GetFileVersionInfoSizeA", [this](LPCSTR path, LPDWORD handle) {
        m_calls.push_back("size of " + std::string(path));
        return m_size.CallOriginal(path, handle);
      }};
  const CImportSpy<&GetFileVersionInfoA> m_info{"version.dll", "GetFileVersionInfoA",
                                                [this](LPCSTR path, auto... arguments) {
                                                  m_calls.push_back("info of " + std::string(path));
                                                  return m_info.CallOriginal(path, arguments...);
                                                }};
  const CImportSpy<&VerQueryValueA> m_query{
      "version.dll", "VerQueryValueA", [this](LPCVOID info, LPCSTR block, auto... arguments) {
        m_calls.push_back("query of " + std::string(block));
        return m_query.CallOriginal(info, block, arguments...);
      }};
};

TEST_F(NarrowFileVersion, SystemWithoutWideFunctionsIsAskedInItsCodePage) {
  // The thread has a code page of its own, which is not to be used.
  const CThreadLocaleScope russian(
      MAKELCID(MAKELANGID(LANG_RUSSIAN, SUBLANG_DEFAULT), SORT_DEFAULT));
  ASSERT_EQ(GetACP(), 1252u);
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"\u00dcbung \u20ac.dll";
  std::filesystem::copy_file(m_path, path);
  const auto expected = Version(path);
  EXPECT_TRUE(expected.has_value());
  const CImportSpy<&GetFileVersionInfoSizeW> size("version.dll", "GetFileVersionInfoSizeW",
                                                  &FailNotImplemented<LPCWSTR>);
  const CImportSpy<&GetFileVersionInfoW> info("version.dll", "GetFileVersionInfoW",
                                              &FillAndFail<LPCWSTR>);
  const CImportSpy<&VerQueryValueW> query("version.dll", "VerQueryValueW", &AnswerAndFail<LPCWSTR>);
  EXPECT_EQ(Version(path), expected);
  const std::string narrow =
      std::string(sandbox.Path().begin(), sandbox.Path().end()) + "\\\xDC" + "bung \x80.dll";
  EXPECT_EQ(m_calls,
            (std::vector<std::string>{"size of " + narrow, "info of " + narrow, "query of \\"}));
}

TEST_F(NarrowFileVersion, OnlyANotImplementedSizeLeadsToThem) {
  for (const bool isFailure : {false, true}) {
    for (const DWORD error : {ERROR_SUCCESS, ERROR_FILE_NOT_FOUND, ERROR_CALL_NOT_IMPLEMENTED}) {
      if (isFailure && error == ERROR_CALL_NOT_IMPLEMENTED) {
        continue;
      }
      const CImportSpy<&GetFileVersionInfoSizeW> wide(
          "version.dll", "GetFileVersionInfoSizeW", [&](LPCWSTR path, LPDWORD handle) {
            const DWORD size = isFailure ? 0 : wide.CallOriginal(path, handle);
            SetLastError(error);
            return size;
          });
      EXPECT_EQ(Version(m_path).has_value(), !isFailure) << error;
    }
  }
  EXPECT_EQ(m_calls, std::vector<std::string>());
}

TEST_F(NarrowFileVersion, FailingLaterStepEndsTheRead) {
  g_information.resize(GetFileVersionInfoSizeW(m_path.c_str(), nullptr));
  ASSERT_TRUE(GetFileVersionInfoW(m_path.c_str(), 0, static_cast<DWORD>(g_information.size()),
                                  g_information.data()));
  EXPECT_FALSE(
      VersionWith<&GetFileVersionInfoW>("GetFileVersionInfoW", &FillAndFail<LPCWSTR>).has_value());
  EXPECT_FALSE(VersionWith<&VerQueryValueW>("VerQueryValueW", &AnswerAndFail<LPCWSTR>).has_value());
  EXPECT_EQ(m_calls, std::vector<std::string>()) << "only the size decides how to go on";
  const CImportSpy<&GetFileVersionInfoSizeW> noWide("version.dll", "GetFileVersionInfoSizeW",
                                                    &FailNotImplemented<LPCWSTR>);
  EXPECT_FALSE(
      VersionWith<&GetFileVersionInfoSizeA>("GetFileVersionInfoSizeA", &FailNotImplemented<LPCSTR>)
          .has_value());
  EXPECT_FALSE(
      VersionWith<&GetFileVersionInfoA>("GetFileVersionInfoA", &FillAndFail<LPCSTR>).has_value());
  EXPECT_FALSE(VersionWith<&VerQueryValueA>("VerQueryValueA", &AnswerAndFail<LPCSTR>).has_value());
}

TEST(FileVersion, ShortOrMissingBlockIsNotCopied) {
  const struct {
    VS_FIXEDFILEINFO* block;
    UINT size;
    std::optional<std::wstring> version;
  } cases[] = {{&g_info, 0, {}}, {&g_info, 51, {}}, {&g_info, 52, L"0.0.0.0"}, {nullptr, 52, {}}};
  for (const auto& c : cases) {
    const auto answer = [&](LPCVOID, LPCWSTR block, LPVOID* info, PUINT size) {
      EXPECT_STREQ(block, L"\\");
      *info = c.block;
      *size = c.size;
      return TRUE;
    };
    EXPECT_EQ(VersionWith<&VerQueryValueW>("VerQueryValueW", answer), c.version) << c.size;
  }
}

}  // namespace
