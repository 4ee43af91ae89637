// The module as a DLL: loaded and unloaded.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

std::wstring PathOf(const wchar_t* file) {
  return (std::filesystem::path(ATL::detail::ModulePath(nullptr)).parent_path() / file).wstring();
}

/// The exit code of the program that keeps a class factory of the server to its end.
DWORD ExitCodeOfKeeper(const std::wstring& end) {
  std::wstring command =
      L"atl_factory_keeper.exe \"" + PathOf(L"atl_test_server.dll") + L"\" " + end;
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  EXPECT_TRUE(CreateProcessW(PathOf(L"atl_factory_keeper.exe").c_str(), command.data(), nullptr,
                             nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
  const CHandle handle(process.hProcess);
  const CHandle thread(process.hThread);
  if (WaitForSingleObject(handle, 30000) != WAIT_OBJECT_0) {
    TerminateProcess(handle, WAIT_TIMEOUT);
  }
  DWORD code = STILL_ACTIVE;
  EXPECT_TRUE(GetExitCodeProcess(handle, &code));
  return code;
}

TEST(Server, UnloadsWhileAClassFactoryIsHeld) {
  EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), ExitCodeOfKeeper(L"ExitProcess"));
  EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), ExitCodeOfKeeper(L"FreeLibrary"));
}

TEST(Server, DoesNotLoadWithoutItsLock) {
  const wchar_t* const kVariable = L"ATL_TEST_FAILING_SECTION";
  const std::wstring path = PathOf(L"atl_test_server.dll");
  SetEnvironmentVariableW(kVariable, L"1");
  EXPECT_EQ(nullptr, LoadLibraryW(path.c_str()));
  EXPECT_EQ(static_cast<DWORD>(ERROR_DLL_INIT_FAILED), GetLastError());
  SetEnvironmentVariableW(kVariable, L"2");
  const HMODULE library = LoadLibraryW(path.c_str());
  EXPECT_NE(nullptr, library) << "there is no other";
  EXPECT_TRUE(FreeLibrary(library));
  SetEnvironmentVariableW(kVariable, nullptr);
}

}  // namespace
