// The registry fails at each one of the calls that a script needs.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <statreg.h>

#include <string>

#include "registry_sandbox.h"
#include "tests/support/import_patch.h"

namespace {

/// The system's functions, replaced by some that fail once and that count open keys.
class CFailingRegistry {
 public:
  /// call: the number of the call that fails, from 1.
  explicit CFailingRegistry(int call) : m_callsLeft(call) { s_current = this; }
  CFailingRegistry(const CFailingRegistry&) = delete;
  CFailingRegistry& operator=(const CFailingRegistry&) = delete;
  ~CFailingRegistry() { EXPECT_EQ(0, m_keysOpen); }

  bool HasFailed() const { return m_callsLeft <= 0; }

 private:
  bool FailsNow() { return --m_callsLeft == 0; }
  LSTATUS Opened(LSTATUS status) {
    m_keysOpen += status == ERROR_SUCCESS ? 1 : 0;
    return status;
  }

  static LSTATUS WINAPI Create(HKEY parent, LPCWSTR name, DWORD reserved, LPWSTR type,
                               DWORD options, REGSAM access, LPSECURITY_ATTRIBUTES security,
                               PHKEY key, LPDWORD disposition) {
    return s_current->FailsNow()
               ? ERROR_ACCESS_DENIED
               : s_current->Opened(s_current->m_create.Original<decltype(Create)>()(
                     parent, name, reserved, type, options, access, security, key, disposition));
  }
  static LSTATUS WINAPI Open(HKEY parent, LPCWSTR name, DWORD options, REGSAM access, PHKEY key) {
    return s_current->FailsNow() ? ERROR_ACCESS_DENIED
                                 : s_current->Opened(s_current->m_open.Original<decltype(Open)>()(
                                       parent, name, options, access, key));
  }
  static LSTATUS WINAPI Set(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                            DWORD size) {
    return s_current->FailsNow()
               ? ERROR_ACCESS_DENIED
               : s_current->m_set.Original<decltype(Set)>()(key, name, reserved, type, data, size);
  }
  static LSTATUS WINAPI Delete(HKEY key, LPCWSTR name, REGSAM view, DWORD reserved) {
    return s_current->FailsNow()
               ? ERROR_ACCESS_DENIED
               : s_current->m_delete.Original<decltype(Delete)>()(key, name, view, reserved);
  }
  static LSTATUS WINAPI Close(HKEY key) {
    --s_current->m_keysOpen;
    return s_current->m_close.Original<decltype(Close)>()(key);
  }

  static inline CFailingRegistry* s_current = nullptr;

  int m_callsLeft;
  int m_keysOpen = 0;
  const CImportPatch m_create{"advapi32.dll", "RegCreateKeyExW", &Create};
  const CImportPatch m_open{"advapi32.dll", "RegOpenKeyExW", &Open};
  const CImportPatch m_set{"advapi32.dll", "RegSetValueExW", &Set};
  const CImportPatch m_delete{"advapi32.dll", "RegDeleteKeyExW", &Delete};
  const CImportPatch m_close{"advapi32.dll", "RegCloseKey", &Close};
};

TEST(RegistrarFailure, OfEachCallIsTheResultAndIsMadeGoodByTheNextRun) {
  const CRegistrySandbox sandbox;
  CRegObject registrar;
  const wchar_t kScript[] =
      L"HKCU { NoRemove Kept { ForceRemove Class = s 'name' { Server = s 'path' {"
      L" val Model = s 'apartment' } val AppID = s 'id' } } Other = s 'text' }";
  ASSERT_EQ(S_OK, registrar.StringRegister(kScript));
  const std::wstring registered = CRegistrySandbox::Dump(HKEY_CURRENT_USER);
  for (const bool registers : {true, false}) {
    const auto run = [&] {
      return registers ? registrar.StringRegister(kScript) : registrar.StringUnregister(kScript);
    };
    bool hasFailed = true;
    for (int call = 1; hasFailed; ++call) {
      ASSERT_EQ(S_OK, registrar.StringRegister(kScript));
      {
        const CFailingRegistry failing(call);
        const HRESULT hr = run();
        hasFailed = failing.HasFailed();
        EXPECT_EQ(hasFailed ? HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED) : S_OK, hr) << call;
      }
      EXPECT_EQ(S_OK, run());
      EXPECT_EQ(registers ? registered : Lines({L"Kept"}),
                CRegistrySandbox::Dump(HKEY_CURRENT_USER))
          << call;
      EXPECT_TRUE(call > 5 || hasFailed);
    }
  }
}

}  // namespace
