// The module as a DLL: loaded, registered, used and unloaded.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "greeter.h"
#include "registry_sandbox.h"
#include "tests/support/temp_sandbox.h"

namespace {

const std::wstring kClass = L"CLSID\\{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E13}";
const std::wstring kAppId = L"{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E61}";

/// The server lies in a folder whose name has what a script could stumble over.
class Server : public testing::Test {
 protected:
  void SetUp() override {
    const std::filesystem::path program(ATL::detail::ModulePath(nullptr));
    const std::filesystem::path folder = m_folder / L"it's 100% {here}";
    std::filesystem::create_directory(folder);
    m_path = (folder / L"test_server.dll").wstring();
    std::filesystem::copy_file(program.parent_path() / L"atl_test_server.dll", m_path);
    m_library = LoadLibraryW(m_path.c_str());
    ASSERT_NE(nullptr, m_library) << GetLastError();
  }
  void TearDown() override {
    if (m_library != nullptr) {
      EXPECT_EQ(S_OK, Call("DllCanUnloadNow"));
      EXPECT_TRUE(FreeLibrary(m_library));
      EXPECT_EQ(nullptr, GetModuleHandleW(m_path.c_str()));
    }
  }

  /// The exit code of the program that keeps a class factory of the server to its end.
  DWORD ExitCodeOfKeeper(const std::wstring& end) {
    std::wstring command = L"atl_factory_keeper.exe \"" + m_path + L"\" " + end;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    const std::filesystem::path program(ATL::detail::ModulePath(nullptr));
    EXPECT_TRUE(CreateProcessW((program.parent_path() / L"atl_factory_keeper.exe").c_str(),
                               command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &process));
    const CHandle handle(process.hProcess);
    const CHandle thread(process.hThread);
    if (WaitForSingleObject(handle, 30000) != WAIT_OBJECT_0) {
      TerminateProcess(handle, WAIT_TIMEOUT);
    }
    DWORD code = STILL_ACTIVE;
    EXPECT_TRUE(GetExitCodeProcess(handle, &code));
    return code;
  }

  template <class F>
  F* Function(const char* name) {
    return reinterpret_cast<F*>(reinterpret_cast<void (*)()>(GetProcAddress(m_library, name)));
  }
  HRESULT Call(const char* name) { return Function<HRESULT WINAPI()>(name)(); }

  static std::wstring Classes() { return CRegistrySandbox::Dump(HKEY_CLASSES_ROOT); }
  /// The part that does not depend on how the system registers type libraries.
  static std::wstring ClassesWithoutTypes() {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, L"TypeLib");
    RegDeleteTreeW(HKEY_CLASSES_ROOT, L"Interface");
    return Classes();
  }

  CTempSandbox m_folder;
  std::wstring m_path;
  HMODULE m_library = nullptr;
};

TEST_F(Server, RegistersWithItsOwnPath) {
  const CRegistrySandbox sandbox;
  EXPECT_EQ(S_OK, Call("DllRegisterServer"));
  const std::wstring once = Classes();
  EXPECT_THAT(once, testing::HasSubstr(L"\\0\\win64 = s:" + m_path + L"\n"));
  EXPECT_EQ(S_OK, Call("DllRegisterServer"));
  EXPECT_EQ(once, Classes());
  EXPECT_EQ(Lines({
                L"AppID",
                L"AppID\\test_server.dll",
                L"AppID\\test_server.dll [AppID] = s:" + kAppId,
                L"AppID\\" + kAppId,
                L"AppID\\" + kAppId + L" = s:Test Server",
                L"CLSID",
                kClass,
                kClass + L" = s:Greeter",
                kClass + L" [AppID] = s:" + kAppId,
                kClass + L"\\Implemented Categories",
                kClass + L"\\Implemented Categories\\{7DD95801-9882-11CF-9FA9-00AA006C42C4}",
                kClass + L"\\InprocServer32",
                kClass + L"\\InprocServer32 = s:" + m_path,
                kClass + L"\\InprocServer32 [ThreadingModel] = s:Apartment",
                kClass + L"\\ProgID",
                kClass + L"\\ProgID = s:Test.Greeter.1",
                L"Test.Greeter.1",
                L"Test.Greeter.1 = s:Greeter",
                L"Test.Greeter.1\\CLSID",
                L"Test.Greeter.1\\CLSID = s:{7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E13}",
            }),
            ClassesWithoutTypes());
}

TEST_F(Server, UnregistersAllOfIt) {
  const CRegistrySandbox sandbox;
  EXPECT_EQ(S_OK, Call("DllRegisterServer"));
  EXPECT_EQ(S_OK, Call("DllUnregisterServer"));
  const std::wstring left = Classes();
  EXPECT_THAT(left, testing::Not(testing::HasSubstr(L"7C2C1C53-2B3E-4B7B-9E5C-0D6F0B6B5E")));
  EXPECT_THAT(left, testing::Not(testing::HasSubstr(L"Test")));
  EXPECT_EQ(Lines({L"AppID", L"CLSID"}), ClassesWithoutTypes());
}

TEST_F(Server, EndsWhileAClassFactoryIsHeld) {
  EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), ExitCodeOfKeeper(L"ExitProcess"));
  EXPECT_EQ(static_cast<DWORD>(ERROR_SUCCESS), ExitCodeOfKeeper(L"FreeLibrary"));
}

TEST_F(Server, DoesNotLoadWithoutItsLocks) {
  EXPECT_TRUE(FreeLibrary(std::exchange(m_library, nullptr)));
  const wchar_t* const kVariable = L"ATL_TEST_FAILING_SECTION";
  const wchar_t* const kLocks[] = {L"1", L"2", L"3"};  // module, classes, windows
  for (const wchar_t* const lock : kLocks) {
    SetEnvironmentVariableW(kVariable, lock);
    EXPECT_EQ(nullptr, LoadLibraryW(m_path.c_str())) << lock;
    EXPECT_EQ(static_cast<DWORD>(ERROR_DLL_INIT_FAILED), GetLastError()) << lock;
  }
  SetEnvironmentVariableW(kVariable, L"4");
  m_library = LoadLibraryW(m_path.c_str());
  EXPECT_NE(nullptr, m_library) << "there are no others";
  SetEnvironmentVariableW(kVariable, nullptr);
}

TEST_F(Server, MakesObjectsThatKeepItLoaded) {
  const CRegistrySandbox sandbox;
  ASSERT_EQ(S_OK, Call("DllRegisterServer"));
  auto* const getClassObject =
      Function<HRESULT WINAPI(REFCLSID, REFIID, void**)>("DllGetClassObject");
  CComPtr<IClassFactory> factory;
  ASSERT_EQ(S_OK,
            getClassObject(CLSID_Greeter, IID_IClassFactory, reinterpret_cast<void**>(&factory)));
  CComPtr<IGreeter> greeter;
  ASSERT_EQ(S_OK,
            factory->CreateInstance(nullptr, IID_IGreeter, reinterpret_cast<void**>(&greeter)));
  factory.Release();
  EXPECT_EQ(S_FALSE, Call("DllCanUnloadNow"));
  CComPtr<ITypeInfo> info;
  EXPECT_EQ(S_OK, greeter->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
  CComBSTR text;
  EXPECT_EQ(S_OK, greeter->Greet(CComBSTR(L"you"), 1, &text));
  EXPECT_STREQ(L"Hello you", text);
  // Type information is the DLL's, and the factory too: both end with it.
  info.Release();
  greeter.Release();
  EXPECT_EQ(S_OK, Call("DllCanUnloadNow"));
}

}  // namespace
