#include "collections/qdc_download.h"

#include <gtest/gtest.h>

#include <bit>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/collections/control_object.h"
#include "tests/support/dialog_result.h"
#include "tests/support/import_spy.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"

namespace {

using Texts = std::vector<std::wstring>;

constexpr wchar_t kContent[] = L"Documents\\My Folivo Content\\My Content\\Downloaded Content";

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

HWND MakeWindow() {
  return CreateWindowExW(0, L"static", L"", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, nullptr, nullptr,
                         nullptr, nullptr);
}

class QdcDownload : public testing::Test {
 protected:
  QdcDownload() { CoInitialize(nullptr); }
  ~QdcDownload() override { CoUninitialize(); }

  const CTempSandbox m_sandbox;
  CMessageRecorder m_messages;
};

// What is done when a page creates the control.

TEST_F(QdcDownload, FoldersAreMadeAndLeftWithWhatIsInThem) {
  {
    CControlObject control(m_sandbox);
    EXPECT_TRUE(control.Peer().IsReady());
    EXPECT_STREQ(control.Peer().ContentFolder(), (m_sandbox / kContent).c_str());
    EXPECT_STREQ(control.Peer().TempFolder(), (m_sandbox / L"ZDH").c_str());
  }
  EXPECT_TRUE(IsFolder(m_sandbox / kContent));
  EXPECT_TRUE(IsFolder(m_sandbox / L"ZDH"));
  const Texts files = {std::wstring(kContent) + L"\\a.qdc", L"ZDH\\download.zip"};
  for (const std::wstring& file : files) {
    m_sandbox.Write(file, "old");
  }
  EXPECT_TRUE(CControlObject(m_sandbox).Peer().IsReady());
  EXPECT_EQ(m_sandbox.Files(), files);
}

TEST_F(QdcDownload, ContentFolderThatCannotBeMadeLeavesItReady) {
  m_sandbox.Write(L"Documents\\My Folivo Content", "a file in the way");
  const CControlObject control(m_sandbox);
  EXPECT_TRUE(control.Peer().IsReady());
  EXPECT_FALSE(control.Peer().ContentFolder().IsEmpty());
}

TEST_F(QdcDownload, OutOfMemoryInItsConstructorMakesItNotReady) {
  const CImportSpy<&GetTempPathW> path("kernel32.dll", "GetTempPathW",
                                       [](DWORD, LPWSTR) -> DWORD { throw std::bad_alloc(); });
  EXPECT_FALSE(CControlObject(m_sandbox).Peer().IsReady());
}

TEST_F(QdcDownload, MissingTemporaryFolderMakesItNotReady) {
  for (const DWORD length : {0, 261, 1000}) {
    const CImportSpy<&GetTempPathW> path("kernel32.dll", "GetTempPathW", [&](DWORD size, LPWSTR) {
      EXPECT_EQ(size, 260u);
      return length;
    });
    const CControlObject control(m_sandbox);
    EXPECT_FALSE(control.Peer().IsReady()) << length;
    EXPECT_TRUE(control.Peer().TempFolder().IsEmpty());
  }
  m_sandbox.Write(L"ZDH", "a file in the way");
  SetFileAttributesW((m_sandbox / L"ZDH").c_str(), FILE_ATTRIBUTE_READONLY);
  SetEnvironmentVariableW(L"TMP", (m_sandbox / L"ZDH").c_str());
  const CControlObject control(m_sandbox);
  EXPECT_FALSE(control.Peer().IsReady());
  EXPECT_FALSE(control.Peer().ContentFolder().IsEmpty());
}

TEST_F(QdcDownload, ComIsInitialisedForGood) {
  const CImportSpy<&CoUninitialize> balance("ole32.dll", "CoUninitialize");
  for (const HRESULT result : {S_OK, S_FALSE, RPC_E_CHANGED_MODE, E_OUTOFMEMORY}) {
    using Spy = CImportSpy<&CoInitialize>;
    const Spy join("ole32.dll", "CoInitialize", [&](LPVOID) { return result; });
    EXPECT_EQ(CControlObject(m_sandbox).Peer().IsReady(), SUCCEEDED(result)) << result;
    EXPECT_EQ(join.Calls(), std::vector<Spy::Call>{{nullptr}});
  }
  EXPECT_TRUE(balance.Calls().empty());
}

// A control that is not ready.

TEST_F(QdcDownload, WithoutADocumentsFolderEachCallShowsAMessageAndFails) {
  const CControlObject control(L"");
  EXPECT_FALSE(control.Peer().IsReady());
  EXPECT_TRUE(control.Peer().ContentFolder().IsEmpty());
  EXPECT_TRUE(IsFolder(m_sandbox / L"ZDH")) << "the rest is made";
  const CDialogResult dialog(1);
  const CDocumentsFolder now(m_sandbox / L"Documents");  // too late
  for (const size_t length : {10, 1001}) {
    EXPECT_EQ(control->DownloadFile(CComBSTR(std::wstring(length, L'a').c_str())), E_FAIL);
    const std::vector<CShownMessage> messages = m_messages.Take();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, L"Unable to download Folivo Collection files at this time.");
    EXPECT_EQ(messages[0].caption, L"MERLO Folivo");
    EXPECT_EQ(messages[0].style, static_cast<UINT>(MB_ICONHAND));
    EXPECT_EQ(messages[0].owner, nullptr);
  }
  EXPECT_EQ(dialog.Count(), 0);
}

TEST_F(QdcDownload, MessageIsOwnedByTheControlsWindowElseByTheContainers) {
  const CControlObject control(L"");
  const auto owner = [&] {
    control->DownloadFile(CComBSTR(L"x"));
    return m_messages.Take().at(0).owner;
  };
  const HWND container = MakeWindow();
  // The container is the system's own. Its library stays loaded, as window classes point into it.
  const auto attach = std::bit_cast<HRESULT(WINAPI*)(IUnknown*, HWND, IUnknown**)>(
      GetProcAddress(LoadLibraryW(L"atl.dll"), "AtlAxAttachControl"));
  CComPtr<IUnknown> host;
  ASSERT_EQ(attach(control->GetUnknown(), container, &host), S_OK);
  EXPECT_NE(control->m_hWnd, nullptr);
  EXPECT_EQ(owner(), control->m_hWnd);
  CComPtr<IOleInPlaceObject> place;
  ASSERT_EQ(control->QueryInterface(IID_PPV_ARGS(&place)), S_OK);
  EXPECT_EQ(place->InPlaceDeactivate(), S_OK);
  EXPECT_EQ(owner(), container);
  DestroyWindow(container);
}

// A download.

class QdcDownloadCall : public QdcDownload {
 protected:
  CControlObject m_control{m_sandbox};
  const CLaunchRecorder m_launches;
};

TEST_F(QdcDownloadCall, DialogGetsTheActiveWindowAndTheSamePathsEachTime) {
  const HWND window = MakeWindow();
  SetActiveWindow(window);
  for (const wchar_t* const url :
       {L"http://folivo-schools.example/a.zip", L"http://folivo-schools.example/b.zip"}) {
    const CDialogResult dialog(2);
    Texts given;
    std::vector<DWORD> classes;  // of controls, registered before the dialog
    const CImportSpy<&InitCommonControlsEx> controls("comctl32.dll", "InitCommonControlsEx",
                                                     [&](const INITCOMMONCONTROLSEX* wanted) {
                                                       classes.push_back(wanted->dwICC);
                                                       return TRUE;
                                                     });
    dialog.WhileRunning([&] {
      EXPECT_EQ(classes, std::vector<DWORD>{ICC_PROGRESS_CLASS});
      const CZipProgressDialogPeer peer = RunningDialogPeer();
      given = {peer.SourceUrl().GetString(), peer.ZipPath().GetString(),
               peer.ContentFolder().GetString()};
    });
    EXPECT_EQ(m_control->DownloadFile(CComBSTR(url)), S_OK);
    EXPECT_EQ(dialog.Template(), 211u);
    EXPECT_EQ(dialog.Parent(), window);
    EXPECT_EQ(given, (Texts{url, m_sandbox / L"ZDH\\download.zip", m_sandbox / kContent}));
  }
  DestroyWindow(window);
}

TEST_F(QdcDownloadCall, ThousandCharactersAreAcceptedAndOneMoreIsNot) {
  std::wstring withZeros = L"short";
  withZeros.resize(1001, L'\0');
  const std::optional<std::wstring> thousand = std::wstring(1000, L'a');
  const struct {
    BSTR url;
    std::optional<std::wstring> given;  // to the dialog; none: it is refused
  } cases[] = {{nullptr, L""},
               {SysAllocString(thousand->c_str()), thousand},
               {SysAllocString((*thousand + L"a").c_str()), std::nullopt},
               {SysAllocStringLen(withZeros.data(), 1001), std::nullopt}};
  for (const auto& [url, expected] : cases) {
    std::optional<std::wstring> given;
    const CDialogResult dialog(3);
    dialog.WhileRunning([&] { given = RunningDialogPeer().SourceUrl().GetString(); });
    EXPECT_EQ(m_control->DownloadFile(url), expected ? S_OK : E_INVALIDARG);
    EXPECT_EQ(given, expected);
    SysFreeString(url);
  }
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(QdcDownloadCall, YesOpensTheFirstAddedFileAndIgnoresAFailure) {
  const struct {
    INT_PTR result;
    Texts added;
    size_t launches;
  } cases[] = {{1, {L"C:\\first one.gallery", L"C:\\second", L"C:\\third"}, 1},
               {1, {}, 0},
               {2, {L"C:\\a"}, 0},
               {3, {L"C:\\a"}, 0},
               {0, {L"C:\\a"}, 0},
               {-1, {L"C:\\a"}, 0}};
  for (const BOOL answer : {TRUE, FALSE}) {
    for (const auto& [result, added, launches] : cases) {
      CLaunchRecorder recorder;
      recorder.SetAnswer(answer);
      const CDialogResult dialog(result);
      dialog.WhileRunning([&, files = &added] {
        CZipProgressDialogPeer peer = RunningDialogPeer();
        for (const std::wstring& file : *files) {
          peer.AddFile(file.c_str());
        }
      });
      EXPECT_EQ(m_control->DownloadFile(CComBSTR(L"x")), S_OK);
      EXPECT_TRUE(m_messages.Take().empty());
      ASSERT_EQ(recorder.Launches().size(), launches) << result;
      for (const CLaunch& launch : recorder.Launches()) {
        EXPECT_EQ(launch.file, added[0]);
        EXPECT_EQ(launch.verb, L"open");
        EXPECT_FALSE(launch.hasParameters || launch.hasFolder);
        EXPECT_EQ(launch.owner, nullptr);
      }
    }
  }
}

TEST_F(QdcDownloadCall, ObjectOutlivesACallInWhichItsPageReleasesIt) {
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  const CDialogResult dialog(1);
  CComObject<CQDCDownload>* const object = m_control.operator->();
  dialog.WhileRunning([&] {
    RunningDialogPeer().AddFile(L"C:\\added");
    m_control.Release();
    EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks);
  });
  EXPECT_EQ(object->DownloadFile(CComBSTR(L"x")), S_OK);
  EXPECT_EQ(m_launches.Launches().size(), 1u);
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks - 1);
}

constexpr DISPID kDownloadFile = 1;

// The control's own implementation of IDispatch.
class QdcDownloadDispatch : public testing::Test {
 protected:
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

TEST_F(QdcDownloadDispatch, NamesAreFoundInAnyCaseAndPlaceUntilAnUnknownOne) {
  const struct {
    std::vector<const wchar_t*> names;
    HRESULT result;
    std::vector<DISPID> ids;
  } cases[] = {
      {{L"DownloadFile", L"SourceURL", L"sourceurl", L"DOWNLOADFILE"}, S_OK, {1, 0, 0, 1}},
      {{L"sourceurl"}, S_OK, {0}},
      {{}, S_OK, {}},
      {{L"DownloadFile", L"Download", L"SourceURL"}, DISP_E_UNKNOWNNAME, {1, -77, -77}},
      {{L"DownloadFile", nullptr, L"SourceURL"}, DISP_E_UNKNOWNNAME, {1, -77, -77}},
  };
  for (const auto& c : cases) {
    std::vector<DISPID> ids(c.names.size(), -77);
    EXPECT_EQ(m_dispatch->GetIDsOfNames(IID_NULL, const_cast<LPOLESTR*>(c.names.data()),
                                        static_cast<UINT>(ids.size()), 0, ids.data()),
              c.result);
    EXPECT_EQ(ids, c.ids);
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
  const auto ofType = [](VARTYPE type) {
    VARIANT value = {};
    value.vt = type;
    return value;
  };
  EXPECT_EQ(
      m_dispatch->Invoke(99, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr),
      DISP_E_BADVARTYPE);
  // Too many arguments come before the identifier, and before the result is cleared; the identifier
  // before a missing argument.
  const struct {
    DISPID id;
    std::vector<VARIANT> arguments;
    HRESULT error;
    VARTYPE result = VT_EMPTY;
  } cases[] = {
      {99, {text, text}, DISP_E_BADPARAMCOUNT, VT_I4},
      {0, {}, DISP_E_MEMBERNOTFOUND},
      {2, {text}, DISP_E_MEMBERNOTFOUND},
      {-3, {text}, DISP_E_MEMBERNOTFOUND},
      {kDownloadFile, {}, DISP_E_BADPARAMCOUNT},
      {kDownloadFile, {ofType(VT_UNKNOWN)}, DISP_E_TYPEMISMATCH},
      {kDownloadFile, {ofType(VT_NULL)}, DISP_E_TYPEMISMATCH},
      // The system refuses this one with DISP_E_BADVARTYPE; the caller gets the same code.
      {kDownloadFile, {ofType(15)}, DISP_E_TYPEMISMATCH},
  };
  for (const auto& c : cases) {
    CComVariant result(77);
    UINT argument = 77;
    EXPECT_EQ(Invoke(c.id, c.arguments, &result, nullptr, &argument), c.error) << c.id;
    EXPECT_EQ(result.vt, c.result) << c.id;
    EXPECT_EQ(argument, c.error == DISP_E_TYPEMISMATCH ? 0u : 77u);
    EXPECT_EQ(Invoke(c.id, c.arguments), c.error);
  }
  DISPPARAMS none = {nullptr, nullptr, 1, 0};
  EXPECT_EQ(m_dispatch->Invoke(kDownloadFile, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr,
                               nullptr),
            DISP_E_BADPARAMCOUNT);
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
