#include <atlbase.h>
#include <gtest/gtest.h>
#include <statreg.h>

#include <string>

#include "tests/support/import_spy.h"
#include "tests/support/scratch_registry.h"

namespace {

using Lines = CScratchRegistry::Lines;

/// Every test starts with an empty registry and a new registrar.
class Registrar : public testing::Test {
 protected:
  Lines Machine() const { return m_registry.Dump(L"HKLM"); }

  HRESULT Register(const std::wstring& script) {
    return m_registrar.StringRegister(script.c_str());
  }
  HRESULT Unregister(const std::wstring& script) {
    return m_registrar.StringUnregister(script.c_str());
  }

  const CScratchRegistry m_registry;
  CRegObject m_registrar;
};

TEST_F(Registrar, KeywordsIgnoreCaseAndQuotedOnesAreNames) {
  EXPECT_EQ(S_OK, Register(L"hkcr { noremove 'a key' = S '  it''s \"here\" { = } ' { VAL v = s x }"
                           L" 'val' 'Delete' '{' FORCEREMOVE 'NoRemove' q = s '''' } HKLM { m }"));
  EXPECT_EQ((Lines{L"HKCR", L"HKCR\\Delete", L"HKCR\\NoRemove", L"HKCR\\a key",
                   L"HKCR\\a key|=  it's \"here\" { = } ", L"HKCR\\a key|v=x", L"HKCR\\q",
                   L"HKCR\\q|='", L"HKCR\\val", L"HKCR\\{", L"HKCU", L"HKLM", L"HKLM\\m"}),
            m_registry.Dump());
}

TEST_F(Registrar, ReplacementsIgnoreCaseAndAreScriptText) {
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"Name", L"first"));
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"NAME", L"last"));
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"Path", L"C:\\it''s\\100%\\x.dll"));
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"Empty", L""));
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"Body", L"a = s 'x' { b }"));
  EXPECT_EQ(S_OK, Register(L"HKLM { k%name% = s '%PATH%' { val %Name% = s '%empty%' } %BODY% }"));
  EXPECT_EQ(
      (Lines{L"a", L"a\\b", L"a|=x", L"klast", L"klast|=C:\\it's\\100%\\x.dll", L"klast|last="}),
      Machine());
}

TEST_F(Registrar, ForceRemoveDeletesSubkeysOfOthers) {
  m_registry.Add(L"HKLM\\forced\\stray\\deep");
  m_registry.Add(L"HKLM\\kept\\stray");
  const wchar_t kScript[] = L"HKLM { ForceRemove forced { a } kept { a } }";
  EXPECT_EQ(S_OK, Register(kScript));
  EXPECT_EQ((Lines{L"forced", L"forced\\a", L"kept", L"kept\\a", L"kept\\stray"}), Machine());
  m_registry.Add(L"HKLM\\forced\\stray");
  EXPECT_EQ(S_OK, Unregister(kScript));
  EXPECT_EQ((Lines{L"kept", L"kept\\stray"}), Machine());
}

TEST_F(Registrar, NoRemoveKeyStaysWithValuesAndParents) {
  const wchar_t kScript[] =
      L"HKLM { NoRemove a = s 'mine' { val v = s 'x' b = s 'y' { NoRemove c { d } } e } }";
  EXPECT_EQ(S_OK, Register(kScript));
  EXPECT_EQ(S_OK, Unregister(kScript));
  EXPECT_EQ((Lines{L"a", L"a\\b", L"a\\b\\c", L"a\\b|=y", L"a|=mine", L"a|v=x"}), Machine());
}

TEST_F(Registrar, ErrorInScriptChangesNothing) {
  const std::wstring scripts[] = {
      L"HKXX { a }", L"HKLM", L"HKLM a { }", L"HKLM {", L"HKLM { a { b { }", L"HKLM { a } }",
      L"{ a }", L"HKLM { 'a }", L"HKLM { a = s 'it's' }",
      // no type, data or name
      L"HKLM { a = s }", L"HKLM { a = }", L"HKLM { a = '' 'y' }", L"HKLM { a = 's' 'y' }",
      L"HKLM { val v }", L"HKLM { val v = s }", L"HKLM { val = s 'x' }", L"HKLM { = s 'x' }",
      L"HKLM { '' }", L"HKLM { val '' = s 'x' }", L"HKLM { NoRemove }",
      L"HKLM { ForceRemove '' { a } }",
      // parts of the language that are not supported
      L"HKCU { a }", L"HKEY_LOCAL_MACHINE { a }", L"HKLM { Delete a }", L"HKLM { a = d '1' }",
      L"HKLM { a = b '00' }", L"HKLM { a = e 'x' }", L"HKLM { a = m 'x' }",
      L"HKLM { NoRemove ForceRemove a }", L"HKLM { ForceRemove NoRemove a }",
      L"HKLM { NoRemove val a = s 'x' }", L"HKLM { 'a\\b' }", L"HKLM { ForceRemove 'a\\b' }",
      L"\xFEFFHKLM { a }", L"HKLM { 100%% }",
      // keys of all programs
      L"HKCR { ForceRemove clsid { a } }", L"HKLM { ForceRemove SOFTWARE }",
      // replacements
      L"HKLM { %UNKNOWN% }", L"HKLM { a = s '100%' }"};
  m_registry.Add(L"HKLM\\kept\\stray");
  for (const std::wstring& wrong : scripts) {
    const std::wstring script = L"HKLM { good = s 'x' ForceRemove kept } " + wrong;
    EXPECT_EQ(DISP_E_EXCEPTION, Register(script)) << wrong.substr(0, 40);
    EXPECT_EQ(DISP_E_EXCEPTION, Unregister(script)) << wrong.substr(0, 40);
    EXPECT_EQ((Lines{L"kept", L"kept\\stray"}), Machine()) << wrong.substr(0, 40);
  }
}

TEST_F(Registrar, NullArgumentReturnsEInvalidArg) {
  EXPECT_EQ(E_INVALIDARG, m_registrar.AddReplacement(nullptr, L"x"));
  EXPECT_EQ(E_INVALIDARG, m_registrar.AddReplacement(L"x", nullptr));
  EXPECT_EQ(E_INVALIDARG, m_registrar.StringRegister(nullptr));
  EXPECT_EQ(E_INVALIDARG, m_registrar.StringUnregister(nullptr));
}

TEST_F(Registrar, MissingModuleOrResourceReturnsWin32Code) {
  const std::wstring program = ATL::detail::ModulePath(nullptr);
  const struct {
    LPCWSTR module;
    UINT id;
    LPCWSTR type;
    DWORD error;
  } rows[] = {{program.c_str(), 9999, L"REGISTRY", ERROR_RESOURCE_NAME_NOT_FOUND},
              {program.c_str(), 200, L"NOSUCHTYPE", ERROR_RESOURCE_TYPE_NOT_FOUND},
              {L"C:\\no such.dll", 200, L"REGISTRY", ERROR_FILE_NOT_FOUND}};
  for (const auto& [module, id, type, error] : rows) {
    EXPECT_EQ(HRESULT_FROM_WIN32(error), m_registrar.ResourceRegister(module, id, type));
    EXPECT_EQ(HRESULT_FROM_WIN32(error), m_registrar.ResourceUnregister(module, id, type));
  }
}

TEST_F(Registrar, PerUserModeWritesClassesOfTheUser) {
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(true));
  const wchar_t kScript[] = L"HKCR { Foo.1 = s 'x' } HKLM { m } HKCR { NoRemove n }";
  EXPECT_EQ(S_OK, Register(kScript));
  const std::wstring classes = L"HKCU\\Software\\Classes";
  EXPECT_EQ((Lines{L"HKCR", L"HKCU", L"HKCU\\Software", classes, classes + L"\\Foo.1",
                   classes + L"\\Foo.1|=x", classes + L"\\n", L"HKLM", L"HKLM\\m"}),
            m_registry.Dump());
  EXPECT_EQ(S_OK, Unregister(kScript));
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(false));
  EXPECT_EQ((Lines{L"HKCR", L"HKCU", L"HKCU\\Software", classes, classes + L"\\n", L"HKLM"}),
            m_registry.Dump());
}

/// Replaces the registry functions: one call fails, and the open keys are counted.
class CFailingRegistry {
 public:
  /// call: the number of the call that fails, from 1.
  explicit CFailingRegistry(int call) : m_callsLeft(call) {}
  CFailingRegistry(const CFailingRegistry&) = delete;
  CFailingRegistry& operator=(const CFailingRegistry&) = delete;
  ~CFailingRegistry() { EXPECT_EQ(0, m_keysOpen); }

  bool HasFailed() const { return m_callsLeft <= 0; }

 private:
  /// The answer of a function that may fail; `opens` says whether it opens a key.
  template <class Spy, class... Arguments>
  LSTATUS Answer(const Spy& spy, bool opens, Arguments... arguments) {
    if (--m_callsLeft == 0) {
      return ERROR_ACCESS_DENIED;
    }
    const LSTATUS status = spy.CallOriginal(arguments...);
    m_keysOpen += opens && status == ERROR_SUCCESS ? 1 : 0;
    return status;
  }

  static constexpr char kDll[] = "advapi32.dll";
  int m_callsLeft;
  int m_keysOpen = 0;
  const CImportSpy<&RegCreateKeyExW> m_create{
      kDll, "RegCreateKeyExW", [this](auto... a) { return Answer(m_create, true, a...); }};
  const CImportSpy<&RegOpenKeyExW> m_open{kDll, "RegOpenKeyExW",
                                          [this](auto... a) { return Answer(m_open, true, a...); }};
  const CImportSpy<&RegSetValueExW> m_set{kDll, "RegSetValueExW",
                                          [this](auto... a) { return Answer(m_set, false, a...); }};
  const CImportSpy<&RegDeleteKeyW> m_delete{
      kDll, "RegDeleteKeyW", [this](auto... a) { return Answer(m_delete, false, a...); }};
  const CImportSpy<&RegDeleteTreeW> m_deleteTree{
      kDll, "RegDeleteTreeW", [this](auto... a) { return Answer(m_deleteTree, false, a...); }};
  const CImportSpy<&RegCloseKey> m_close{kDll, "RegCloseKey", [this](HKEY key) {
                                           --m_keysOpen;
                                           return m_close.CallOriginal(key);
                                         }};
};

TEST_F(Registrar, FailureOfEachCallIsReturnedAndNextRunCompletes) {
  const wchar_t kScript[] =
      L"HKLM { NoRemove Kept { ForceRemove Class = s 'name' { Server = s 'path' {"
      L" val Model = s 'apartment' } val AppID = s 'id' } } Other = s 'text' }";
  ASSERT_EQ(S_OK, Register(kScript));
  const Lines registered = Machine();
  for (const bool registers : {true, false}) {
    const auto run = [&] { return registers ? Register(kScript) : Unregister(kScript); };
    bool hasFailed = true;
    for (int call = 1; hasFailed; ++call) {
      ASSERT_EQ(S_OK, Register(kScript));
      {
        const CFailingRegistry failing(call);
        const HRESULT hr = run();
        hasFailed = failing.HasFailed();
        EXPECT_EQ(hasFailed ? HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED) : S_OK, hr) << call;
      }
      EXPECT_EQ(S_OK, run());
      EXPECT_EQ(registers ? registered : Lines{L"Kept"}, Machine()) << call;
      EXPECT_TRUE(call > 4 || hasFailed);
    }
  }
}

}  // namespace
