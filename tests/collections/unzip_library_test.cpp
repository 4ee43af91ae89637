// Finding, loading and binding the library; and the real one by way of the binding.
#include "collections/unzip_library.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_spy.h"
#include "tests/support/temp_sandbox.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::Optional;

using Names = std::vector<std::wstring>;

TEST(UnzipLibrary, IsSearchedForAndLoadedByItsBareName) {
  const CUnzipDouble unzip;
  Names asked;
  const CImportSpy<&SearchPathW> search(
      "kernel32.dll", "SearchPathW",
      [&](LPCWSTR path, LPCWSTR name, LPCWSTR extension, DWORD size, LPWSTR, LPWSTR* part) {
        EXPECT_EQ(path, nullptr);
        EXPECT_EQ(extension, nullptr);
        EXPECT_EQ(part, nullptr);
        asked.push_back(std::wstring(name) + L" " + std::to_wstring(size));
        return DWORD{20};
      });
  const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW", [&](LPCWSTR name) {
    asked.emplace_back(name);
    return load.CallOriginal(name);
  });
  EXPECT_EQ(LoadUnzipLibrary(), GetModuleHandleW(L"UNZIP32.DLL"));
  EXPECT_EQ(asked, (Names{L"UNZIP32.DLL 260", L"UNZIP32.DLL"}));
}

TEST(UnzipLibrary, UnusableLibraryIsReportedAndNotLoaded) {
  const CTempSandbox folder;
  folder.Write(L"text\\UNZIP32.DLL", "a text file");
  const struct {
    std::wstring folder;
    std::string message;
  } cases[] = {
      {folder.Path(), "Couldn't find unzip DLL.\n"},
      {folder / L"text", "Couldn't load unzip DLL.\n"},
      {UnzipDoubleFolder(L"without_list"), "Couldn't get functions from unzip DLL.\n"},
      {UnzipDoubleFolder(L"without_unzip"), "Couldn't get functions from unzip DLL.\n"},
      {UnzipDoubleFolder(L"without_free"), "Couldn't get functions from unzip DLL.\n"},
  };
  for (const auto& c : cases) {
    const CUnzipSearchPath path(c.folder);
    CStdoutCapture output;
    EXPECT_EQ(LoadUnzipLibrary(), nullptr);
    EXPECT_EQ(List(Archive(L"stored")), std::nullopt);
    EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), std::nullopt);
    EXPECT_EQ(output.Take(), c.message + c.message + c.message);
    EXPECT_FALSE(IsUnzipLoaded());
  }
}

TEST(UnzipLibrary, FunctionsAreBoundAtEachLoad) {
  {
    CUnzipDouble unzip;
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt) << "the double's empty answer";
    EXPECT_EQ(List(Archive(L"stored")), Names{});
  }
  const CUnzipSearchPath path(RealUnzipFolder());
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), "stored text");
  EXPECT_EQ(List(Archive(L"stored")), (Names{L"a.txt", L"folder/b.bin"}));
}

TEST(UnzipLibrary, ListedNameFindsItsEntry) {
  const CUnzipSearchPath path(RealUnzipFolder());
  const CStdoutCapture output;
  const struct {
    const wchar_t* archive;
    const wchar_t* listed;
  } cases[] = {
      {L"names_dos", L"Gr\u00fc\u00dfe.txt"},
      {L"names_ansi", L"Gr\u00fc\u00dfe \u20ac.txt"},
      // Not decoded: the old interface knows nothing of UTF-8.
      {L"names_utf8", L"Gr\u00c3\u00bc\u00c3\u0178e.txt"},
      {L"names_utf8_extra", L"Gr\u00c3\u00bc\u00c3\u0178e.txt"},
      {L"names_malformed", L"\u00ff\u00c3(.txt"},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(List(Archive(c.archive)), Optional(Names{c.listed})) << c.archive;
    EXPECT_EQ(Unzip(Archive(c.archive), c.listed), ArchivedText()) << c.archive;
  }
  EXPECT_FALSE(IsUnzipLoaded());
}

}  // namespace
