// The order of what registration does, which the registry does not show afterwards: the DLL's own
// calls are recorded.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "plugin/thread_locale.h"
#include "tests/plugin/plugin_library.h"
#include "tests/support/import_spy.h"
#include "tests/support/scratch_registry.h"

namespace {

constexpr LCID kGerman = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);
constexpr HRESULT kWriteProtected = HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT);

using CSteps = std::vector<std::pair<std::string, LCID>>;  // each with the thread's locale

class RegistrationOrder : public testing::Test {
 protected:
  /// Runs one of the DLL's functions while the step of this number (counted from 1; 0: none) fails
  /// and the type library's step returns this result.
  HRESULT Run(HRESULT (CPluginLibrary::*function)() const, size_t failingStep,
              HRESULT typeLibraryResult) {
    m_steps.clear();
    m_failingStep = failingStep;
    m_typeLibraryResult = typeLibraryResult;
    const HRESULT result = (m_library.*function)();
    EXPECT_EQ(GetThreadLocale(), kGerman);
    return result;
  }

  CSteps m_steps;
  const LCID m_system = [] {
    const CThreadLocaleScope system(LOCALE_SYSTEM_DEFAULT);
    return GetThreadLocale();
  }();

 private:
  /// Notes a step of which several calls in a row are part.
  void Note(const std::string& step) {
    const CSteps::value_type now(step, GetThreadLocale());
    if (m_steps.empty() || m_steps.back() != now) {
      m_steps.push_back(now);
    }
  }

  /// One key stands for each script: that of all helper objects, and that of all classes. False
  /// when the step is to fail.
  bool NoteKey(LPCWSTR name) {
    const std::wstring key = name != nullptr ? name : L"";
    if (key != L"Browser Helper Objects" && key != L"CLSID") {
      return true;
    }
    Note(key == L"CLSID" ? "class" : "helper object");
    return m_steps.size() != m_failingStep;
  }

  HRESULT NoteTypeLibrary() {
    Note("type library");
    return m_typeLibraryResult;
  }

  const CThreadLocaleScope m_locale{kGerman};
  const CPluginLibrary m_library;
  const CScratchRegistry m_registry;
  size_t m_failingStep = 0;
  HRESULT m_typeLibraryResult = S_OK;

  const CImportSpy<&RegCreateKeyExW> m_create{
      "advapi32.dll", "RegCreateKeyExW",
      [this](HKEY parent, LPCWSTR name, DWORD reserved, LPWSTR className, DWORD options,
             auto... arguments) {
        EXPECT_EQ(options, static_cast<DWORD>(REG_OPTION_NON_VOLATILE));
        return NoteKey(name)
                   ? m_create.CallOriginal(parent, name, reserved, className, options, arguments...)
                   : ERROR_WRITE_PROTECT;
      },
      m_library.Module()};
  const CImportSpy<&RegOpenKeyExW> m_open{
      "advapi32.dll", "RegOpenKeyExW",
      [this](HKEY parent, LPCWSTR name, auto... more) {
        return NoteKey(name) ? m_open.CallOriginal(parent, name, more...) : ERROR_WRITE_PROTECT;
      },
      m_library.Module()};
  const CImportSpy<&RegisterTypeLib> m_register{"oleaut32.dll", "RegisterTypeLib",
                                                [this](auto...) { return NoteTypeLibrary(); },
                                                m_library.Module()};
  const CImportSpy<&UnRegisterTypeLib> m_unregister{
      "oleaut32.dll", "UnRegisterTypeLib", [this](const auto&...) { return NoteTypeLibrary(); },
      m_library.Module()};
};

TEST_F(RegistrationOrder, FirstFailureEndsRegistrationWithItsCode) {
  const CSteps all = {{"helper object", m_system},
                      {"class", m_system},
                      {"type library", m_system},
                      {"helper object", m_system}};
  const struct {
    size_t failingStep;
    HRESULT typeLibraryResult;
    HRESULT result;
    int steps;
  } rows[] = {{0, S_OK, S_OK, 4},
              {1, S_OK, kWriteProtected, 1},
              {2, S_OK, kWriteProtected, 2},
              {0, TYPE_E_REGISTRYACCESS, TYPE_E_REGISTRYACCESS, 3},
              {4, S_OK, kWriteProtected, 4}};
  for (const auto& row : rows) {
    EXPECT_EQ(Run(&CPluginLibrary::RegisterServer, row.failingStep, row.typeLibraryResult),
              row.result);
    EXPECT_EQ(m_steps, CSteps(all.begin(), all.begin() + row.steps)) << row.steps;
  }
}

TEST_F(RegistrationOrder, FailingUnregistrationReturnsItsCodeAndStillRemovesTheHelperObject) {
  // The last step is in the caller's locale.
  const CSteps all = {{"class", m_system},
                      {"type library", m_system},
                      {"helper object", m_system},
                      {"helper object", kGerman}};
  const struct {
    size_t failingStep;
    HRESULT typeLibraryResult;
    HRESULT result;
    CSteps steps;
  } rows[] = {{0, S_OK, S_OK, all},
              {1, S_OK, kWriteProtected, {all[0], all[3]}},
              {0, TYPE_E_REGISTRYACCESS, TYPE_E_REGISTRYACCESS, {all[0], all[1], all[3]}},
              {3, S_OK, kWriteProtected, all},
              {4, S_OK, kWriteProtected, all}};
  for (const auto& row : rows) {
    EXPECT_EQ(Run(&CPluginLibrary::RegisterServer, 0, S_OK), S_OK);
    EXPECT_EQ(Run(&CPluginLibrary::UnregisterServer, row.failingStep, row.typeLibraryResult),
              row.result);
    EXPECT_EQ(m_steps, row.steps) << row.failingStep;
  }
}

}  // namespace
