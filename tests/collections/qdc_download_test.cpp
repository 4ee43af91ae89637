#include "collections/qdc_download.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collections/zip_progress_dialog.h"
#include "tests/collections/control_object.h"
#include "tests/collections/running_dialog.h"
#include "tests/support/dialog_result.h"
#include "tests/support/launch_recorder.h"
#include "tests/support/message_recorder.h"

namespace {

constexpr wchar_t kNotReady[] = L"Unable to download Folivo Collection files at this time.";

using Texts = std::vector<std::wstring>;

bool IsFolderThere(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

class Control : public testing::Test {
 protected:
  Control() { CoInitialize(nullptr); }
  ~Control() override { CoUninitialize(); }

  const CTempSandbox m_sandbox;
  CMessageRecorder m_messages;
};

// What is done when a page makes the control.

TEST_F(Control, MakesItsFoldersWithEveryLevel) {
  const CControlObject control(m_sandbox);
  const std::wstring content =
      m_sandbox / L"Documents\\My Folivo Content\\My Content\\Downloaded Content";
  EXPECT_TRUE(control.Peer().IsReady());
  EXPECT_STREQ(control.Peer().ContentFolder(), content.c_str());
  EXPECT_STREQ(control.Peer().TempFolder(), (m_sandbox / L"ZDH").c_str());
  EXPECT_TRUE(IsFolderThere(content));
  EXPECT_TRUE(IsFolderThere(m_sandbox / L"ZDH"));
}

TEST_F(Control, LeavesItsFoldersAndWhatIsInThem) {
  const std::wstring content = L"Documents\\My Folivo Content\\My Content\\Downloaded Content";
  for (const bool hasFiles : {false, true}) {
    {
      CControlObject control(m_sandbox);
      if (hasFiles) {
        m_sandbox.Write(content + L"\\a.qdc", "a");
        m_sandbox.Write(L"ZDH\\download.zip", "old");
      }
      const CDialogResult dialog(2);
      EXPECT_EQ(control->DownloadFile(CComBSTR(L"x")), S_OK);
    }
    EXPECT_TRUE(IsFolderThere(m_sandbox / content));
    EXPECT_TRUE(IsFolderThere(m_sandbox / L"ZDH"));
  }
  EXPECT_EQ(m_sandbox.Files(), (Texts{content + L"\\a.qdc", L"ZDH\\download.zip"}));
}

TEST_F(Control, TakesFoldersThatAreThere) {
  m_sandbox.Write(L"ZDH\\download.zip", "old");
  m_sandbox.Write(L"Documents\\My Folivo Content\\My Content\\Downloaded Content\\a", "a");
  const CControlObject control(m_sandbox);
  EXPECT_TRUE(control.Peer().IsReady());
  EXPECT_EQ(ReadFileBytes(m_sandbox / L"ZDH\\download.zip"), "old");
}

TEST_F(Control, WithoutDocumentsIsNotReadyAndStillMakesTheRest) {
  const CDocumentsFolder documents(L"");
  const auto control = CControlObject::Create();
  const CQDCDownloadPeer peer{*control.p};
  EXPECT_EQ(documents.Count(), 1);
  EXPECT_FALSE(peer.IsReady());
  EXPECT_TRUE(peer.ContentFolder().IsEmpty());
  EXPECT_TRUE(IsFolderThere(m_sandbox / L"ZDH"));
}

TEST_F(Control, ContentFolderThatCannotBeMadeCountsForNothing) {
  m_sandbox.Write(L"Documents\\My Folivo Content", "a file in the way");
  const CControlObject control(m_sandbox);
  EXPECT_TRUE(control.Peer().IsReady());
  EXPECT_FALSE(control.Peer().ContentFolder().IsEmpty());
}

TEST_F(Control, WithoutAWorkingFolderIsNotReady) {
  m_sandbox.Write(L"ZDH", "a file in the way");
  SetFileAttributesW((m_sandbox / L"ZDH").c_str(), FILE_ATTRIBUTE_READONLY);
  SetEnvironmentVariableW(L"TMP", (m_sandbox / L"ZDH").c_str());
  const CControlObject control(m_sandbox);
  EXPECT_FALSE(control.Peer().IsReady());
  EXPECT_FALSE(control.Peer().ContentFolder().IsEmpty());
}

DWORD g_tempPathLength;
DWORD WINAPI AnswerTempPath(DWORD size, LPWSTR) {
  EXPECT_EQ(size, 260u);
  return g_tempPathLength;
}

TEST_F(Control, WithoutATemporaryPathIsNotReady) {
  const CImportPatch patch("kernel32.dll", "GetTempPathW", &AnswerTempPath);
  for (const DWORD length : {0, 261, 1000}) {
    g_tempPathLength = length;
    const CControlObject control(m_sandbox);
    EXPECT_FALSE(control.Peer().IsReady()) << length;
    EXPECT_TRUE(control.Peer().TempFolder().IsEmpty());
  }
}

int g_initialisations;
HRESULT g_initialisation;
HRESULT WINAPI AnswerInitialisation(LPVOID reserved) {
  EXPECT_EQ(reserved, nullptr);
  ++g_initialisations;
  return g_initialisation;
}
void WINAPI NeverBalanced() { ADD_FAILURE() << "CoUninitialize was called"; }

TEST_F(Control, JoinsComForGood) {
  const CImportPatch patch("ole32.dll", "CoInitialize", &AnswerInitialisation);
  const CImportPatch balance("ole32.dll", "CoUninitialize", &NeverBalanced);
  g_initialisations = 0;
  for (const HRESULT result : {S_OK, S_FALSE, RPC_E_CHANGED_MODE, E_OUTOFMEMORY}) {
    g_initialisation = result;
    const CControlObject control(m_sandbox);
    EXPECT_EQ(control.Peer().IsReady(), SUCCEEDED(result)) << result;
  }
  EXPECT_EQ(g_initialisations, 4);
}

// A control that is not ready.

TEST_F(Control, NotReadySaysSoOnEveryCall) {
  const CDocumentsFolder documents(L"");
  const auto control = CControlObject::Create();
  const CDialogResult dialog(1);
  EXPECT_EQ(control->DownloadFile(CComBSTR(L"http://folivo-schools.example/a.zip")), E_FAIL);
  EXPECT_EQ(control->DownloadFile(CComBSTR(std::wstring(1001, L'a').c_str())), E_FAIL);
  const std::vector<CShownMessage> messages = m_messages.Take();
  ASSERT_EQ(messages.size(), 2u);
  for (const CShownMessage& message : messages) {
    EXPECT_EQ(message.text, kNotReady);
    EXPECT_EQ(message.caption, L"MERLO Folivo");
    EXPECT_EQ(message.style, static_cast<UINT>(MB_ICONHAND));
    EXPECT_EQ(message.owner, nullptr);
  }
  EXPECT_EQ(dialog.Count(), 0);
  EXPECT_EQ(documents.Count(), 1) << "it is looked for once, when the control is made";
}

/// A place in a container that only knows its window.
class CSite final : public IOleClientSite, public IOleInPlaceSite {
 public:
  HWND window = nullptr;

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (iid == IID_IOleInPlaceSite || iid == IID_IOleWindow) {
      *out = static_cast<IOleInPlaceSite*>(this);
    } else if (iid == IID_IOleClientSite || iid == IID_IUnknown) {
      *out = static_cast<IOleClientSite*>(this);
    }
    return *out != nullptr ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 1; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }

  STDMETHODIMP SaveObject() override { return E_NOTIMPL; }
  STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker** moniker) override {
    *moniker = nullptr;
    return E_NOTIMPL;
  }
  STDMETHODIMP GetContainer(IOleContainer** container) override {
    *container = nullptr;
    return E_NOTIMPL;
  }
  STDMETHODIMP ShowObject() override { return S_OK; }
  STDMETHODIMP OnShowWindow(BOOL) override { return S_OK; }
  STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }

  STDMETHODIMP GetWindow(HWND* out) override {
    *out = window;
    return window != nullptr ? S_OK : E_FAIL;
  }
  STDMETHODIMP ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
  STDMETHODIMP CanInPlaceActivate() override { return S_OK; }
  STDMETHODIMP OnInPlaceActivate() override { return S_OK; }
  STDMETHODIMP OnUIActivate() override { return S_OK; }
  STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                LPRECT position, LPRECT clip, LPOLEINPLACEFRAMEINFO) override {
    *frame = nullptr;
    *document = nullptr;
    *position = {0, 0, 50, 40};
    *clip = *position;
    return S_OK;
  }
  STDMETHODIMP Scroll(SIZE) override { return E_NOTIMPL; }
  STDMETHODIMP OnUIDeactivate(BOOL) override { return S_OK; }
  STDMETHODIMP OnInPlaceDeactivate() override { return S_OK; }
  STDMETHODIMP DiscardUndoState() override { return E_NOTIMPL; }
  STDMETHODIMP DeactivateAndUndo() override { return E_NOTIMPL; }
  STDMETHODIMP OnPosRectChange(LPCRECT) override { return S_OK; }
};

TEST_F(Control, MessageBelongsToItsWindowElseToTheContainers) {
  const CDocumentsFolder documents(L"");
  CSite site;
  const auto control = CControlObject::Create();
  CComPtr<IOleObject> object;
  ASSERT_EQ(control->QueryInterface(IID_PPV_ARGS(&object)), S_OK);
  ASSERT_EQ(object->SetClientSite(&site), S_OK);
  const auto owner = [&] {
    control->DownloadFile(CComBSTR(L"x"));
    return m_messages.Take().at(0).owner;
  };
  EXPECT_EQ(owner(), nullptr);

  const HWND container = CreateWindowExW(0, L"static", L"", WS_POPUP, 0, 0, 100, 100, nullptr,
                                         nullptr, nullptr, nullptr);
  site.window = container;
  EXPECT_EQ(owner(), container);

  const RECT place = {0, 0, 50, 40};
  ASSERT_EQ(object->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, &site, 0, container, &place), S_OK);
  const HWND own = GetWindow(container, GW_CHILD);
  ASSERT_NE(own, nullptr);
  EXPECT_EQ(owner(), own);

  object->Close(OLECLOSE_NOSAVE);
  EXPECT_EQ(owner(), container);
  object->SetClientSite(nullptr);
  DestroyWindow(container);
}

// A download.

TEST_F(Control, RunsTheDialogWithItsPaths) {
  CControlObject control(m_sandbox);
  const CDialogResult dialog(2);
  std::vector<std::wstring> given;
  const DWORD thread = GetCurrentThreadId();
  dialog.WhileRunning([&] {
    EXPECT_EQ(GetCurrentThreadId(), thread);
    const CZipProgressDialogPeer peer = RunningDialogPeer();
    given = Texts{peer.SourceUrl().GetString(), peer.ZipPath().GetString(),
                  peer.ContentFolder().GetString()};
  });
  EXPECT_EQ(control->DownloadFile(CComBSTR(L"http://folivo-schools.example/a.zip")), S_OK);
  EXPECT_EQ(dialog.Count(), 1);
  EXPECT_EQ(dialog.Template(), 211u);
  EXPECT_EQ(given, (Texts{L"http://folivo-schools.example/a.zip", m_sandbox / L"ZDH\\download.zip",
                          control.Peer().ContentFolder().GetString()}));
  control->DownloadFile(CComBSTR(L"http://folivo-schools.example/b.zip"));
  EXPECT_EQ(given[0], L"http://folivo-schools.example/b.zip");
  EXPECT_EQ(given[1], m_sandbox / L"ZDH\\download.zip");
}

TEST_F(Control, DialogBelongsToTheActiveWindow) {
  CControlObject control(m_sandbox);
  const HWND window = CreateWindowExW(0, L"static", L"", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50,
                                      nullptr, nullptr, nullptr, nullptr);
  SetActiveWindow(window);
  const CDialogResult dialog(2);
  control->DownloadFile(CComBSTR(L"x"));
  EXPECT_EQ(dialog.Parent(), window);
  DestroyWindow(window);
}

TEST_F(Control, ThousandCharactersAreAcceptedAndOneMoreIsNot) {
  CControlObject control(m_sandbox);
  const CDialogResult dialog(3);
  const std::wstring longest(1000, L'a');
  EXPECT_EQ(control->DownloadFile(CComBSTR(longest.c_str())), S_OK);
  EXPECT_EQ(dialog.Count(), 1);
  EXPECT_EQ(control->DownloadFile(CComBSTR((longest + L"a").c_str())), E_INVALIDARG);
  EXPECT_EQ(dialog.Count(), 1);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(Control, LengthCountsWhatFollowsAZeroCharacter) {
  CControlObject control(m_sandbox);
  const CDialogResult dialog(3);
  std::wstring address = L"short";
  address.resize(1001, L'\0');
  CComBSTR text;
  *&text = SysAllocStringLen(address.data(), 1001);
  EXPECT_EQ(control->DownloadFile(text), E_INVALIDARG);
  EXPECT_EQ(dialog.Count(), 0);
}

TEST_F(Control, NullAddressReachesTheDialogEmpty) {
  CControlObject control(m_sandbox);
  const CDialogResult dialog(3);
  std::wstring source = L"not asked";
  dialog.WhileRunning([&] { source = RunningDialogPeer().SourceUrl().GetString(); });
  EXPECT_EQ(control->DownloadFile(nullptr), S_OK);
  EXPECT_EQ(source, L"");
}

TEST_F(Control, EveryOutcomeOfTheDialogIsSuccess) {
  CControlObject control(m_sandbox);
  const CLaunchRecorder launches;
  for (const INT_PTR result : {1, 2, 3, 0, -1}) {
    const CDialogResult dialog(result);
    EXPECT_EQ(control->DownloadFile(CComBSTR(L"x")), S_OK) << result;
  }
  EXPECT_TRUE(launches.Launches().empty()) << "nothing was added";
  EXPECT_TRUE(m_messages.Take().empty());
}

/// Runs a download whose dialog adds three files and ends with `result`.
void RunWithAddedFiles(const CControlObject& control, INT_PTR result) {
  const CDialogResult dialog(result);
  dialog.WhileRunning([] {
    CZipProgressDialogPeer peer = RunningDialogPeer();
    for (const wchar_t* file : {L"C:\\first one.gallery", L"C:\\second", L"C:\\third"}) {
      peer.AddFile(file);
    }
  });
  EXPECT_EQ(control->DownloadFile(CComBSTR(L"x")), S_OK);
}

TEST_F(Control, YesOpensTheFirstAddedFile) {
  CControlObject control(m_sandbox);
  const CLaunchRecorder launches;
  RunWithAddedFiles(control, 1);
  ASSERT_EQ(launches.Launches().size(), 1u);
  const CLaunch& launch = launches.Launches()[0];
  EXPECT_EQ(launch.file, L"C:\\first one.gallery");
  EXPECT_EQ(launch.verb, L"open");
  EXPECT_FALSE(launch.hasParameters);
  EXPECT_FALSE(launch.hasFolder);
  EXPECT_EQ(launch.show, SW_SHOWNORMAL);
  EXPECT_EQ(launch.mask, 0x4100u);
  EXPECT_EQ(launch.owner, nullptr);
  EXPECT_EQ(launch.size, sizeof(SHELLEXECUTEINFOW));
}

TEST_F(Control, FailedStartIsIgnored) {
  CControlObject control(m_sandbox);
  const CLaunchRecorder launches;
  launches.SetAnswer(FALSE);
  RunWithAddedFiles(control, 1);
  EXPECT_EQ(launches.Launches().size(), 1u);
  EXPECT_TRUE(m_messages.Take().empty());
}

TEST_F(Control, OtherAnswersOpenNothing) {
  CControlObject control(m_sandbox);
  const CLaunchRecorder launches;
  for (const INT_PTR result : {2, 3, 0, -1}) {
    RunWithAddedFiles(control, result);
  }
  EXPECT_TRUE(launches.Launches().empty());
}

TEST_F(Control, OutlivesACallInWhichItsPageLetsGoOfIt) {
  CControlObject control(m_sandbox);
  const LONG locks = ATL::_pAtlModule->GetLockCount();
  const CLaunchRecorder launches;
  const CDialogResult dialog(1);
  CComObject<CQDCDownload>* const object = control.operator->();
  dialog.WhileRunning([&] {
    CZipProgressDialogPeer peer = RunningDialogPeer();
    peer.AddFile(L"C:\\added");
    control.Release();
    EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks) << "the object must still be there";
  });
  EXPECT_EQ(object->DownloadFile(CComBSTR(L"x")), S_OK);
  EXPECT_EQ(launches.Launches().size(), 1u);
  EXPECT_EQ(ATL::_pAtlModule->GetLockCount(), locks - 1) << "and go after the call";
}

}  // namespace
