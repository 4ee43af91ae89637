#include <string>

#include "folivo_plugin_h.h"
#include "test_objects.h"
#include "tests/support/import_spy.h"

namespace {

/// An object of which the product's type library describes an interface and the class.
class CDescribed : public CComObjectRootEx<CComSingleThreadModel>,
                   public CComCoClass<CDescribed, &CLSID_CFolivoPluginVersion>,
                   public IDispatchImpl<IFolivoPluginVersion, &IID_IFolivoPluginVersion,
                                        &LIBID_MERLOFolivoIEPlugin>,
                   public IProvideClassInfo2Impl<&CLSID_CFolivoPluginVersion, nullptr,
                                                 &LIBID_MERLOFolivoIEPlugin>,
                   public IObjectWithSiteImpl<CDescribed> {
 public:
  BEGIN_COM_MAP(CDescribed)
  COM_INTERFACE_ENTRY(IDispatch)
  COM_INTERFACE_ENTRY(IProvideClassInfo2)
  END_COM_MAP()

  STDMETHOD(get_Version)(BSTR* text) override {
    *text = SysAllocString(L"text");
    return S_OK;
  }
};

bool IsTypeInfoOf(ITypeInfo* info, REFGUID guid) {
  TYPEATTR* attr = nullptr;
  if (info == nullptr || FAILED(info->GetTypeAttr(&attr))) {
    return false;
  }
  const bool is = attr->guid == guid;
  info->ReleaseTypeAttr(attr);
  return is;
}

class DispatchImpl : public ComTest {
 protected:
  void SetUp() override {
    ComTest::SetUp();
    ASSERT_EQ(S_OK, CreateObject<CDescribed>(m_dispatch));
  }
  void TearDown() override {
    m_dispatch.Release();
    ComTest::TearDown();
  }

  HRESULT IdOf(const wchar_t* name, DISPID& id) const {
    std::wstring copy(name);
    LPOLESTR names[] = {copy.data()};
    return m_dispatch->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  }
  HRESULT Invoke(WORD flags, VARIANT& result) const {
    DISPPARAMS none = {};
    return m_dispatch->Invoke(1, IID_NULL, LOCALE_USER_DEFAULT, flags, &none, &result, nullptr,
                              nullptr);
  }

  /// This program's library, as if it were registered.
  const CImportSpy<&LoadRegTypeLib> m_registered{
      "oleaut32.dll", "LoadRegTypeLib",
      [this](REFGUID guid, WORD major, WORD minor, LCID, ITypeLib** library) -> HRESULT {
        EXPECT_TRUE(guid == LIBID_MERLOFolivoIEPlugin && major == 1 && minor == 0);
        return m_hasLibrary
                   ? LoadTypeLibEx(ATL::detail::ModulePath(nullptr).c_str(), REGKIND_NONE, library)
                   : TYPE_E_LIBNOTREGISTERED;
      }};
  bool m_hasLibrary = true;
  CComPtr<IDispatch> m_dispatch;
};

TEST_F(DispatchImpl, TypeInfoIsThatOfInterfaceAndClass) {
  UINT count = 0;
  EXPECT_EQ(S_OK, m_dispatch->GetTypeInfoCount(&count));
  EXPECT_EQ(1U, count);
  EXPECT_EQ(E_POINTER, m_dispatch->GetTypeInfoCount(nullptr));
  CComPtr<ITypeInfo> info;
  EXPECT_EQ(S_OK, m_dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
  EXPECT_TRUE(IsTypeInfoOf(info, IID_IFolivoPluginVersion));
  CComPtr<ITypeInfo> classInfo;
  EXPECT_EQ(S_OK, CComQIPtr<IProvideClassInfo2>(m_dispatch)->GetClassInfo(&classInfo));
  EXPECT_TRUE(IsTypeInfoOf(classInfo, CLSID_CFolivoPluginVersion));
  ITypeInfo* none = info;
  EXPECT_EQ(DISP_E_BADINDEX, m_dispatch->GetTypeInfo(1, LOCALE_USER_DEFAULT, &none));
  EXPECT_EQ(nullptr, none);
  EXPECT_EQ(E_POINTER, m_dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr));
}

TEST_F(DispatchImpl, GetIDsOfNamesAndInvokeAreForwardedToTheTypeInfo) {
  DISPID id = 0;
  EXPECT_EQ(S_OK, IdOf(L"VERSION", id));
  EXPECT_EQ(1, id);
  EXPECT_EQ(DISP_E_UNKNOWNNAME, IdOf(L"Nothing", id));
  CComVariant result;
  EXPECT_EQ(S_OK, Invoke(DISPATCH_PROPERTYGET, result));
  ASSERT_EQ(VT_BSTR, result.vt);
  EXPECT_STREQ(L"text", result.bstrVal);
  EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Invoke(DISPATCH_METHOD, result));
}

TEST_F(DispatchImpl, UnregisteredLibraryFailsEachCall) {
  m_hasLibrary = false;
  DISPID id = 0;
  CComVariant result;
  ITypeInfo* info = reinterpret_cast<ITypeInfo*>(&info);
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, m_dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
  EXPECT_EQ(nullptr, info);
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, IdOf(L"Version", id));
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, Invoke(DISPATCH_PROPERTYGET, result));
}

}  // namespace
