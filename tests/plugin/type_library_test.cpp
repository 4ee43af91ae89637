// The type library inside the DLL.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"

namespace {

struct CType {
  TYPEKIND kind;
  std::wstring name;
  std::wstring help;
  GUID guid;

  bool operator==(const CType&) const = default;
};

/// In the order in which the library tells them. TKIND_DISPATCH: a dual interface.
const std::vector<CType> kTypes = {
    {TKIND_COCLASS, L"CIEDownload", L"MERLO Folivo Download Utility", CLSID_CIEDownload},
    {TKIND_DISPATCH, L"IIEDownload", L"IIEDownload Interface", IID_IIEDownload},
    {TKIND_COCLASS, L"CFolivoPluginVersion", L"Folivo Plugin Version Helper Class",
     CLSID_CFolivoPluginVersion},
    {TKIND_DISPATCH, L"IFolivoPluginVersion", L"IFolivoPluginVersion Interface",
     IID_IFolivoPluginVersion},
    {TKIND_COCLASS, L"CQDCDownload", L"QDCDownload Class", CLSID_CQDCDownload},
    {TKIND_DISPATCH, L"IQDCDownload", L"IQDCDownload Interface", IID_IQDCDownload},
};

std::ostream& operator<<(std::ostream& stream, const CType& type) {
  return stream << type.kind << " " << std::string(type.name.begin(), type.name.end()) << ": "
                << std::string(type.help.begin(), type.help.end());
}

class TypeLibrary : public testing::Test {
 protected:
  TypeLibrary() {
    EXPECT_EQ(LoadTypeLibEx(CPluginLibrary::BuiltPath().c_str(), REGKIND_NONE, &m_library), S_OK);
  }
  CComPtr<ITypeInfo> Type(UINT index) const {
    CComPtr<ITypeInfo> info;
    EXPECT_EQ(m_library->GetTypeInfo(index, &info), S_OK);
    return info;
  }
  CComPtr<ITypeLib> m_library;
};

template <typename Source>
std::pair<std::wstring, std::wstring> NameAndHelp(Source& source, int index) {
  CComBSTR name;
  CComBSTR help;
  EXPECT_EQ(source.GetDocumentation(index, &name, &help, nullptr, nullptr), S_OK);
  return {std::wstring(name, SysStringLen(name)), std::wstring(help, SysStringLen(help))};
}

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
            std::pair(std::wstring(L"MERLOFolivoIEPlugin"),
                      std::wstring(L"MERLO Folivo Download Utility Type Library")));
}

TEST_F(TypeLibrary, IsTheResourceOneOfTheDll) {
  const CPluginLibrary library;
  const HRSRC resource = FindResourceExW(library.Module(), L"TYPELIB", MAKEINTRESOURCEW(1), 1033);
  EXPECT_NE(resource, nullptr);
}

TEST_F(TypeLibrary, ListsItsTypesInOrder) {
  std::vector<CType> types;
  for (UINT i = 0; i < m_library->GetTypeInfoCount(); ++i) {
    const CComPtr<ITypeInfo> info = Type(i);
    const auto [name, help] = NameAndHelp(*info.p, MEMBERID_NIL);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    types.push_back({attributes->typekind, name, help, attributes->guid});
    EXPECT_EQ(attributes->cImplTypes, 1) << i;
    EXPECT_EQ(attributes->wMajorVerNum, 0) << i;
    EXPECT_EQ(attributes->wMinorVerNum, 0) << i;
    EXPECT_EQ(attributes->wTypeFlags,
              attributes->typekind == TKIND_DISPATCH
                  ? TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE
                  : TYPEFLAG_FCANCREATE)
        << i;
    info->ReleaseTypeAttr(attributes);
  }
  EXPECT_EQ(types, kTypes);
}

TEST_F(TypeLibrary, EachClassHasTheInterfaceBehindItAsItsDefault) {
  for (UINT i = 0; i + 1 < kTypes.size(); i += 2) {
    const CComPtr<ITypeInfo> info = Type(i);
    INT flags = 0;
    ASSERT_EQ(info->GetImplTypeFlags(0, &flags), S_OK);
    EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
    HREFTYPE reference = 0;
    ASSERT_EQ(info->GetRefTypeOfImplType(0, &reference), S_OK);
    CComPtr<ITypeInfo> interfaceInfo;
    ASSERT_EQ(info->GetRefTypeInfo(reference, &interfaceInfo), S_OK);
    EXPECT_EQ(NameAndHelp(*interfaceInfo.p, MEMBERID_NIL).first, kTypes[i + 1].name);
  }
}

TEST_F(TypeLibrary, InterfacesBuildUponTheSystemsLibrary) {
  // stdole2.tlb
  constexpr GUID kSystemLibrary = {
      0x00020430, 0, 0, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
  for (UINT i = 1; i < kTypes.size(); i += 2) {
    const CComPtr<ITypeInfo> info = Type(i);
    HREFTYPE reference = 0;
    ASSERT_EQ(info->GetRefTypeOfImplType(0, &reference), S_OK);
    CComPtr<ITypeInfo> base;
    ASSERT_EQ(info->GetRefTypeInfo(reference, &base), S_OK);
    EXPECT_EQ(NameAndHelp(*base.p, MEMBERID_NIL).first, L"IDispatch");
    CComPtr<ITypeLib> library;
    UINT index = 0;
    ASSERT_EQ(base->GetContainingTypeLib(&library, &index), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, kSystemLibrary);
    library->ReleaseTLibAttr(attributes);
  }
}

class Members : public TypeLibrary {
 protected:
  /// The dual interface as C++ sees it.
  CComPtr<ITypeInfo> VTable(REFIID iid) const {
    CComPtr<ITypeInfo> dispatch;
    EXPECT_EQ(m_library->GetTypeInfoOfGuid(iid, &dispatch), S_OK);
    HREFTYPE reference = 0;
    EXPECT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    CComPtr<ITypeInfo> vtable;
    EXPECT_EQ(dispatch->GetRefTypeInfo(reference, &vtable), S_OK);
    return vtable;
  }
  static WORD CountFunctions(ITypeInfo& info) {
    TYPEATTR* attributes = nullptr;
    EXPECT_EQ(info.GetTypeAttr(&attributes), S_OK);
    const WORD count = attributes->cFuncs;
    EXPECT_EQ(attributes->cVars, 0);
    info.ReleaseTypeAttr(attributes);
    return count;
  }
  /// A method of COM with one parameter, behind the seven of IDispatch, which nobody hides.
  static void ExpectMethod(const FUNCDESC& function) {
    EXPECT_EQ(function.funckind, FUNC_PUREVIRTUAL);
    EXPECT_EQ(function.callconv, CC_STDCALL);
    EXPECT_EQ(function.oVft, static_cast<SHORT>(7 * sizeof(void*)));
    EXPECT_EQ(function.wFuncFlags, 0);
    EXPECT_EQ(function.elemdescFunc.tdesc.vt, VT_HRESULT);
    ASSERT_EQ(function.cParams, 1);
    EXPECT_EQ(function.cParamsOpt, 0);
  }
  static std::vector<std::wstring> Names(ITypeInfo& info, MEMBERID id) {
    BSTR names[4] = {};
    UINT count = 0;
    EXPECT_EQ(info.GetNames(id, names, 4, &count), S_OK);
    std::vector<std::wstring> texts;
    for (UINT i = 0; i < count; ++i) {
      texts.emplace_back(names[i], SysStringLen(names[i]));
      SysFreeString(names[i]);
    }
    return texts;
  }
};

TEST_F(Members, HelperObjectsInterfaceHasNone) {
  EXPECT_EQ(CountFunctions(*VTable(IID_IIEDownload)), 0);
}

TEST_F(Members, VersionIsAReadOnlyText) {
  const CComPtr<ITypeInfo> info = VTable(IID_IFolivoPluginVersion);
  ASSERT_EQ(CountFunctions(*info), 1);
  FUNCDESC* function = nullptr;
  ASSERT_EQ(info->GetFuncDesc(0, &function), S_OK);
  EXPECT_EQ(function->memid, 1);
  EXPECT_EQ(function->invkind, INVOKE_PROPERTYGET);
  ExpectMethod(*function);
  const ELEMDESC& result = function->lprgelemdescParam[0];
  EXPECT_EQ(result.paramdesc.wParamFlags, PARAMFLAG_FOUT | PARAMFLAG_FRETVAL);
  ASSERT_EQ(result.tdesc.vt, VT_PTR);
  EXPECT_EQ(result.tdesc.lptdesc->vt, VT_BSTR);
  info->ReleaseFuncDesc(function);
  EXPECT_EQ(NameAndHelp(*info.p, 1),
            std::pair(std::wstring(L"Version"),
                      std::wstring(L"Gets the version of the plugin as a string")));
  EXPECT_EQ(Names(*info.p, 1), (std::vector<std::wstring>{L"Version", L"pVal"}));
}

TEST_F(Members, DownloadFileTakesAText) {
  const CComPtr<ITypeInfo> info = VTable(IID_IQDCDownload);
  ASSERT_EQ(CountFunctions(*info), 1);
  FUNCDESC* function = nullptr;
  ASSERT_EQ(info->GetFuncDesc(0, &function), S_OK);
  EXPECT_EQ(function->memid, 1);
  EXPECT_EQ(function->invkind, INVOKE_FUNC);
  ExpectMethod(*function);
  EXPECT_EQ(function->lprgelemdescParam[0].paramdesc.wParamFlags, PARAMFLAG_FIN);
  EXPECT_EQ(function->lprgelemdescParam[0].tdesc.vt, VT_BSTR);
  info->ReleaseFuncDesc(function);
  EXPECT_EQ(NameAndHelp(*info.p, 1),
            std::pair(std::wstring(L"DownloadFile"), std::wstring(L"method DownloadFile")));
  EXPECT_EQ(Names(*info.p, 1), (std::vector<std::wstring>{L"DownloadFile", L"SourceURL"}));
}

}  // namespace
