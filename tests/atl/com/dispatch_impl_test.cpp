#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "atl_test_module.h"
#include "greeter.h"
#include "test_objects.h"
#include "tests/support/import_patch.h"

namespace {

/// The tests' library, as if it were registered.
HRESULT WINAPI LoadTestLibrary(REFGUID, WORD, WORD, LCID, ITypeLib** library) {
  CComBSTR path;
  return AtlLoadTypeLib(_AtlBaseModule.GetModuleInstance(), nullptr, &path, library);
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

  const CImportPatch m_registered{"oleaut32.dll", "LoadRegTypeLib", &LoadTestLibrary};
  CLockBalance m_locks;
  CComPtr<IDispatch> m_dispatch;
  CComVariant m_result;
  EXCEPINFO m_excepinfo = {};
};

TEST_F(DispatchImpl, GetTypeInfoReturnsTheInterface) {
  UINT count = 0;
  EXPECT_EQ(S_OK, m_dispatch->GetTypeInfoCount(&count));
  EXPECT_EQ(1U, count);
  EXPECT_EQ(E_POINTER, m_dispatch->GetTypeInfoCount(nullptr));

  CComPtr<ITypeInfo> info;
  ASSERT_EQ(S_OK, m_dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
  TYPEATTR* attr = nullptr;
  ASSERT_EQ(S_OK, info->GetTypeAttr(&attr));
  EXPECT_TRUE(attr->guid == IID_IGreeter);
  info->ReleaseTypeAttr(attr);

  ITypeInfo* none = info;
  EXPECT_EQ(DISP_E_BADINDEX, m_dispatch->GetTypeInfo(1, LOCALE_USER_DEFAULT, &none));
  EXPECT_EQ(nullptr, none);
  EXPECT_EQ(E_POINTER, m_dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr));
}

TEST_F(DispatchImpl, NamesIgnoreCase) {
  EXPECT_EQ(1, IdOf(L"Greet"));
  EXPECT_EQ(1, IdOf(L"GREET"));
  EXPECT_EQ(2, IdOf(L"count"));
  EXPECT_EQ(DISPID_UNKNOWN, IdOf(L"Nothing", DISP_E_UNKNOWNNAME));
}

TEST_F(DispatchImpl, Methods) {
  EXPECT_EQ(S_OK, Invoke(1, DISPATCH_METHOD, {L"you", 2}));
  ASSERT_EQ(VT_BSTR, m_result.vt);
  EXPECT_STREQ(L"Hello Hello you", m_result.bstrVal);
  EXPECT_EQ(S_OK, Invoke(1, DISPATCH_METHOD, {L"you"})) << "the second one has a default";
  EXPECT_STREQ(L"Hello you", m_result.bstrVal);
  EXPECT_EQ(S_OK, Invoke(1, DISPATCH_METHOD, {5, L"1"})) << "converted where that is possible";
  EXPECT_STREQ(L"Hello 5", m_result.bstrVal);
}

TEST_F(DispatchImpl, Properties) {
  EXPECT_EQ(S_OK, Invoke(2, DISPATCH_PROPERTYPUT, {L"17"}));
  EXPECT_EQ(S_OK, Invoke(2, DISPATCH_PROPERTYGET, {}));
  ASSERT_EQ(VT_I4, m_result.vt);
  EXPECT_EQ(17, m_result.lVal);
}

TEST_F(DispatchImpl, WrongCalls) {
  EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Invoke(99, DISPATCH_METHOD, {}));
  EXPECT_EQ(DISP_E_BADPARAMCOUNT, Invoke(1, DISPATCH_METHOD, {}));
  EXPECT_EQ(DISP_E_TYPEMISMATCH, Invoke(1, DISPATCH_METHOD, {L"you", L"no number"}));
}

TEST_F(DispatchImpl, FailureReturnsDispEException) {
  EXPECT_EQ(DISP_E_EXCEPTION, Invoke(3, DISPATCH_METHOD, {}));
  EXPECT_EQ(E_ACCESSDENIED, m_excepinfo.scode);
  SysFreeString(m_excepinfo.bstrSource);
  SysFreeString(m_excepinfo.bstrDescription);
  SysFreeString(m_excepinfo.bstrHelpFile);
}

/// A class with IProvideClassInfo only.
class CPlain : public CComObjectRootEx<CComSingleThreadModel>,
               public IProvideClassInfoImpl<&CLSID_Greeter, &LIBID_AtlComTestTypes> {
 public:
  CPlain() = default;
  CPlain(const CPlain&) = delete;
  CPlain& operator=(const CPlain&) = delete;
  virtual ~CPlain() = default;

  BEGIN_COM_MAP(CPlain)
  COM_INTERFACE_ENTRY(IProvideClassInfo)
  END_COM_MAP()
};

TEST_F(DispatchImpl, PlainClassInfo) {
  CComObject<CPlain>* object = nullptr;
  ASSERT_EQ(S_OK, CComObject<CPlain>::CreateInstance(&object));
  const CComPtr<IProvideClassInfo> provider(object);
  CComPtr<ITypeInfo> info;
  ASSERT_EQ(S_OK, provider->GetClassInfo(&info));
  TYPEATTR* attr = nullptr;
  ASSERT_EQ(S_OK, info->GetTypeAttr(&attr));
  EXPECT_TRUE(attr->guid == CLSID_Greeter);
  info->ReleaseTypeAttr(attr);
}

TEST_F(DispatchImpl, Site) {
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
