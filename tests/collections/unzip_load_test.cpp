// Finding, loading and binding the library.
#include <gmock/gmock.h>
#include <windows.h>

#include "collections/code_pages.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_spy.h"
#include "tests/support/temp_sandbox.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::ElementsAre;

TEST(LoadUnzipLibrary, ReturnsTheModule) {
  const CUnzipSearchPath path(RealUnzipFolder());
  CStdoutCapture output;
  const HMODULE library = LoadUnzipLibrary();
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(library, GetModuleHandleW(L"UNZIP32.DLL"));
  EXPECT_EQ(output.Take(), "");
  FreeLibrary(library);
  EXPECT_FALSE(IsUnzipLoaded()) << "loaded once";
}

TEST(LoadUnzipLibrary, UnusableLibraryIsReportedAndNotLoaded) {
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

TEST(LoadUnzipLibrary, BindsTheFunctionsAtEachLoad) {
  {
    CUnzipDouble unzip;
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt) << "the double's empty answer";
    EXPECT_EQ(List(Archive(L"stored")), std::vector<std::wstring>{});
  }
  const CUnzipSearchPath path(RealUnzipFolder());
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), "stored text");
  EXPECT_EQ(List(Archive(L"empty_entry")), std::vector<std::wstring>{L"empty.txt"});
}

TEST(LoadUnzipLibrary, SearchesForAndLoadsTheLibraryByItsBareName) {
  std::vector<std::wstring> asked;
  const auto library = reinterpret_cast<HMODULE>(&asked);
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
    return library;
  });
  const CImportSpy<&GetProcAddress> get("kernel32.dll", "GetProcAddress",
                                        [&](HMODULE module, LPCSTR name) -> FARPROC {
                                          EXPECT_EQ(module, library);
                                          asked.emplace_back(FromSystemCodePage(name).GetString());
                                          return [] { return INT_PTR{0}; };  // never called
                                        });
  EXPECT_EQ(LoadUnzipLibrary(), library);
  EXPECT_THAT(asked, ElementsAre(L"UNZIP32.DLL 260", L"UNZIP32.DLL", L"Wiz_SingleEntryUnzip",
                                 L"Wiz_UnzipToMemory", L"UzpFreeMemBuffer"));
}

}  // namespace
