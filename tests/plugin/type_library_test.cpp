// The type library inside the DLL.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "com/class_registration.h"
#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"

namespace {

/// In the order in which the library lists them.
const struct {
  GUID guid;
  LPCWSTR text;
} kTypes[] = {
    {CLSID_CIEDownload, L"class CIEDownload (MERLO Folivo Download Utility): default IIEDownload"},
    {IID_IIEDownload, L"interface IIEDownload (IIEDownload Interface): IDispatch"},
    {CLSID_CFolivoPluginVersion,
     L"class CFolivoPluginVersion (Folivo Plugin Version Helper Class): default "
     L"IFolivoPluginVersion"},
    {IID_IFolivoPluginVersion,
     L"interface IFolivoPluginVersion (IFolivoPluginVersion Interface): IDispatch"},
    {CLSID_CQDCDownload, L"class CQDCDownload (QDCDownload Class): default IQDCDownload"},
    {IID_IQDCDownload, L"interface IQDCDownload (IQDCDownload Interface): IDispatch"},
};

TYPEATTR AttributesOf(ITypeInfo& info) {
  TYPEATTR* attributes = nullptr;
  EXPECT_EQ(info.GetTypeAttr(&attributes), S_OK);
  const TYPEATTR copy = *attributes;
  info.ReleaseTypeAttr(attributes);
  return copy;
}

template <typename Source>
std::wstring NameAndHelp(Source& source, int index) {
  CComBSTR name;
  CComBSTR help;
  EXPECT_EQ(source.GetDocumentation(index, &name, &help, nullptr, nullptr), S_OK);
  return std::wstring(name) + L" (" + std::wstring(help) + L")";
}

/// The type that another one implements or derives from; -1: a dual interface as C++ sees it.
CComPtr<ITypeInfo> Referenced(ITypeInfo& info, int index) {
  HREFTYPE reference = 0;
  EXPECT_EQ(info.GetRefTypeOfImplType(static_cast<UINT>(index), &reference), S_OK);
  CComPtr<ITypeInfo> referenced;
  EXPECT_EQ(info.GetRefTypeInfo(reference, &referenced), S_OK);
  return referenced;
}

std::wstring Describe(ITypeInfo& info) {
  const TYPEATTR attributes = AttributesOf(info);
  const bool isClass = attributes.typekind == TKIND_COCLASS;
  EXPECT_TRUE(isClass || attributes.typekind == TKIND_DISPATCH);
  EXPECT_EQ(attributes.wTypeFlags,
            isClass ? TYPEFLAG_FCANCREATE
                    : TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE);
  EXPECT_EQ(attributes.cImplTypes, 1);
  INT flags = 0;
  EXPECT_EQ(info.GetImplTypeFlags(0, &flags), S_OK);
  CComBSTR base;
  EXPECT_EQ(Referenced(info, 0)->GetDocumentation(MEMBERID_NIL, &base, nullptr, nullptr, nullptr),
            S_OK);
  return (isClass ? L"class " : L"interface ") + NameAndHelp(info, MEMBERID_NIL) + L": " +
         (flags == IMPLTYPEFLAG_FDEFAULT ? L"default " : L"") + std::wstring(base);
}

class TypeLibrary : public testing::Test {
 protected:
  TypeLibrary() {
    EXPECT_EQ(LoadTypeLibEx(CPluginLibrary::BuiltPath().c_str(), REGKIND_NONE, &m_library), S_OK);
  }
  /// A dual interface as C++ sees it.
  CComPtr<ITypeInfo> Vtable(REFIID iid) const {
    CComPtr<ITypeInfo> dispatch;
    EXPECT_EQ(m_library->GetTypeInfoOfGuid(iid, &dispatch), S_OK);
    return Referenced(*dispatch, -1);
  }
  CComPtr<ITypeLib> m_library;
};

TEST_F(TypeLibrary, HasItsNameAndVersion) {
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(m_library->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, LIBID_MERLOFolivoIEPlugin);
  EXPECT_EQ(attributes->wMajorVerNum, 1);
  EXPECT_EQ(attributes->wMinorVerNum, 0);
  EXPECT_EQ(attributes->syskind, SYS_WIN64);
  EXPECT_EQ(attributes->lcid, LCID{LOCALE_NEUTRAL});
  EXPECT_EQ(attributes->wLibFlags & ~LIBFLAG_FHASDISKIMAGE, 0) << "neither hidden nor restricted";
  m_library->ReleaseTLibAttr(attributes);
  EXPECT_EQ(NameAndHelp(*m_library, -1),
            L"MERLOFolivoIEPlugin (MERLO Folivo Download Utility Type Library)");
  const CPluginLibrary library;
  EXPECT_NE(FindResourceExW(library.Module(), L"TYPELIB", MAKEINTRESOURCEW(1), 1033), nullptr);
}

TEST_F(TypeLibrary, ListsEachClassWithItsDefaultInterface) {
  ASSERT_EQ(m_library->GetTypeInfoCount(), std::size(kTypes));
  for (UINT i = 0; i < std::size(kTypes); ++i) {
    CComPtr<ITypeInfo> type;
    ASSERT_EQ(m_library->GetTypeInfo(i, &type), S_OK);
    EXPECT_EQ(Describe(*type), kTypes[i].text);
    EXPECT_EQ(AttributesOf(*type).guid, kTypes[i].guid);
  }
}

TEST_F(TypeLibrary, InterfacesHaveTheirMembers) {
  const struct {
    GUID interfaceId;
    INVOKEKIND kind;
    LPCWSTR text;
    LPCWSTR parameter;
    USHORT parameterFlags;
    bool isPointer;
  } rows[] = {
      {IID_IFolivoPluginVersion, INVOKE_PROPERTYGET,
       L"Version (Gets the version of the plugin as a string)", L"pVal",
       PARAMFLAG_FOUT | PARAMFLAG_FRETVAL, true},
      {IID_IQDCDownload, INVOKE_FUNC, L"DownloadFile (method DownloadFile)", L"SourceURL",
       PARAMFLAG_FIN, false},
  };
  for (const auto& row : rows) {
    const CComPtr<ITypeInfo> info = Vtable(row.interfaceId);
    EXPECT_EQ(AttributesOf(*info).cVars, 0);
    ASSERT_EQ(AttributesOf(*info).cFuncs, 1);
    FUNCDESC* function = nullptr;
    ASSERT_EQ(info->GetFuncDesc(0, &function), S_OK);
    EXPECT_EQ(function->memid, 1);
    EXPECT_EQ(function->invkind, row.kind);
    EXPECT_EQ(function->oVft, static_cast<SHORT>(7 * sizeof(void*))) << "after IDispatch";
    EXPECT_EQ(function->wFuncFlags, 0) << "not hidden";
    EXPECT_EQ(function->elemdescFunc.tdesc.vt, VT_HRESULT);
    ASSERT_EQ(function->cParams, 1);
    EXPECT_EQ(function->cParamsOpt, 0);
    const ELEMDESC& parameter = function->lprgelemdescParam[0];
    EXPECT_EQ(parameter.paramdesc.wParamFlags, row.parameterFlags);
    EXPECT_EQ(parameter.tdesc.vt == VT_PTR, row.isPointer);
    EXPECT_EQ((row.isPointer ? *parameter.tdesc.lptdesc : parameter.tdesc).vt, VT_BSTR);
    info->ReleaseFuncDesc(function);
    EXPECT_EQ(NameAndHelp(*info.p, 1), row.text);
    BSTR names[2] = {};
    UINT count = 0;
    EXPECT_EQ(info->GetNames(1, names, 2, &count), S_OK);
    ASSERT_EQ(count, 2u);
    EXPECT_STREQ(names[1], row.parameter);
    std::for_each(names, names + count, &SysFreeString);
  }
  EXPECT_EQ(AttributesOf(*Vtable(IID_IIEDownload)).cFuncs, 0);
}

TEST_F(TypeLibrary, IdentifiersAreAllDifferent) {
  GUID applicationId = GUID_NULL;
  ASSERT_EQ(CLSIDFromString(L"" FOLIVO_APPLICATION_ID, &applicationId), S_OK);
  std::vector<GUID> identifiers = {applicationId, LIBID_MERLOFolivoIEPlugin};
  for (const auto& type : kTypes) {
    identifiers.push_back(type.guid);
  }
  for (const GUID& guid : identifiers) {
    EXPECT_EQ(std::count(identifiers.begin(), identifiers.end(), guid), 1);
  }
}

}  // namespace
