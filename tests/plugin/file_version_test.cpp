#include "plugin/file_version.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "plugin/thread_locale.h"
#include "tests/support/import_spy.h"
#include "tests/support/temp_sandbox.h"

namespace {

/// Makes a function of version.dll fail after it has written its result.
template <auto function>
class CFailing {
 public:
  explicit CFailing(const char* name, DWORD error = ERROR_CALL_NOT_IMPLEMENTED)
      : m_spy("version.dll", name, [this, error](auto... arguments) {
          m_spy.CallOriginal(arguments...);
          SetLastError(error);
          return 0;
        }) {}

 private:
  const CImportSpy<function> m_spy;
};

class FileVersion : public testing::Test {
 protected:
  static std::optional<std::wstring> Version(const std::wstring& path) {
    const auto version = ReadFileVersion(path.c_str());
    return version ? std::optional<std::wstring>(FormatFileVersion(*version).GetString())
                   : std::nullopt;
  }

  /// Whether a version is read while this function fails.
  template <auto function>
  bool IsReadWithout(const char* name, DWORD error = ERROR_CALL_NOT_IMPLEMENTED) const {
    const CFailing<function> failing(name, error);
    return Version(m_path).has_value();
  }

  const std::wstring m_path = [] {
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    return std::wstring(folder) + L"\\kernel32.dll";
  }();
  const CImportSpy<&GetFileVersionInfoSizeA> m_narrow{"version.dll", "GetFileVersionInfoSizeA"};
};

TEST_F(FileVersion, IsFormattedAsFourDecimalNumbers) {
  VS_FIXEDFILEINFO version = {};
  version.dwFileVersionMS = MAKELONG(1, 14);
  version.dwFileVersionLS = MAKELONG(720, 3);
  version.dwProductVersionMS = MAKELONG(8, 9);
  EXPECT_STREQ(FormatFileVersion(version), L"14.1.3.720");
  version.dwFileVersionMS = 0xFFFFFFFF;
  version.dwFileVersionLS = 0;
  EXPECT_STREQ(FormatFileVersion(version), L"65535.65535.0.0");
}

TEST_F(FileVersion, SystemWithoutWideFunctionsIsAskedInItsCodePage) {
  // The thread has a code page of its own, which is not to be used.
  const CThreadLocaleScope russian(
      MAKELCID(MAKELANGID(LANG_RUSSIAN, SUBLANG_DEFAULT), SORT_DEFAULT));
  ASSERT_EQ(GetACP(), 1252u);
  const CTempSandbox sandbox;
  const std::wstring path = sandbox / L"\u00dcbung \u20ac.dll";
  std::filesystem::copy_file(m_path, path);
  const auto expected = Version(path);
  EXPECT_TRUE(expected.has_value());
  const CFailing<&GetFileVersionInfoSizeW> size("GetFileVersionInfoSizeW");
  const CFailing<&GetFileVersionInfoW> info("GetFileVersionInfoW");
  const CFailing<&VerQueryValueW> query("VerQueryValueW");
  EXPECT_EQ(Version(path), expected);
}

TEST_F(FileVersion, AnyOtherFailureEndsTheRead) {
  EXPECT_FALSE(Version(L"C:\\no such file").has_value());
  for (const DWORD error : {ERROR_SUCCESS, ERROR_FILE_NOT_FOUND}) {
    EXPECT_FALSE(IsReadWithout<&GetFileVersionInfoSizeW>("GetFileVersionInfoSizeW", error));
  }
  EXPECT_FALSE(IsReadWithout<&GetFileVersionInfoW>("GetFileVersionInfoW"));
  EXPECT_FALSE(IsReadWithout<&VerQueryValueW>("VerQueryValueW"));
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  EXPECT_TRUE(Version(m_path).has_value());
  EXPECT_TRUE(m_narrow.Calls().empty()) << "only the size decides how to go on";
  const CFailing<&GetFileVersionInfoSizeW> noWide("GetFileVersionInfoSizeW");
  EXPECT_TRUE(Version(m_path).has_value());
  EXPECT_FALSE(IsReadWithout<&GetFileVersionInfoSizeA>("GetFileVersionInfoSizeA"));
  EXPECT_FALSE(IsReadWithout<&GetFileVersionInfoA>("GetFileVersionInfoA"));
  EXPECT_FALSE(IsReadWithout<&VerQueryValueA>("VerQueryValueA"));
}

TEST_F(FileVersion, ShortOrMissingBlockIsNotCopied) {
  VS_FIXEDFILEINFO fixed = {};
  const struct {
    VS_FIXEDFILEINFO* block;
    UINT size;
    std::optional<std::wstring> version;
  } rows[] = {{&fixed, 0, {}}, {&fixed, 51, {}}, {&fixed, 52, L"0.0.0.0"}, {nullptr, 52, {}}};
  for (const auto& row : rows) {
    const CImportSpy<&VerQueryValueW> query("version.dll", "VerQueryValueW",
                                            [&](LPCVOID, LPCWSTR block, LPVOID* info, PUINT size) {
                                              EXPECT_STREQ(block, L"\\");
                                              *info = row.block;
                                              *size = row.size;
                                              return TRUE;
                                            });
    EXPECT_EQ(Version(m_path), row.version) << row.size;
  }
}

}  // namespace
