// The type library inside the DLL.

#include <atlbase.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"

namespace {

using Texts = std::vector<std::wstring>;

struct CClass {
  GUID clsid;
  GUID interfaceId;
  Texts texts;  // name and help text of the class and of its interface
};

/// In the order in which the library lists them, each class before its interface.
const CClass kClasses[] = {
    {CLSID_CIEDownload,
     IID_IIEDownload,
     {L"CIEDownload", L"MERLO Folivo Download Utility", L"IIEDownload", L"IIEDownload Interface"}},
    {CLSID_CFolivoPluginVersion,
     IID_IFolivoPluginVersion,
     {L"CFolivoPluginVersion", L"Folivo Plugin Version Helper Class", L"IFolivoPluginVersion",
      L"IFolivoPluginVersion Interface"}},
    {CLSID_CQDCDownload,
     IID_IQDCDownload,
     {L"CQDCDownload", L"QDCDownload Class", L"IQDCDownload", L"IQDCDownload Interface"}},
};

TYPEATTR AttributesOf(ITypeInfo& info) {
  TYPEATTR* attributes = nullptr;
  EXPECT_EQ(info.GetTypeAttr(&attributes), S_OK);
  const TYPEATTR copy = *attributes;
  info.ReleaseTypeAttr(attributes);
  return copy;
}

TLIBATTR AttributesOf(ITypeLib& library) {
  TLIBATTR* attributes = nullptr;
  EXPECT_EQ(library.GetLibAttr(&attributes), S_OK);
  const TLIBATTR copy = *attributes;
  library.ReleaseTLibAttr(attributes);
  return copy;
}

template <typename Source>
Texts NameAndHelp(Source& source, int index) {
  CComBSTR name;
  CComBSTR help;
  EXPECT_EQ(source.GetDocumentation(index, &name, &help, nullptr, nullptr), S_OK);
  return {std::wstring(name), std::wstring(help)};
}

/// The type that another one implements or derives from; -1: a dual interface as C++ sees it.
CComPtr<ITypeInfo> Referenced(ITypeInfo& info, int index) {
  HREFTYPE reference = 0;
  EXPECT_EQ(info.GetRefTypeOfImplType(static_cast<UINT>(index), &reference), S_OK);
  CComPtr<ITypeInfo> referenced;
  EXPECT_EQ(info.GetRefTypeInfo(reference, &referenced), S_OK);
  return referenced;
}

class TypeLibrary : public testing::Test {
 protected:
  TypeLibrary() {
    EXPECT_EQ(LoadTypeLibEx(CPluginLibrary::BuiltPath().c_str(), REGKIND_NONE, &m_library), S_OK);
  }
  CComPtr<ITypeLib> m_library;
};

TEST_F(TypeLibrary, HasItsNameAndVersion) {
  const TLIBATTR attributes = AttributesOf(*m_library);
  EXPECT_EQ(attributes.guid, LIBID_MERLOFolivoIEPlugin);
  EXPECT_EQ(attributes.wMajorVerNum, 1);
  EXPECT_EQ(attributes.wMinorVerNum, 0);
  EXPECT_EQ(attributes.syskind, SYS_WIN64);
  EXPECT_EQ(attributes.lcid, LCID{LOCALE_NEUTRAL});
  EXPECT_EQ(attributes.wLibFlags & ~LIBFLAG_FHASDISKIMAGE, 0) << "neither hidden nor restricted";
  EXPECT_EQ(NameAndHelp(*m_library, -1),
            (Texts{L"MERLOFolivoIEPlugin", L"MERLO Folivo Download Utility Type Library"}));
  const CPluginLibrary library;
  EXPECT_NE(FindResourceExW(library.Module(), L"TYPELIB", MAKEINTRESOURCEW(1), 1033), nullptr);
}

TEST_F(TypeLibrary, ListsEachClassWithItsDefaultInterface) {
  ASSERT_EQ(m_library->GetTypeInfoCount(), 2 * std::size(kClasses));
  UINT index = 0;
  for (const CClass& expected : kClasses) {
    Texts texts;
    for (const bool isClass : {true, false}) {
      CComPtr<ITypeInfo> info;
      EXPECT_EQ(m_library->GetTypeInfo(index++, &info), S_OK);
      const TYPEATTR attributes = AttributesOf(*info);
      EXPECT_EQ(attributes.typekind, isClass ? TKIND_COCLASS : TKIND_DISPATCH);
      EXPECT_EQ(attributes.guid, isClass ? expected.clsid : expected.interfaceId);
      EXPECT_EQ(attributes.cImplTypes, 1);
      EXPECT_EQ(attributes.wMajorVerNum, 0);
      EXPECT_EQ(attributes.wMinorVerNum, 0);
      EXPECT_EQ(attributes.wTypeFlags,
                isClass ? TYPEFLAG_FCANCREATE
                        : TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE);
      const Texts own = NameAndHelp(*info.p, MEMBERID_NIL);
      texts.insert(texts.end(), own.begin(), own.end());
      const CComPtr<ITypeInfo> base = Referenced(*info, 0);
      if (isClass) {
        INT flags = 0;
        EXPECT_EQ(info->GetImplTypeFlags(0, &flags), S_OK);
        EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
        EXPECT_EQ(AttributesOf(*base).guid, expected.interfaceId);
      } else {
        EXPECT_EQ(AttributesOf(*base).guid, IID_IDispatch);
        CComPtr<ITypeLib> system;
        UINT baseIndex = 0;
        ASSERT_EQ(base->GetContainingTypeLib(&system, &baseIndex), S_OK);
        constexpr GUID kStdOle2 = {
            0x00020430, 0, 0, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
        EXPECT_EQ(AttributesOf(*system).guid, kStdOle2);
      }
    }
    EXPECT_EQ(texts, expected.texts);
  }
}

TEST_F(TypeLibrary, InterfacesHaveTheirMembers) {
  const struct {
    GUID interfaceId;
    INVOKEKIND kind;
    Texts nameAndHelp;
    Texts names;
    USHORT parameterFlags;
    bool isPointer;
  } cases[] = {
      {IID_IFolivoPluginVersion,
       INVOKE_PROPERTYGET,
       {L"Version", L"Gets the version of the plugin as a string"},
       {L"Version", L"pVal"},
       PARAMFLAG_FOUT | PARAMFLAG_FRETVAL,
       true},
      {IID_IQDCDownload,
       INVOKE_FUNC,
       {L"DownloadFile", L"method DownloadFile"},
       {L"DownloadFile", L"SourceURL"},
       PARAMFLAG_FIN,
       false},
  };
  const auto vtable = [&](REFIID iid) {
    CComPtr<ITypeInfo> dispatch;
    EXPECT_EQ(m_library->GetTypeInfoOfGuid(iid, &dispatch), S_OK);
    return Referenced(*dispatch, -1);
  };
  for (const auto& expected : cases) {
    const CComPtr<ITypeInfo> info = vtable(expected.interfaceId);
    EXPECT_EQ(AttributesOf(*info).cVars, 0);
    ASSERT_EQ(AttributesOf(*info).cFuncs, 1);
    FUNCDESC* function = nullptr;
    ASSERT_EQ(info->GetFuncDesc(0, &function), S_OK);
    EXPECT_EQ(function->memid, 1);
    EXPECT_EQ(function->invkind, expected.kind);
    EXPECT_EQ(function->funckind, FUNC_PUREVIRTUAL);
    EXPECT_EQ(function->callconv, CC_STDCALL);
    EXPECT_EQ(function->oVft, static_cast<SHORT>(7 * sizeof(void*))) << "behind IDispatch";
    EXPECT_EQ(function->wFuncFlags, 0) << "not hidden";
    EXPECT_EQ(function->elemdescFunc.tdesc.vt, VT_HRESULT);
    ASSERT_EQ(function->cParams, 1);
    EXPECT_EQ(function->cParamsOpt, 0);
    const ELEMDESC& parameter = function->lprgelemdescParam[0];
    EXPECT_EQ(parameter.paramdesc.wParamFlags, expected.parameterFlags);
    EXPECT_EQ(parameter.tdesc.vt == VT_PTR, expected.isPointer);
    EXPECT_EQ((expected.isPointer ? *parameter.tdesc.lptdesc : parameter.tdesc).vt, VT_BSTR);
    info->ReleaseFuncDesc(function);
    EXPECT_EQ(NameAndHelp(*info.p, 1), expected.nameAndHelp);
    BSTR names[4] = {};
    UINT count = 0;
    EXPECT_EQ(info->GetNames(1, names, 4, &count), S_OK);
    EXPECT_EQ(Texts(names, names + count), expected.names);
    std::for_each(names, names + count, &SysFreeString);
  }
  EXPECT_EQ(AttributesOf(*vtable(IID_IIEDownload)).cFuncs, 0);
}

}  // namespace
