#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "atl_test_module.h"
#include "greeter.h"
#include "tests/support/import_patch.h"

namespace {

constexpr UINT kKnownString = 1;
constexpr UINT kUnknownString = 2;

/// The thread's error information, taken away from it.
struct TakenError {
  explicit TakenError() { EXPECT_EQ(S_OK, GetErrorInfo(0, &info)); }

  std::wstring Text(HRESULT (STDMETHODCALLTYPE IErrorInfo::*getter)(BSTR*)) const {
    CComBSTR text;
    if (info != nullptr) {
      EXPECT_EQ(S_OK, (info.p->*getter)(&text));
    }
    return text.m_str != nullptr ? text.m_str : L"";
  }
  std::wstring Description() const { return Text(&IErrorInfo::GetDescription); }
  std::wstring Source() const { return Text(&IErrorInfo::GetSource); }
  std::wstring HelpFile() const { return Text(&IErrorInfo::GetHelpFile); }
  DWORD HelpContext() const {
    DWORD context = 0;
    EXPECT_EQ(S_OK, info->GetHelpContext(&context));
    return context;
  }
  GUID Guid() const {
    GUID guid = {};
    EXPECT_EQ(S_OK, info->GetGUID(&guid));
    return guid;
  }

  CComPtr<IErrorInfo> info;
};

class ErrorInfo : public testing::Test {
 protected:
  void TearDown() override { SetErrorInfo(0, nullptr); }
};

TEST_F(ErrorInfo, Description) {
  EXPECT_EQ(E_ACCESSDENIED, CModuleGreeter::Error(L"wide", IID_IGreeter, E_ACCESSDENIED));
  const TakenError wide;
  EXPECT_EQ(L"wide", wide.Description());
  EXPECT_TRUE(wide.Guid() == IID_IGreeter);
  EXPECT_EQ(L"", wide.Source());

  EXPECT_EQ(DISP_E_EXCEPTION, CModuleGreeter::Error("narrow"));
  const TakenError narrow;
  EXPECT_EQ(L"narrow", narrow.Description());
  EXPECT_TRUE(narrow.Guid() == GUID_NULL);
}

TEST_F(ErrorInfo, Help) {
  EXPECT_EQ(DISP_E_EXCEPTION, CModuleGreeter::Error(L"wide", 7, L"wide.hlp"));
  const TakenError wide;
  EXPECT_EQ(L"wide.hlp", wide.HelpFile());
  EXPECT_EQ(7U, wide.HelpContext());
  EXPECT_EQ(E_FAIL, CModuleGreeter::Error("narrow", 8, "narrow.hlp", IID_IGreeter, E_FAIL));
  const TakenError narrow;
  EXPECT_EQ(L"narrow", narrow.Description());
  EXPECT_EQ(L"narrow.hlp", narrow.HelpFile());
  EXPECT_EQ(8U, narrow.HelpContext());
  EXPECT_EQ(E_FAIL, CModuleGreeter::Error(kKnownString, 9, L"id.hlp", IID_IGreeter, E_FAIL));
  const TakenError numbered;
  EXPECT_EQ(L"Text 1", numbered.Description());
  EXPECT_EQ(9U, numbered.HelpContext());
}

TEST_F(ErrorInfo, StringsOfTheModule) {
  EXPECT_EQ(MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, kKnownString),
            CModuleGreeter::Error(kKnownString));
  EXPECT_EQ(L"Text 1", TakenError().Description());
  EXPECT_EQ(E_FAIL, CModuleGreeter::Error(kUnknownString, IID_IGreeter, E_FAIL));
  EXPECT_EQ(L"", TakenError().Description());
}

HRESULT WINAPI GreeterProgID(REFCLSID clsid, LPOLESTR* progID) {
  EXPECT_TRUE(clsid == CLSID_Greeter);
  static const wchar_t kProgID[] = L"Test.Greeter";
  *progID = static_cast<LPOLESTR>(CoTaskMemAlloc(sizeof(kProgID)));
  std::copy(std::begin(kProgID), std::end(kProgID), *progID);
  return S_OK;
}

TEST_F(ErrorInfo, SourceIsTheProgID) {
  const CImportPatch patch("ole32.dll", "ProgIDFromCLSID", &GreeterProgID);
  CModuleGreeter::Error(L"text");
  EXPECT_EQ(L"Test.Greeter", TakenError().Source());
}

TEST_F(ErrorInfo, Support) {
  CComPtr<ISupportErrorInfo> object;
  ASSERT_EQ(S_OK, CModuleGreeter::CreateInstance(&object));
  EXPECT_EQ(S_OK, object->InterfaceSupportsErrorInfo(IID_IGreeter));
  EXPECT_EQ(S_FALSE, object->InterfaceSupportsErrorInfo(IID_IDispatch));
}

}  // namespace
