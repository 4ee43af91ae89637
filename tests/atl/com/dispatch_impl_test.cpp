#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "atl_test_module.h"
#include "greeter.h"
#include "test_objects.h"
#include "tests/support/import_spy.h"

namespace {

bool IsTypeInfoOf(ITypeInfo* info, REFGUID guid) {
  TYPEATTR* attr = nullptr;
  if (info == nullptr || FAILED(info->GetTypeAttr(&attr))) {
    return false;
  }
  const bool is = attr->guid == guid;
  info->ReleaseTypeAttr(attr);
  return is;
}

class DispatchImpl : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(S_OK, CreateObject<CGreeter>(m_dispatch)); }

  DISPID IdOf(const wchar_t* name, HRESULT expected = S_OK) {
    std::wstring copy(name);
    LPOLESTR names[] = {copy.data()};
    DISPID id = DISPID_UNKNOWN;
    EXPECT_EQ(expected, m_dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id));
    return id;
  }

  /// Arguments in the order of the call.
  HRESULT Invoke(DISPID id, WORD flags, std::vector<CComVariant> arguments) {
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS params = {reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    if (flags == DISPATCH_PROPERTYPUT) {
      params.rgdispidNamedArgs = &put;
      params.cNamedArgs = 1;
    }
    m_result.Clear();
    return m_dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                              flags == DISPATCH_PROPERTYPUT ? nullptr : &m_result, &m_excepinfo,
                              nullptr);
  }

  /// The tests' library, as if it were registered.
  const CImportSpy<&LoadRegTypeLib> m_registered{
      "oleaut32.dll", "LoadRegTypeLib",
      [](REFGUID guid, WORD major, WORD minor, LCID, ITypeLib** library) -> HRESULT {
        if (guid != LIBID_AtlComTestTypes || major != 1 || minor != 0) {
          return TYPE_E_LIBNOTREGISTERED;
        }
        CComBSTR path;
        return AtlLoadTypeLib(_AtlBaseModule.GetModuleInstance(), nullptr, &path, library);
      }};
  CLockBalance m_locks;
  CComPtr<IDispatch> m_dispatch;
  CComVariant m_result;
  EXCEPINFO m_excepinfo = {};
};

TEST_F(DispatchImpl, TypeInfoIsThatOfTheInterface) {
  UINT count = 0;
  EXPECT_EQ(S_OK, m_dispatch->GetTypeInfoCount(&count));
  EXPECT_EQ(1U, count);
  EXPECT_EQ(E_POINTER, m_dispatch->GetTypeInfoCount(nullptr));
  CComPtr<ITypeInfo> info;
  EXPECT_EQ(S_OK, m_dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
  EXPECT_TRUE(IsTypeInfoOf(info, IID_IGreeter));
  ITypeInfo* none = info;
  EXPECT_EQ(DISP_E_BADINDEX, m_dispatch->GetTypeInfo(1, LOCALE_USER_DEFAULT, &none));
  EXPECT_EQ(nullptr, none);
  EXPECT_EQ(E_POINTER, m_dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr));
}

TEST_F(DispatchImpl, NamesAndCallsGoToTheTypeInfo) {
  EXPECT_EQ(1, IdOf(L"GREET"));
  EXPECT_EQ(DISPID_UNKNOWN, IdOf(L"Nothing", DISP_E_UNKNOWNNAME));
  EXPECT_EQ(S_OK, Invoke(1, DISPATCH_METHOD, {5, L"2"}));
  ASSERT_EQ(VT_BSTR, m_result.vt);
  EXPECT_STREQ(L"Hello Hello 5", m_result.bstrVal);
  EXPECT_EQ(S_OK, Invoke(2, DISPATCH_PROPERTYPUT, {L"17"}));
  EXPECT_EQ(S_OK, Invoke(2, DISPATCH_PROPERTYGET, {}));
  ASSERT_EQ(VT_I4, m_result.vt);
  EXPECT_EQ(17, m_result.lVal);
  EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Invoke(99, DISPATCH_METHOD, {}));
  EXPECT_EQ(DISP_E_EXCEPTION, Invoke(3, DISPATCH_METHOD, {}));
  EXPECT_EQ(E_ACCESSDENIED, m_excepinfo.scode);
  SysFreeString(m_excepinfo.bstrSource);
  SysFreeString(m_excepinfo.bstrDescription);
  SysFreeString(m_excepinfo.bstrHelpFile);
}

TEST_F(DispatchImpl, UnregisteredLibraryFailsEachCall) {
  static constexpr GUID kUnknown = {1, 2, 3, {}};
  constexpr CComTypeInfoHolder noLibrary(&IID_IGreeter, &kUnknown, 1, 0);
  constexpr CComTypeInfoHolder noType(&kUnknown, &LIBID_AtlComTestTypes, 1, 0);
  constexpr LCID kLocale = LOCALE_USER_DEFAULT;
  CComPtr<ITypeInfo> info;
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, noLibrary.GetTypeInfo(0, kLocale, &info));
  EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, noType.GetTypeInfo(0, kLocale, &info));
  EXPECT_EQ(nullptr, info.p);
  LPOLESTR names[] = {nullptr};
  DISPID id = 0;
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, noLibrary.GetIDsOfNames(IID_NULL, names, 1, kLocale, &id));
  DISPPARAMS none = {};
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED,
            noLibrary.Invoke(nullptr, 1, IID_NULL, kLocale, DISPATCH_METHOD, &none, nullptr,
                             nullptr, nullptr));
}

TEST_F(DispatchImpl, ClassInfoIsThatOfTheClass) {
  CComPtr<IProvideClassInfo> provider;
  ASSERT_EQ(S_OK, m_dispatch.QueryInterface(&provider));
  CComPtr<ITypeInfo> info;
  EXPECT_EQ(S_OK, provider->GetClassInfo(&info));
  EXPECT_TRUE(IsTypeInfoOf(info, CLSID_Greeter));
}

TEST_F(DispatchImpl, SiteIsHeldUntilItIsReplaced) {
  CComPtr<IObjectWithSite> object;
  ASSERT_EQ(S_OK, m_dispatch.QueryInterface(&object));
  void* p = Garbage();
  EXPECT_EQ(E_FAIL, object->GetSite(IID_IUnknown, &p));
  EXPECT_EQ(nullptr, p);
  EXPECT_EQ(E_POINTER, object->GetSite(IID_IUnknown, nullptr));
  CComPtr<IStream> site;
  ASSERT_EQ(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &site));
  EXPECT_EQ(S_OK, object->SetSite(site));
  EXPECT_EQ(2U, References(site));
  CComPtr<IStream> got;
  EXPECT_EQ(S_OK, object->GetSite(__uuidof(IStream), reinterpret_cast<void**>(&got)));
  EXPECT_EQ(site.p, got.p);
  p = Garbage();
  EXPECT_EQ(E_NOINTERFACE, object->GetSite(IID_IDispatch, &p));
  EXPECT_EQ(nullptr, p);
  got.Release();
  EXPECT_EQ(S_OK, object->SetSite(nullptr));
  EXPECT_EQ(1U, References(site));
}

}  // namespace
