// Finding, loading and binding the library.
#include <gmock/gmock.h>
#include <windows.h>

#include <psapi.h>

#include "collections/code_pages.h"
#include "tests/doubles/unzip/unzip_double.h"
#include "tests/support/import_patch.h"
#include "tests/support/temp_sandbox.h"
#include "tests/unzip/unzip_test.h"

namespace {

using testing::ElementsAre;

/// All modules of this process.
std::vector<HMODULE> Modules() {
  std::vector<HMODULE> modules(1024);
  DWORD size = 0;
  EnumProcessModules(GetCurrentProcess(), modules.data(),
                     static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &size);
  modules.resize(size / sizeof(HMODULE));
  return modules;
}

TEST(LoadUnzipLibrary, GivesTheModule) {
  const CUnzipSearchPath path(RealUnzipFolder());
  CStdoutCapture output;
  const HMODULE library = LoadUnzipLibrary();
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(library, GetModuleHandleW(L"UNZIP32.DLL"));
  EXPECT_EQ(output.Take(), "");
  FreeLibrary(library);
  EXPECT_FALSE(IsUnzipLoaded()) << "loaded once";
}

TEST(LoadUnzipLibrary, LoadsNothingWhenItIsNotFound) {
  const CTempSandbox empty;
  const CUnzipSearchPath path(empty.Path());
  CStdoutCapture output;
  const std::vector<HMODULE> before = Modules();
  EXPECT_EQ(LoadUnzipLibrary(), nullptr);
  EXPECT_EQ(output.Take(), "Couldn't find unzip DLL.\n");
  EXPECT_EQ(List(Archive(L"stored")), std::nullopt);
  EXPECT_EQ(output.Take(), "Couldn't find unzip DLL.\n");
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), std::nullopt);
  EXPECT_EQ(output.Take(), "Couldn't find unzip DLL.\n");
  EXPECT_EQ(Modules(), before);
}

TEST(LoadUnzipLibrary, FailsForWhatIsNoLibrary) {
  const CTempSandbox folder;
  folder.Write(L"UNZIP32.DLL", "a text file");
  const CUnzipSearchPath path(folder.Path());
  CStdoutCapture output;
  EXPECT_EQ(LoadUnzipLibrary(), nullptr);
  EXPECT_EQ(output.Take(), "Couldn't load unzip DLL.\n");
  EXPECT_EQ(List(Archive(L"stored")), std::nullopt);
  EXPECT_EQ(output.Take(), "Couldn't load unzip DLL.\n");
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), std::nullopt);
  EXPECT_EQ(output.Take(), "Couldn't load unzip DLL.\n");
  EXPECT_FALSE(IsUnzipLoaded());
}

class UnzipWithoutFunction : public testing::TestWithParam<const wchar_t*> {};

TEST_P(UnzipWithoutFunction, IsFreedAgain) {
  const CUnzipSearchPath path(UnzipDoubleFolder(GetParam()));
  const HMODULE library = LoadLibraryW(L"UNZIP32.DLL");
  ASSERT_NE(GetProcAddress(library, "GetUnzipScript"), nullptr) << "not the double";
  FreeLibrary(library);
  CStdoutCapture output;
  EXPECT_EQ(LoadUnzipLibrary(), nullptr);
  EXPECT_EQ(output.Take(), "Couldn't get functions from unzip DLL.\n");
  EXPECT_EQ(List(Archive(L"stored")), std::nullopt);
  EXPECT_EQ(output.Take(), "Couldn't get functions from unzip DLL.\n");
  EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), std::nullopt);
  EXPECT_EQ(output.Take(), "Couldn't get functions from unzip DLL.\n");
  EXPECT_FALSE(IsUnzipLoaded());
}

INSTANTIATE_TEST_SUITE_P(All, UnzipWithoutFunction,
                         testing::Values(L"without_list", L"without_unzip", L"without_free"));

TEST(LoadUnzipLibrary, BindsTheFunctionsAtEachLoad) {
  {
    CUnzipDouble unzip;
    EXPECT_EQ(Unzip(L"a.zip", L"a.txt"), std::nullopt) << "the double's empty answer";
    EXPECT_EQ(List(Archive(L"stored")), std::vector<std::wstring>{});
  }
  {
    const CUnzipSearchPath path(RealUnzipFolder());
    EXPECT_EQ(Unzip(Archive(L"stored"), L"a.txt"), "stored text");
    EXPECT_EQ(List(Archive(L"empty_entry")), std::vector<std::wstring>{L"empty.txt"});
  }
}

// What the system is asked for, taken down on the way to it.
std::vector<std::wstring> g_asked;

DWORD WINAPI TakeDownSearchPath(LPCWSTR path, LPCWSTR name, LPCWSTR extension, DWORD size,
                                LPWSTR buffer, LPWSTR* part) {
  EXPECT_EQ(path, nullptr);
  EXPECT_EQ(extension, nullptr);
  EXPECT_EQ(part, nullptr);
  EXPECT_NE(buffer, nullptr);
  g_asked.push_back(std::wstring(name) + L" " + std::to_wstring(size));
  return 20;
}

HMODULE WINAPI TakeDownLoadLibrary(LPCWSTR name) {
  g_asked.emplace_back(name);
  return reinterpret_cast<HMODULE>(&g_asked);
}

FARPROC WINAPI TakeDownGetProcAddress(HMODULE library, LPCSTR name) {
  EXPECT_EQ(library, reinterpret_cast<HMODULE>(&g_asked));
  g_asked.push_back(FromSystemCodePage(name).GetString());
  return [] { return INT_PTR{0}; };  // never called
}

TEST(LoadUnzipLibrary, SearchesForAndLoadsTheLibraryByItsBareName) {
  const CImportPatch search("kernel32.dll", "SearchPathW", TakeDownSearchPath);
  const CImportPatch load("kernel32.dll", "LoadLibraryW", TakeDownLoadLibrary);
  const CImportPatch get("kernel32.dll", "GetProcAddress", TakeDownGetProcAddress);
  g_asked.clear();
  EXPECT_EQ(LoadUnzipLibrary(), reinterpret_cast<HMODULE>(&g_asked));
  EXPECT_THAT(g_asked, ElementsAre(L"UNZIP32.DLL 260", L"UNZIP32.DLL", L"Wiz_SingleEntryUnzip",
                                   L"Wiz_UnzipToMemory", L"UzpFreeMemBuffer"));
}

}  // namespace
