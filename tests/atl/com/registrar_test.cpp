#include <atlbase.h>
#include <gtest/gtest.h>
#include <statreg.h>

#include "registry_sandbox.h"

namespace {

/// Every test starts with an empty registry and a new registrar.
class Registrar : public testing::Test {
 protected:
  static std::wstring Classes() { return CRegistrySandbox::Dump(HKEY_CLASSES_ROOT); }
  static std::wstring Machine() { return CRegistrySandbox::Dump(HKEY_LOCAL_MACHINE); }
  static std::wstring User() { return CRegistrySandbox::Dump(HKEY_CURRENT_USER); }

  HRESULT Register(const std::wstring& script) {
    return m_registrar.StringRegister(script.c_str());
  }
  HRESULT Unregister(const std::wstring& script) {
    return m_registrar.StringUnregister(script.c_str());
  }

  CRegistrySandbox m_sandbox;
  CRegObject m_registrar;
};

TEST_F(Registrar, WritesATreeOfKeysAndTakesItBack) {
  const wchar_t kScript[] =
      L"HKCR\r\n{\r\n"
      L"\tFoo.Bar.1 = s 'Foo Bar'\r\n\t{\r\n\t\tCLSID = s '{1234}'\r\n\t}\r\n"
      L"\tNoRemove CLSID\r\n\t{\r\n"
      L"\t\tForceRemove {1234} = s 'Foo Bar'\r\n\t\t{\r\n"
      L"\t\t\tForceRemove Programmable\r\n"
      L"\t\t\tInprocServer32 = s 'C:\\foo bar.dll'\r\n\t\t\t{\r\n"
      L"\t\t\t\tval ThreadingModel = s 'apartment'\r\n\t\t\t}\r\n"
      L"\t\t\tval AppID = s '{9999}'\r\n"
      L"\t\t}\r\n\t}\r\n}\r\n";
  EXPECT_EQ(S_OK, Register(kScript));
  const std::wstring written = Lines({
      L"CLSID",
      L"CLSID\\{1234}",
      L"CLSID\\{1234} = s:Foo Bar",
      L"CLSID\\{1234} [AppID] = s:{9999}",
      L"CLSID\\{1234}\\InprocServer32",
      L"CLSID\\{1234}\\InprocServer32 = s:C:\\foo bar.dll",
      L"CLSID\\{1234}\\InprocServer32 [ThreadingModel] = s:apartment",
      L"CLSID\\{1234}\\Programmable",
      L"Foo.Bar.1",
      L"Foo.Bar.1 = s:Foo Bar",
      L"Foo.Bar.1\\CLSID",
      L"Foo.Bar.1\\CLSID = s:{1234}",
  });
  EXPECT_EQ(written, Classes());
  EXPECT_EQ(S_OK, Register(kScript));
  EXPECT_EQ(written, Classes());

  EXPECT_EQ(S_OK, Unregister(kScript));
  EXPECT_EQ(Lines({L"CLSID"}), Classes());
  EXPECT_EQ(S_OK, Unregister(kScript)) << "there is nothing left to remove";
  EXPECT_EQ(Lines({L"CLSID"}), Classes());
}

TEST_F(Registrar, KnowsEveryRootByBothNames) {
  EXPECT_EQ(S_OK, Register(L"HKCR { a } HKEY_CLASSES_ROOT { b } HKLM { c } HKEY_LOCAL_MACHINE { d }"
                           L" HKCU { e } HKEY_CURRENT_USER { f } hkcr { g }"));
  EXPECT_EQ(Lines({L"a", L"b", L"g"}), Classes());
  EXPECT_EQ(Lines({L"c", L"d"}), Machine());
  EXPECT_EQ(Lines({L"e", L"f"}), User());
}

TEST_F(Registrar, WritesEveryType) {
  EXPECT_EQ(S_OK, Register(L"HKCU { k = s 'text' {"
                           L" val e = e '%%SystemRoot%%\\x'"
                           L" val m = m 'one\\0two\\0\\0three\\0'"
                           L" val m0 = m ''"
                           L" val d1 = d '42' val d2 = d '&H2A' val d3 = d 0x2a"
                           L" val d4 = D '4294967295' val d5 = d '&HFFFFFFFF'"
                           L" val b = b '00fF7f' val b0 = b ''"
                           L" val 'with blank' = s '' } }"));
  EXPECT_EQ(Lines({
                L"k",
                L"k = s:text",
                L"k [b0] = b:",
                L"k [b] = b:00ff7f",
                L"k [d1] = d:0000002a",
                L"k [d2] = d:0000002a",
                L"k [d3] = d:0000002a",
                L"k [d4] = d:ffffffff",
                L"k [d5] = d:ffffffff",
                L"k [e] = e:%SystemRoot%\\x",
                L"k [m0] = m:",
                L"k [m] = m:one|two|three|",
                L"k [with blank] = s:",
            }),
            User());
}

TEST_F(Registrar, QuotesBlanksAndSigns) {
  EXPECT_EQ(S_OK, Register(L"HKCU { 'a key' = s '  it''s \"here\" { = } ' 'val' 'Delete' '{' "
                           L"NoRemove 'NoRemove' q = s '''' }"));
  EXPECT_EQ(Lines({L"Delete", L"NoRemove", L"a key", L"a key = s:  it's \"here\" { = } ", L"q",
                   L"q = s:'", L"val", L"{"}),
            User());
}

TEST_F(Registrar, KeywordsAndTypesIgnoreCase) {
  CRegistrySandbox::Put(HKEY_CURRENT_USER, L"old\\sub");
  EXPECT_EQ(S_OK, Register(L"hkcu { noremove a { VAL v = S 'x' } DELETE old forceREMOVE b }"));
  EXPECT_EQ(Lines({L"a", L"a [v] = s:x", L"b"}), User());
}

TEST_F(Registrar, ReplacesTokensWithoutRegardToCase) {
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"Name", L"first"));
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"NAME", L"last"));
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"Path", L"C:\\it''s\\100%\\x.dll"));
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"Empty", L""));
  EXPECT_EQ(S_OK, Register(L"HKCU { k%name% = s '%PATH%' { val %Name% = s '%empty%' "
                           L"val percent = s '100%%' } }"));
  EXPECT_EQ(Lines({L"klast", L"klast = s:C:\\it's\\100%\\x.dll", L"klast [last] = s:",
                   L"klast [percent] = s:100%"}),
            User());

  EXPECT_EQ(S_OK, m_registrar.ClearReplacements());
  EXPECT_EQ(DISP_E_EXCEPTION, Register(L"HKCU { %NAME% }"));
}

TEST_F(Registrar, ReplacementsAreScriptText) {
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"BODY", L"a = s 'x' { b }"));
  EXPECT_EQ(S_OK, Register(L"HKCU { %BODY% }"));
  EXPECT_EQ(Lines({L"a", L"a = s:x", L"a\\b"}), User());
}

TEST_F(Registrar, ReplacementsNeedNameAndText) {
  EXPECT_EQ(E_INVALIDARG, m_registrar.AddReplacement(nullptr, L"x"));
  EXPECT_EQ(E_INVALIDARG, m_registrar.AddReplacement(L"x", nullptr));
}

TEST_F(Registrar, ForceRemoveStartsFromNothing) {
  CRegistrySandbox::Put(HKEY_CURRENT_USER, L"forced\\stray\\deep", L"x");
  CRegistrySandbox::Put(HKEY_CURRENT_USER, L"kept\\stray", L"x");
  const wchar_t kScript[] = L"HKCU { ForceRemove forced { a } kept { a } }";
  EXPECT_EQ(S_OK, Register(kScript));
  EXPECT_EQ(
      Lines({L"forced", L"forced\\a", L"kept", L"kept\\a", L"kept\\stray", L"kept\\stray = s:x"}),
      User());

  // On the way back a key that somebody else uses stays, unless the script claims the tree.
  CRegistrySandbox::Put(HKEY_CURRENT_USER, L"forced\\stray", L"x");
  EXPECT_EQ(S_OK, Unregister(kScript));
  EXPECT_EQ(Lines({L"kept", L"kept\\stray", L"kept\\stray = s:x"}), User());
}

TEST_F(Registrar, NoRemoveStaysWithItsValues) {
  const wchar_t kScript[] =
      L"HKCU { NoRemove a = s 'mine' { val v = s 'x' b = s 'y' { NoRemove c { d } } e } }";
  EXPECT_EQ(S_OK, Register(kScript));
  EXPECT_EQ(S_OK, Unregister(kScript));
  // "b" is no NoRemove key, but one below it is.
  EXPECT_EQ(Lines({L"a", L"a = s:mine", L"a [v] = s:x", L"a\\b", L"a\\b = s:y", L"a\\b\\c"}),
            User());
}

TEST_F(Registrar, NoRemoveBesideForceRemove) {
  CRegistrySandbox::Put(HKEY_CURRENT_USER, L"k\\stray");
  for (const wchar_t* script :
       {L"HKCU { NoRemove ForceRemove k { a } }", L"HKCU { ForceRemove NoRemove k { a } }"}) {
    EXPECT_EQ(S_OK, Register(script));
    EXPECT_EQ(Lines({L"k", L"k\\a"}), User());
    EXPECT_EQ(S_OK, Unregister(script));
    EXPECT_EQ(Lines({L"k"}), User());
  }
}

TEST_F(Registrar, DeleteActsOnRegistering) {
  CRegistrySandbox::Put(HKEY_CURRENT_USER, L"old\\sub");
  const wchar_t kScript[] = L"HKCU { Delete old Delete missing new }";
  EXPECT_EQ(S_OK, Register(kScript));
  EXPECT_EQ(Lines({L"new"}), User());
  CRegistrySandbox::Put(HKEY_CURRENT_USER, L"old");
  EXPECT_EQ(S_OK, Unregister(kScript));
  EXPECT_EQ(Lines({L"old", L"old = s:"}), User());
}

TEST_F(Registrar, ValueAfterAModifierIsAValue) {
  EXPECT_EQ(S_OK, Register(L"HKCU { k { NoRemove val a = s '1' ForceRemove val b = s '2' } }"));
  EXPECT_EQ(Lines({L"k", L"k [a] = s:1", L"k [b] = s:2"}), User());
}

TEST_F(Registrar, SharedKeysAreNeverDeletedWhole) {
  CRegistrySandbox::Put(HKEY_CLASSES_ROOT, L"CLSID\\{other}");
  CRegistrySandbox::Put(HKEY_LOCAL_MACHINE, L"Software\\Other");
  const wchar_t kScript[] =
      L"HKCR { ForceRemove clsid { {mine} } Delete TypeLib } HKLM { Delete SOFTWARE }";
  const std::wstring others = Lines({L"CLSID", L"CLSID\\{other}", L"CLSID\\{other} = s:"});
  CRegistrySandbox::Put(HKEY_CLASSES_ROOT, L"TypeLib\\{other}");
  EXPECT_EQ(S_OK, Register(kScript));
  EXPECT_EQ(Lines({L"CLSID", L"CLSID\\{mine}", L"CLSID\\{other}", L"CLSID\\{other} = s:",
                   L"TypeLib", L"TypeLib\\{other}", L"TypeLib\\{other} = s:"}),
            Classes());
  EXPECT_EQ(Lines({L"Software", L"Software\\Other", L"Software\\Other = s:"}), Machine());
  EXPECT_EQ(S_OK, Unregister(kScript));
  EXPECT_EQ(others + Lines({L"TypeLib", L"TypeLib\\{other}", L"TypeLib\\{other} = s:"}), Classes());
}

TEST_F(Registrar, KeyPathsOfSeveralLevels) {
  EXPECT_EQ(S_OK, Register(L"HKCU { 'a\\b' = s 'x' }"));
  EXPECT_EQ(Lines({L"a", L"a\\b", L"a\\b = s:x"}), User());
  EXPECT_EQ(S_OK, Unregister(L"HKCU { 'a\\b' = s 'x' }"));
  EXPECT_EQ(Lines({L"a"}), User());
}

/// Scripts that are none. Each is tried behind a part that is right, which must not be written.
class RegistrarSyntax : public Registrar, public testing::WithParamInterface<const wchar_t*> {};

TEST_P(RegistrarSyntax, MistakesWriteNothing) {
  CRegistrySandbox::Put(HKEY_CURRENT_USER, L"kept", L"x");
  const std::wstring script = std::wstring(L"HKCU { good = s 'x' Delete kept } ") + GetParam();
  EXPECT_EQ(DISP_E_EXCEPTION, Register(script));
  EXPECT_EQ(Lines({L"kept", L"kept = s:x"}), User());
  EXPECT_EQ(DISP_E_EXCEPTION, Unregister(script));
  EXPECT_EQ(Lines({L"kept", L"kept = s:x"}), User());
}

INSTANTIATE_TEST_SUITE_P(
    All, RegistrarSyntax,
    testing::Values(L"HKXX { a }",                     // no such root
                    L"HKCU",                           // a root alone
                    L"HKCU a { }",                     // no brace behind the root
                    L"HKCU {",                         // braces that never close
                    L"HKCU { a { b { }",               //
                    L"HKCU { a } }",                   // one too many
                    L"{ a }",                          // no root
                    L"HKCU { 'a }",                    // a quote that never closes
                    L"HKCU { a = s 'it's' }",          // a quote inside a quoted text
                    L"HKCU { a = s }",                 // no data
                    L"HKCU { a = }",                   // no type
                    L"HKCU { a = x 'y' }",             // no such type
                    L"HKCU { a = ss 'y' }",            //
                    L"HKCU { a = '' 'y' }",            //
                    L"HKCU { val v }",                 // a value without data
                    L"HKCU { val v = s }",             //
                    L"HKCU { val = s 'x' }",           // a value without name
                    L"HKCU { = s 'x' }",               // a key without name
                    L"HKCU { '' }",                    //
                    L"HKCU { NoRemove }",              //
                    L"HKCU { ForceRemove '' { a } }",  // would be the parent itself
                    L"HKCU { Delete '' }",             //
                    L"HKCU { Delete }",                //
                    L"HKCU { Delete 'a\\b' }",         // trees are named on one level
                    L"HKCU { ForceRemove 'a\\b' }",    //
                    L"HKCU { '\\a' }",                 //
                    L"HKCU { 'a\\' }",                 //
                    L"HKCU { a = d 'x' }",             // no numbers
                    L"HKCU { a = d '' }",              //
                    L"HKCU { a = d '-1' }",            //
                    L"HKCU { a = d '&H' }",            //
                    L"HKCU { a = d '12a' }",           //
                    L"HKCU { a = d '4294967296' }",    // one too large
                    L"HKCU { a = d '&H100000000' }",   //
                    L"HKCU { a = b '123' }",           // half a byte
                    L"HKCU { a = b '1g' }",            //
                    L"HKCU { %UNKNOWN% }",             // no replacement
                    L"HKCU { a = s '100%' }"));        // a percent sign alone

TEST_F(Registrar, NestingHasALimit) {
  const auto nested = [](int depth) {
    std::wstring script = L"HKCU ";
    for (int i = 0; i < depth; ++i) {
      script += L"{ a ";
    }
    for (int i = 0; i < depth; ++i) {
      script += L"} ";
    }
    return script;
  };
  EXPECT_EQ(S_OK, Register(nested(100)));
  EXPECT_EQ(S_OK, Unregister(nested(100)));
  EXPECT_EQ(DISP_E_EXCEPTION, Register(nested(100000)));
  EXPECT_EQ(L"", User());
}

TEST_F(Registrar, AnEmptyScriptDoesNothing) {
  EXPECT_EQ(S_OK, Register(L""));
  EXPECT_EQ(S_OK, Register(L" \r\n\t"));
  EXPECT_EQ(S_OK, Register(L"HKCU { }"));
  EXPECT_EQ(L"", User());
}

TEST_F(Registrar, NullArguments) {
  EXPECT_EQ(E_INVALIDARG, m_registrar.StringRegister(nullptr));
  EXPECT_EQ(E_INVALIDARG, m_registrar.StringUnregister(nullptr));
  EXPECT_EQ(E_INVALIDARG, m_registrar.ResourceRegister(nullptr, 1, L"REGISTRY"));
  EXPECT_EQ(E_INVALIDARG, m_registrar.ResourceRegister(L"x.dll", 1, nullptr));
}

TEST_F(Registrar, ScriptsAreAnsiOrUtf16) {
  using ATL::detail::DecodeScript;
  EXPECT_EQ(L"HKCU { a }", DecodeScript("HKCU { a }"));
  EXPECT_EQ(L"", DecodeScript(""));
  EXPECT_EQ(L"HKCU", DecodeScript(std::string_view("HKCU\0{ a }", 10))) << "text ends there";
  const std::wstring wide = L"\xFEFFHKCU { a = s '\x4F60' }";
  EXPECT_EQ(L"HKCU { a = s '\x4F60' }", DecodeScript({reinterpret_cast<const char*>(wide.data()),
                                                      wide.size() * sizeof(wchar_t)}));
}

TEST_F(Registrar, ReadsResources) {
  const std::wstring program = ATL::detail::ModulePath(nullptr);
  EXPECT_EQ(S_OK, m_registrar.AddReplacement(L"FriendlyName", L"Friend"));
  EXPECT_EQ(S_OK, m_registrar.ResourceRegister(program.c_str(), 200, L"REGISTRY"));
  const std::wstring written = Lines({L"TestByNumber", L"TestByNumber = s:Friend"});
  EXPECT_EQ(written, User());
  EXPECT_EQ(S_OK, m_registrar.ResourceUnregister(program.c_str(), 200, L"REGISTRY"));
  EXPECT_EQ(L"", User());

  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_RESOURCE_NAME_NOT_FOUND),
            m_registrar.ResourceRegister(program.c_str(), 9999, L"REGISTRY"));
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_RESOURCE_TYPE_NOT_FOUND),
            m_registrar.ResourceRegister(program.c_str(), 200, L"NOSUCHTYPE"));
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
            m_registrar.ResourceRegister(L"C:\\no such.dll", 200, L"REGISTRY"));
}

TEST_F(Registrar, PerUserModeWrapsClassesOnly) {
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(true));
  const wchar_t kScript[] = L"HKCR { Foo.1 = s 'x' } HKLM { m } HKEY_CLASSES_ROOT { NoRemove n }";
  EXPECT_EQ(S_OK, Register(kScript));
  EXPECT_EQ(L"", Classes());
  EXPECT_EQ(Lines({L"m"}), Machine());
  EXPECT_EQ(Lines({L"Software", L"Software\\Classes", L"Software\\Classes\\Foo.1",
                   L"Software\\Classes\\Foo.1 = s:x", L"Software\\Classes\\n"}),
            User());
  EXPECT_EQ(S_OK, Unregister(kScript));
  ASSERT_EQ(S_OK, AtlSetPerUserRegistration(false));
  EXPECT_EQ(L"", Machine());
  EXPECT_EQ(Lines({L"Software", L"Software\\Classes", L"Software\\Classes\\n"}), User());
}

TEST_F(Registrar, PerUserModeIsOffAtFirst) {
  bool enabled = true;
  EXPECT_EQ(S_OK, AtlGetPerUserRegistration(&enabled));
  EXPECT_FALSE(enabled);
  EXPECT_EQ(E_POINTER, AtlGetPerUserRegistration(nullptr));
}

TEST_F(Registrar, IsNoCountedObject) {
  EXPECT_EQ(1U, m_registrar.AddRef());
  EXPECT_EQ(1U, m_registrar.Release());
  void* p = nullptr;
  EXPECT_EQ(S_OK, m_registrar.QueryInterface(IID_IUnknown, &p));
  EXPECT_EQ(static_cast<IUnknown*>(&m_registrar), p);
  EXPECT_EQ(E_NOINTERFACE, m_registrar.QueryInterface(IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(E_POINTER, m_registrar.QueryInterface(IID_IUnknown, nullptr));
}

}  // namespace
