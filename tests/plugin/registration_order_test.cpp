// The order of what registration does, which the registry does not show afterwards: the DLL's own
// calls are recorded.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/plugin/plugin_library.h"
#include "tests/support/import_patch.h"

namespace {

constexpr LCID kGerman = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);

using CSteps = std::vector<std::pair<std::string, LCID>>;  // each with the thread's locale

CSteps g_steps;
HRESULT g_typeLibraryResult;
size_t g_failingStep;  // counted from 1; 0: none
decltype(&RegCreateKeyExW) g_createKey;
decltype(&RegOpenKeyExW) g_openKey;
decltype(&RegisterTypeLib) g_registerTypeLib;
decltype(&UnRegisterTypeLib) g_unregisterTypeLib;

/// Takes down a step of which several calls in a row are part.
void Note(const std::string& step) {
  const CSteps::value_type now(step, GetThreadLocale());
  if (g_steps.empty() || g_steps.back() != now) {
    g_steps.push_back(now);
  }
}

/// One key stands for each script: that of all helper objects, and that of all classes. False when
/// it cannot be had, as the step is to fail.
bool NoteKey(LPCWSTR name) {
  if (name != nullptr && _wcsicmp(name, L"Browser Helper Objects") == 0) {
    Note("helper object");
  } else if (name != nullptr && _wcsicmp(name, L"CLSID") == 0) {
    Note("class");
  } else {
    return true;
  }
  return g_steps.size() != g_failingStep;
}

LSTATUS WINAPI RecordCreate(HKEY parent, LPCWSTR name, DWORD reserved, LPWSTR className,
                            DWORD options, REGSAM access, const LPSECURITY_ATTRIBUTES security,
                            PHKEY key, LPDWORD disposition) {
  EXPECT_EQ(options, static_cast<DWORD>(REG_OPTION_NON_VOLATILE));
  return NoteKey(name) ? g_createKey(parent, name, reserved, className, options, access, security,
                                     key, disposition)
                       : ERROR_WRITE_PROTECT;
}

LSTATUS WINAPI RecordOpen(HKEY parent, LPCWSTR name, DWORD options, REGSAM access, PHKEY key) {
  return NoteKey(name) ? g_openKey(parent, name, options, access, key) : ERROR_WRITE_PROTECT;
}

HRESULT WINAPI RecordTypeLib(ITypeLib* library, LPOLESTR path, LPOLESTR help) {
  Note("type library");
  return FAILED(g_typeLibraryResult) ? g_typeLibraryResult : g_registerTypeLib(library, path, help);
}

HRESULT WINAPI RecordNoTypeLib(REFGUID id, WORD major, WORD minor, LCID language, SYSKIND system) {
  Note("type library");
  const HRESULT removed = g_unregisterTypeLib(id, major, minor, language, system);
  return FAILED(g_typeLibraryResult) ? g_typeLibraryResult : removed;
}

class RegistrationOrder : public testing::Test {
 protected:
  RegistrationOrder() {
    g_createKey = m_create.Original<decltype(RegCreateKeyExW)>();
    g_openKey = m_open.Original<decltype(RegOpenKeyExW)>();
    g_registerTypeLib = m_register.Original<decltype(RegisterTypeLib)>();
    g_unregisterTypeLib = m_unregister.Original<decltype(UnRegisterTypeLib)>();
    SetThreadLocale(LOCALE_SYSTEM_DEFAULT);
    m_system = GetThreadLocale();
    SetThreadLocale(kGerman);
    g_steps.clear();
    g_typeLibraryResult = S_OK;
    g_failingStep = 0;
  }
  ~RegistrationOrder() override {
    g_typeLibraryResult = S_OK;
    g_failingStep = 0;
    m_library.UnregisterServer();
    SetThreadLocale(m_previous);
  }

  const LCID m_previous = GetThreadLocale();
  LCID m_system = 0;
  const CPluginLibrary m_library;
  const CImportPatch m_create{"advapi32.dll", "RegCreateKeyExW", &RecordCreate, m_library.Module()};
  const CImportPatch m_open{"advapi32.dll", "RegOpenKeyExW", &RecordOpen, m_library.Module()};
  const CImportPatch m_register{"oleaut32.dll", "RegisterTypeLib", &RecordTypeLib,
                                m_library.Module()};
  const CImportPatch m_unregister{"oleaut32.dll", "UnRegisterTypeLib", &RecordNoTypeLib,
                                  m_library.Module()};
};

TEST_F(RegistrationOrder, FirstFailureEndsRegistrationWithItsCode) {
  const CSteps all = {{"helper object", m_system},
                      {"class", m_system},
                      {"type library", m_system},
                      {"helper object", m_system}};
  EXPECT_EQ(m_library.RegisterServer(), S_OK);
  EXPECT_EQ(g_steps, all);
  for (const size_t step : {1, 2, 4}) {
    g_steps.clear();
    g_failingStep = step;
    EXPECT_EQ(m_library.RegisterServer(), HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT)) << step;
    EXPECT_EQ(g_steps, CSteps(all.begin(), all.begin() + static_cast<int>(step)));
    EXPECT_EQ(GetThreadLocale(), kGerman);
  }
  g_steps.clear();
  g_failingStep = 0;
  g_typeLibraryResult = TYPE_E_REGISTRYACCESS;
  EXPECT_EQ(m_library.RegisterServer(), TYPE_E_REGISTRYACCESS);
  EXPECT_EQ(g_steps, CSteps(all.begin(), all.begin() + 3));
  EXPECT_EQ(GetThreadLocale(), kGerman);
}

TEST_F(RegistrationOrder, FailingUnregistrationGivesItsCodeAndStillRemovesTheHelperObject) {
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
  } kCases[] = {
      {0, S_OK, S_OK, all},
      {1, S_OK, HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT), {all[0], all[3]}},
      {0, TYPE_E_REGISTRYACCESS, TYPE_E_REGISTRYACCESS, {all[0], all[1], all[3]}},
      {3, S_OK, HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT), all},
      {4, S_OK, HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT), all},
  };
  for (const auto& failing : kCases) {
    g_failingStep = 0;
    g_typeLibraryResult = S_OK;
    EXPECT_EQ(m_library.RegisterServer(), S_OK);
    g_steps.clear();
    g_failingStep = failing.failingStep;
    g_typeLibraryResult = failing.typeLibraryResult;
    EXPECT_EQ(m_library.UnregisterServer(), failing.result);
    EXPECT_EQ(g_steps, failing.steps) << failing.failingStep;
    EXPECT_EQ(GetThreadLocale(), kGerman);
  }
}

}  // namespace
