// The system's own registrar as a second opinion: where it is sound, both leave the same registry.

#include <atlbase.h>
#include <gtest/gtest.h>
#include <statreg.h>

#include "registrar_interface.h"
#include "registry_sandbox.h"

namespace {

constexpr CLSID kSystemRegistrar = {
    0x44EC053A, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};

/// The system's registrar, straight from its library: the test's registry has no classes.
class RegistrarOracle : public testing::TestWithParam<const wchar_t*> {
 protected:
  void SetUp() override {
    m_library = LoadLibraryW(L"atl.dll");
    ASSERT_NE(nullptr, m_library);
    auto* const getClassObject = reinterpret_cast<decltype(&::DllGetClassObject)>(
        reinterpret_cast<void (*)()>(GetProcAddress(m_library, "DllGetClassObject")));
    ASSERT_NE(nullptr, getClassObject);
    CComPtr<IClassFactory> factory;
    ASSERT_EQ(S_OK, getClassObject(kSystemRegistrar, IID_IClassFactory,
                                   reinterpret_cast<void**>(&factory)));
    ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, __uuidof(IRegistrar),
                                            reinterpret_cast<void**>(&m_system)));
    Replace(*m_system.p);
    Replace(m_own);
  }
  void TearDown() override {
    m_system.Release();
    FreeLibrary(m_library);
  }

  template <class T>
  static void Replace(T& registrar) {
    EXPECT_EQ(S_OK, registrar.AddReplacement(L"MODULE", L"C:\\first.dll"));
    EXPECT_EQ(S_OK, registrar.AddReplacement(L"Module", L"C:\\some dir\\x.dll"));
    EXPECT_EQ(S_OK, registrar.AddReplacement(L"FriendlyName", L"It''s mine"));
  }

  /// What is there after each step of: entries of others, register twice, more entries of others,
  /// unregister.
  template <class T>
  static std::wstring Story(T& registrar, const wchar_t* script) {
    const CRegistrySandbox sandbox;
    CRegistrySandbox::Put(HKEY_CLASSES_ROOT, L"CLSID\\{other}", L"other");
    CRegistrySandbox::Put(HKEY_CLASSES_ROOT, L"CLSID\\{mine}\\stray", L"stray");
    CRegistrySandbox::Put(HKEY_CLASSES_ROOT, L"Plain\\stray", L"stray");
    std::wstring story;
    const auto add = [&](const wchar_t* step, HRESULT hr) {
      story += std::wstring(step) + L" " + std::to_wstring(hr) + L"\n" +
               CRegistrySandbox::Dump(HKEY_CLASSES_ROOT) +
               CRegistrySandbox::Dump(HKEY_CURRENT_USER);
    };
    add(L"register", registrar.StringRegister(script));
    add(L"again", registrar.StringRegister(script));
    CRegistrySandbox::Put(HKEY_CLASSES_ROOT, L"Later\\stray", L"later");
    add(L"unregister", registrar.StringUnregister(script));
    add(L"unregister again", registrar.StringUnregister(script));
    return story;
  }

  HMODULE m_library = nullptr;
  CComPtr<IRegistrar> m_system;
  CRegObject m_own;
};

TEST_P(RegistrarOracle, BothLeaveTheSameRegistry) {
  EXPECT_EQ(Story(*m_system.p, GetParam()), Story(m_own, GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    All, RegistrarOracle,
    testing::Values(
        L"HKCR { Foo.1 = s '%FriendlyName%' { CLSID = s '{mine}' } NoRemove CLSID {"
        L" ForceRemove {mine} = s '%FriendlyName%' { ProgID = s 'Foo.1' ForceRemove Programmable"
        L" InprocServer32 = s '%MODULE%' { val ThreadingModel = s 'apartment' } } } }",
        L"HKCR { Plain = s 'x' { a { b = s 'y' } } Later = s 'mine' { c } }",
        L"HKCU { NoRemove a = s 'x' { val v = s 'y' b = s 'z' { val w = d '42' } } }",
        L"HKCR { Delete Plain New { 'quoted key' = s ' blanks  and ''quotes'' ' } }",
        L"HKEY_CURRENT_USER\r\n{\r\n\tkey = b '0102ff'\r\n\t{\r\n\t\tval x = s '100%%'\r\n\t}\r\n}",
        L"HKCU { a } HKCR { b { NoRemove c } }", L"HKCU { a { %Unknown% } }"));

}  // namespace
