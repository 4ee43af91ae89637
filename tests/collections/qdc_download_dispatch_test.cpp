// The control's own implementation of IDispatch.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/collections/control_object.h"
#include "tests/support/dialog_result.h"
#include "tests/support/import_spy.h"

namespace {

constexpr DISPID kDownloadFile = 1;

class QdcDownloadDispatch : public testing::Test {
 protected:
  HRESULT Names(std::vector<const wchar_t*> names, std::vector<DISPID>& ids) const {
    ids.assign(names.size(), -77);
    return m_dispatch->GetIDsOfNames(IID_NULL, const_cast<LPOLESTR*>(names.data()),
                                     static_cast<UINT>(names.size()), 0, ids.data());
  }

  HRESULT Invoke(DISPID id, std::vector<VARIANT> arguments, VARIANT* result = nullptr,
                 EXCEPINFO* exception = nullptr, UINT* argument = nullptr) const {
    DISPPARAMS params = {arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    return m_dispatch->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, result, exception,
                              argument);
  }

  const CTempSandbox m_sandbox;
  const CControlObject m_control{m_sandbox};
  IDispatch* const m_dispatch = m_control.Dispatch();
  const CDialogResult m_dialog{2};
};

TEST_F(QdcDownloadDispatch, HasTypeInformationAtOneIndex) {
  EXPECT_EQ(m_dispatch->GetTypeInfoCount(nullptr), E_POINTER);
  UINT count = 77;
  EXPECT_EQ(m_dispatch->GetTypeInfoCount(&count), S_OK);
  EXPECT_EQ(count, 1u);

  CComPtr<ITypeInfo> info;
  ASSERT_EQ(m_dispatch->GetTypeInfo(0, LOCALE_SYSTEM_DEFAULT, &info), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, IID_IQDCDownload);
  info->ReleaseTypeAttr(attributes);
  // The references are those of the system's own type-info object: one, the caller's.
  info.p->AddRef();
  EXPECT_EQ(info.p->Release(), 1u);

  auto* none = reinterpret_cast<ITypeInfo*>(1);
  EXPECT_EQ(m_dispatch->GetTypeInfo(1, 0, &none), DISP_E_BADINDEX);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(m_dispatch->GetTypeInfo(1, 0, nullptr), DISP_E_BADINDEX);
  EXPECT_EQ(m_dispatch->GetTypeInfo(0, 0, nullptr), E_POINTER);
}

TEST_F(QdcDownloadDispatch, ModuleWithoutAUsableFileNameHasNoTypeInformation) {
  for (const DWORD length : {0, 260}) {
    const CImportSpy<&GetModuleFileNameW> name(
        "kernel32.dll", "GetModuleFileNameW", [&](HMODULE module, LPWSTR path, DWORD size) {
          EXPECT_EQ(module, ATL::_AtlBaseModule.GetModuleInstance());
          EXPECT_EQ(size, 260u);
          path[0] = L'\0';
          return length;
        });
    CComPtr<ITypeInfo> info;
    EXPECT_EQ(m_dispatch->GetTypeInfo(0, 0, &info), E_FAIL) << length;
    UINT count = 77;
    EXPECT_EQ(m_dispatch->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
  }
}

TEST_F(QdcDownloadDispatch, NamesAreFoundInAnyCaseAndPlace) {
  std::vector<DISPID> ids;
  EXPECT_EQ(Names({L"DownloadFile", L"SourceURL", L"sourceurl", L"DOWNLOADFILE"}, ids), S_OK);
  EXPECT_EQ(ids, (std::vector<DISPID>{1, 0, 0, 1}));
  EXPECT_EQ(Names({L"sourceurl"}, ids), S_OK);
  EXPECT_EQ(ids, (std::vector<DISPID>{0}));
  EXPECT_EQ(Names({}, ids), S_OK);
}

TEST_F(QdcDownloadDispatch, UnknownNameEndsTheSearchAtOnce) {
  std::vector<DISPID> ids;
  for (const wchar_t* unknown : {L"Download", static_cast<const wchar_t*>(nullptr)}) {
    EXPECT_EQ(Names({L"DownloadFile", unknown, L"SourceURL"}, ids), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(ids, (std::vector<DISPID>{1, -77, -77}));
  }
  auto* name = const_cast<LPOLESTR>(L"DownloadFile");
  DISPID id = 0;
  EXPECT_EQ(m_dispatch->GetIDsOfNames(IID_NULL, nullptr, 1, 0, &id), E_POINTER);
  EXPECT_EQ(m_dispatch->GetIDsOfNames(IID_NULL, &name, 1, 0, nullptr), E_POINTER);
}

TEST_F(QdcDownloadDispatch, ArgumentIsConvertedAndTheCallersStaysAsItIs) {
  std::wstring source;
  m_dialog.WhileRunning([&] { source = RunningDialogPeer().SourceUrl().GetString(); });
  CComVariant text(L"x");
  VARIANT reference = {};
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = &text;
  const std::pair<VARIANT, std::wstring> cases[] = {
      {text, L"x"}, {CComVariant(42), L"42"}, {CComVariant(true), L"-1"}, {reference, L"x"}};
  for (const auto& [argument, expected] : cases) {
    CComVariant result(77);
    EXCEPINFO exception = {};
    exception.scode = 77;
    EXPECT_EQ(Invoke(kDownloadFile, {argument}, &result, &exception), S_OK);
    EXPECT_EQ(source, expected);
    EXPECT_EQ(result.vt, VT_EMPTY);
    EXPECT_EQ(exception.scode, 77) << "of failures only";
  }
  EXPECT_EQ(m_dialog.Count(), 4);
  EXPECT_EQ(reference.pvarVal, &text);
  EXPECT_EQ(text.vt, VT_BSTR);
}

TEST_F(QdcDownloadDispatch, ErrorsAreTestedInAFixedOrder) {
  const CComVariant text(L"x");
  EXPECT_EQ(
      m_dispatch->Invoke(99, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr),
      DISP_E_BADVARTYPE);
  // Too many arguments come before the identifier, and before the result is cleared; the identifier
  // before a missing argument.
  const struct {
    DISPID id;
    std::vector<VARIANT> arguments;
    HRESULT error;
    VARTYPE result;
  } cases[] = {
      {99, {text, text}, DISP_E_BADPARAMCOUNT, VT_I4},
      {0, {}, DISP_E_MEMBERNOTFOUND, VT_EMPTY},
      {2, {text}, DISP_E_MEMBERNOTFOUND, VT_EMPTY},
      {-3, {text}, DISP_E_MEMBERNOTFOUND, VT_EMPTY},
      {kDownloadFile, {}, DISP_E_BADPARAMCOUNT, VT_EMPTY},
  };
  for (const auto& c : cases) {
    CComVariant result(77);
    EXPECT_EQ(Invoke(c.id, c.arguments, &result), c.error) << c.id;
    EXPECT_EQ(result.vt, c.result) << c.id;
  }
  DISPPARAMS none = {nullptr, nullptr, 1, 0};
  EXPECT_EQ(m_dispatch->Invoke(kDownloadFile, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr,
                               nullptr),
            DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(m_dialog.Count(), 0);
}

TEST_F(QdcDownloadDispatch, ArgumentThatIsNoTextIsATypeMismatch) {
  // The system refuses the last one with DISP_E_BADVARTYPE; the caller gets the same code.
  for (const VARTYPE type : {VARTYPE{VT_UNKNOWN}, VARTYPE{VT_NULL}, VARTYPE{15}}) {
    VARIANT value = {};
    value.vt = type;
    UINT argument = 77;
    EXPECT_EQ(Invoke(kDownloadFile, {value}, nullptr, nullptr, &argument), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(argument, 0u);
    EXPECT_EQ(Invoke(kDownloadFile, {value}), DISP_E_TYPEMISMATCH);
  }
  EXPECT_EQ(m_dialog.Count(), 0);
}

TEST_F(QdcDownloadDispatch, FailureIsReturnedWithAnException) {
  const CComVariant longText(std::wstring(1001, L'a').c_str());
  EXCEPINFO exception;
  memset(&exception, 0x77, sizeof(exception));
  EXPECT_EQ(Invoke(kDownloadFile, {longText}, nullptr, &exception), E_INVALIDARG);
  EXPECT_EQ(exception.scode, E_INVALIDARG);
  EXPECT_EQ(exception.bstrSource, nullptr);
  EXPECT_EQ(exception.bstrDescription, nullptr);
  EXPECT_EQ(exception.pfnDeferredFillIn, nullptr);
  EXPECT_EQ(Invoke(kDownloadFile, {longText}), E_INVALIDARG);
}

}  // namespace
